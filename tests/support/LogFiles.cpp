#include "support/LogFiles.h"

#include <algorithm>
#include <stdexcept>

#include "support/Files.h"

namespace qor::test {
namespace {

const std::string kLogEnd = ".log";

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), std::string::npos, end) == 0;
}

// What lies between the known beginning and ".log": the creation stamp.
bool IsLogName(const std::string& name, const std::string& beginning)
{
    return name.compare(0, beginning.size(), beginning) == 0 &&
           Matches("[0-9]{12}\\.log(\\.gz)?", name.substr(beginning.size()));
}

Strings UncompressedNames(const std::string& component, const std::string& kind)
{
    Strings names;
    for (const std::string& name : LogFileNames(component, kind)) {
        if (EndsWith(name, kLogEnd))
            names.push_back(name);
    }
    return names;
}

}  // namespace

void MakeLogDirectory()
{
    MakeDirs(kLogDirectory);
}

std::string LogPath(const std::string& name)
{
    return std::string(kLogDirectory) + "/" + name;
}

Strings LogFileNames(const std::string& component, const std::string& kind)
{
    Strings names;
    if (!Exists(kLogDirectory))
        return names;

    const std::string beginning = "QOR_" + component + kind + "_";
    for (const std::string& name : ListDir(kLogDirectory)) {
        if (IsLogName(name, beginning))
            names.push_back(name);
    }
    return names;
}

std::string ReadNewestLog(const std::string& component, const std::string& kind)
{
    const Strings names = UncompressedNames(component, kind);
    return names.empty() ? "" : ReadFile(LogPath(names.back()));
}

Strings Lines(const std::string& text)
{
    Strings lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::vector<DebugLine> ParseDebugLog(const std::string& text)
{
    static const Pattern head(
        "^([0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}) ThId:0x([0-9a-f]{8}) (.{8}) ");
    std::vector<DebugLine> records;
    for (const std::string& line : Lines(text)) {
        const Strings parts = head.Find(line);
        if (!parts.empty()) {
            const auto thread = static_cast<pid_t>(std::stoul(parts[2], nullptr, 16));
            records.push_back({parts[1], thread, parts[3], line.substr(parts[0].size())});
        } else if (!records.empty()) {
            records.back().text += "\n" + line;
        } else {
            throw std::runtime_error("no debug record: " + line);
        }
    }
    return records;
}

std::vector<DebugLine> DebugTexts(const std::string& component)
{
    std::vector<DebugLine> all;
    for (const std::string& name : UncompressedNames(component, kDebugLog)) {
        const std::vector<DebugLine> records = ParseDebugLog(ReadFile(LogPath(name)));
        all.insert(all.end(), records.begin(), records.end());
    }
    return all;
}

Strings Records(const std::string& component)
{
    Strings records;
    for (const DebugLine& line : DebugTexts(component))
        records.push_back(line.level + " " + line.text);
    return records;
}

}  // namespace qor::test
