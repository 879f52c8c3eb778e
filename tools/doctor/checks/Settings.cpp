// "TraceSetting.ini": what a component logs, and in which language.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "checks/Checks.h"
#include "CStringUtil.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kSection[] = "APP_SETTING";

std::string Hexadecimal(unsigned int number)
{
    char text[16];
    (void)std::snprintf(text, sizeof text, "0x%X", number);
    return text;
}

// Whether nothing follows a value, or only what has a finding of its own: blanks, a carriage
// return, or a comment after blanks.
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
    const Place place = file.PlaceOf(kSection, "TraceLevel");
    if (text && !IsLevel(*text))
        report.Add("trace-level-malformed", place,
                   {*text, Hexadecimal(level) +
                               (level == 0 ? ", and the debug log and compression are off" : "")});
    else if (text && (level & kCompressionBit) == 0)
        report.Add("compression-off", place, {Hexadecimal(level | kCompressionBit)});
}

void CheckLanguage(const IniFile& file, Report& report)
{
    const std::string text = file.Value(kSection, "Lang").value_or("EN");
    if (text != "EN" && text != "EN\r" &&
        CStringUtil::StringCmpIgnore(WithoutBlanksAtEnd(text), "EN"))
        report.Add("lang-not-exactly-en", file.PlaceOf(kSection, "Lang"), {text});
}

}  // namespace

void CheckSettings(const Component& component, Report& report)
{
    std::string path;
    CTraceUtilityCom::GetIniFileName(component.name, path);
    if (!StatusOf(path) && errno == ENOENT)
        return report.Add("settings-missing", {path});
    const auto file = IniFile::Read(path, report);
    if (!file)
        return;
    CheckIni(*file, report);
    if (file->Find(kSection) == nullptr)
        return report.Add("settings-section-missing", {path});
    if (const Setting_Info* const settings = LoadedSettings(component))
        CheckLevel(*file, settings->traceLevel, report);
    CheckLanguage(*file, report);
}

}  // namespace doctor
