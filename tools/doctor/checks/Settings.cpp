// "TraceSetting.ini": what a component logs, and in which language.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "checks/Checks.h"
#include "CStringUtil.h"
#include "CTraceUtilityCom.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kSection[] = "APP_SETTING";
constexpr unsigned int kCompressionBit = 64;

std::string Hexadecimal(unsigned int number)
{
    char text[16];
    (void)std::snprintf(text, sizeof text, "0x%X", number);
    return text;
}

// Whether nothing is behind a value, or only what has a finding of its own: blanks, a carriage
// return, or a comment behind blanks.
bool IsFoundOtherwise(const std::string& rest)
{
    const auto next = rest.find_first_not_of(" \t\r");
    return next == std::string::npos || (rest[next] == ';' && next > 0 && rest.find('\r') > next);
}

// Whether strtoul(3) reads all of it as one hexadecimal number of 32 bits.
bool IsLevel(const std::string& text)
{
    char* end = nullptr;
    const unsigned long level = std::strtoul(text.c_str(), &end, 16);
    return end != text.c_str() && text[0] != '-' && level <= 0xFFFFFFFFUL && IsFoundOtherwise(end);
}

void CheckLevel(const IniFile& file, unsigned int level, Report& report)
{
    const auto text = file.Value(kSection, "TraceLevel");
    if (!text)
        return;  // all levels, and compression

    const Place place = file.PlaceOf(kSection, "TraceLevel");
    if (!IsLevel(*text))
        report.Add("trace-level-malformed", place,
                   Quoted(*text) + " is no hexadecimal number of 32 bits: it reads as " +
                       Hexadecimal(level) +
                       (level == 0 ? ", and the debug log and compression are off." : "."),
                   "Write the bits to log, in hexadecimal: 7F for all and compression.");
    else if ((level & kCompressionBit) == 0)
        report.Add("compression-off", place,
                   "Bit 0x40 is clear: rotated logs stay uncompressed, and once there are two, a "
                   "program that starts goes on in the oldest while reading takes the newest.",
                   "Add 0x40: " + Hexadecimal(level | kCompressionBit) + ".");
}

void CheckLanguage(const IniFile& file, Report& report)
{
    const auto text = file.Value(kSection, "Lang");
    if (!text || *text == "EN" || *text == "EN\r")
        return;
    const std::string letters = text->substr(0, text->find_last_not_of(" \t\r") + 1);
    if (CStringUtil::StringCmpIgnore(letters, "EN"))
        report.Add("lang-not-exactly-en", file.PlaceOf(kSection, "Lang"),
                   Quoted(*text) +
                       " is not exactly \"EN\": texts are taken from the keys \"Format\", not "
                       "\"FormatEng\", and messages without that key are unknown.",
                   "Write EN for the English texts.");
}

}  // namespace

void CheckSettings(const Component& component, Report& report)
{
    std::string path;
    CTraceUtilityCom::GetIniFileName(component.name, path);
    if (!StatusOf(path) && errno == ENOENT) {
        report.Add("settings-missing", {path},
                   "There is no such file: the debug log holds all levels, the messages of the "
                   "channel included; old logs are compressed; texts are English.",
                   "Install the file, with TraceLevel and Lang in [APP_SETTING].");
        return;
    }
    const auto file = IniFile::Read(path, report);
    if (!file)
        return;
    CheckIni(*file, report);
    if (file->Find(kSection) == nullptr) {
        report.Add("settings-section-missing", {path},
                   "There is no section [APP_SETTING]: no setting is read, so the debug log holds "
                   "all levels, and texts are English.",
                   "Put [APP_SETTING] above the settings.");
        return;
    }
    if (const Setting_Info* const settings = LoadedSettings(component))
        CheckLevel(*file, settings->traceLevel, report);
    CheckLanguage(*file, report);
}

}  // namespace doctor
