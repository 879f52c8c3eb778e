#include "support/LogFiles.h"

#include <algorithm>
#include <regex>
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
    static const std::regex rest("[0-9]{12}\\.log(\\.gz)?");
    return name.compare(0, beginning.size(), beginning) == 0 &&
           std::regex_match(name.substr(beginning.size()), rest);
}

std::vector<std::string> UncompressedNames(const std::string& component, const std::string& kind)
{
    std::vector<std::string> names;
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

std::vector<std::string> LogFileNames(const std::string& component, const std::string& kind)
{
    std::vector<std::string> names;
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
    const std::vector<std::string> names = UncompressedNames(component, kind);
    return names.empty() ? "" : ReadFile(LogPath(names.back()));
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::vector<DebugLine> ParseDebugLog(const std::string& text)
{
    static const std::regex head(
        "([0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}) ThId:0x([0-9a-f]{8}) (.{8}) ");
    std::vector<DebugLine> records;
    for (const std::string& line : Lines(text)) {
        std::smatch match;
        if (std::regex_search(line, match, head, std::regex_constants::match_continuous)) {
            const auto thread = static_cast<pid_t>(std::stoul(match[2], nullptr, 16));
            records.push_back({match[1], thread, match[3], match.suffix()});
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

}  // namespace qor::test
