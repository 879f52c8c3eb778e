#include "trace/TraceModel.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "CIniFileReader.h"

namespace qor::test {
namespace {

constexpr int kLineBuffer = 256;
constexpr std::size_t kStampLength = 19;

bool IsDate(const std::string& text)
{
    return text.size() >= kStampLength && text[4] == '/' && text[7] == '/' && text[10] == ' ' &&
           text[13] == ':' && text[16] == ':';
}

}  // namespace

std::list<std::string> LogLinesModel(const std::string& path, const char* fromDate)
{
    std::list<std::string> lines;
    std::FILE* const stream = std::fopen(path.c_str(), "re");
    if (stream == nullptr)
        return lines;

    char line[kLineBuffer] = {};
    while (std::fgets(line, kLineBuffer, stream) != nullptr) {
        if (fromDate != nullptr && std::strncmp(line, fromDate, kStampLength) < 0)
            continue;
        if (char* const lineFeed = std::strchr(line, '\n'))
            *lineFeed = '\0';
        lines.emplace_back(line);
    }
    (void)std::fclose(stream);  // nothing was written
    return lines;
}

std::list<std::string> SelectedModel(const std::list<std::string>& lines, unsigned int readType)
{
    std::list<std::string> records;
    for (const std::string& line : lines) {
        const auto code = line.find("0x");
        if (code == std::string::npos)
            continue;
        const auto space = line.find(' ', code);
        if (space == std::string::npos)
            continue;
        const std::string number = line.substr(code, space - code);
        if ((std::strtoul(number.c_str(), nullptr, 16) & readType) == 0)
            continue;
        const std::string body = line.substr(31);  // std::out_of_range for fewer bytes
        records.push_back(line.substr(0, 20) + body);
    }
    return records;
}

std::list<std::string> RecordsModel(const std::string& path, unsigned int readType,
                                    unsigned int maxRecords, const std::string& fromDate)
{
    const auto lines = LogLinesModel(path, IsDate(fromDate) ? fromDate.c_str() : nullptr);
    std::list<std::string> records;
    for (const std::string& record : SelectedModel(lines, readType)) {
        if (records.size() < maxRecords)
            records.push_back(record);
    }
    return records;
}

Setting_Info SettingsModel(const std::string& settingsPath, const std::string& cataloguePath)
{
    Setting_Info settings;
    CIniFileReader file(settingsPath);
    std::string level;
    if (file.find_section("APP_SETTING", "TraceLevel", level))
        settings.traceLevel = static_cast<unsigned int>(std::strtoul(level.c_str(), nullptr, 16));
    (void)file.find_section("APP_SETTING", "Lang", settings.language);  // or it stays "EN"
    const std::string textKey = settings.language == "EN" ? "FormatEng" : "Format";

    CIniFileReader catalogue(cataloguePath);
    std::list<std::string> ids;
    catalogue.list_section(ids);
    Msg_Info message;
    std::string event;
    for (const std::string& id : ids) {
        if (!catalogue.find_section(id, textKey, message.format))
            continue;
        // What is not there stays as the section before left it.
        (void)catalogue.find_section(id, "Type", message.type);
        (void)catalogue.find_section(id, "Read", message.read);
        (void)catalogue.find_section(id, "Event", event);
        message.event = static_cast<int>(std::strtol(event.c_str(), nullptr, 10));
        settings.messages.insert({id, message});  // a repeated one keeps its first entry
    }
    return settings;
}

}  // namespace qor::test
