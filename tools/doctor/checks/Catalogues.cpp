// "TraceSettingMsg.ini": the messages of a component.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>

#include "checks/Checks.h"
#include "Conversions.h"
#include "CStringUtil.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

using Kind = Conversion::Kind;

// Reading back takes lines in pieces of 255 bytes: 19 of the stamp, ten of the read code, eight of
// the type and two blanks leave this many for the text.
constexpr std::size_t kLongestTextReadBack = 216;

// A message of a catalogue, as it was loaded.
struct Message {
    const IniFile& file;
    std::string id;
    std::string textKey;  // "FormatEng" or "Format"
    Msg_Info loaded;

    std::optional<std::string> Own(const std::string& key) const { return file.Value(id, key); }
    Place At(const std::string& key) const { return file.PlaceOf(id, key); }
    std::string Goes() const { return loaded.event != 0 ? "go" : "do not go"; }
};

std::string OrNothing(const std::string& text)
{
    return text.empty() ? "nothing" : '"' + text + '"';
}

bool IsReadCode(const std::string& text)
{
    return text.size() == 10 && text[0] == '0' && text[1] == 'x' &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
}

bool IsNumber(const std::string& text)
{
    char* end = nullptr;
    (void)std::strtol(text.c_str(), &end, 10);  // the loaded one counts
    return end != text.c_str() && std::string(end).find_first_not_of(" \t\r") == std::string::npos;
}

bool IsMisspeltFail(const std::string& type)
{
    const std::string word = type.substr(std::min(type.find_first_not_of(" \t"), type.size()));
    return type != "fail" && !word.empty() &&
           CStringUtil::StringCmpIgnore(WithoutBlanksAtEnd(word), "fail");
}

void CheckKeys(const Message& message, Report& report)
{
    const std::string& id = message.id;
    const Msg_Info& loaded = message.loaded;
    const auto type = message.Own("Type");
    const auto read = message.Own("Read");
    const auto event = message.Own("Event");
    if (!type)
        report.Add("catalogue-entry-without-type", message.At("Type"),
                   {id, OrNothing(loaded.type)});
    if (!read)
        report.Add("catalogue-entry-without-read", message.At("Read"),
                   {id, OrNothing(loaded.read),
                    loaded.read.empty() ? "not read back" : "read back by that code"});
    if (!event)
        report.Add("catalogue-entry-without-event", message.At("Event"), {id, message.Goes()});
    if (read && !IsReadCode(*read))
        report.Add("catalogue-read-malformed", message.At("Read"), {*read, id});
    if (event && !IsNumber(*event))
        report.Add("catalogue-event-not-a-number", message.At("Event"),
                   {*event, std::to_string(loaded.event), id, message.Goes()});
    if (type && loaded.event != 0 && IsMisspeltFail(*type))
        report.Add("catalogue-fail-misspelt", message.At("Type"), {*type, id});
}

// Text seldom has a blank flag, or anything between two percent signs: by all signs such a percent
// sign was not meant to begin a conversion.
void CheckConversion(const Conversion& conversion, const std::string& key, const Place& place,
                     Report& report)
{
    const std::string& text = conversion.text;
    if (conversion.kind == Kind::kIncomplete)
        report.Add("catalogue-conversion-unknown/end", place, {key, text});
    else if (conversion.kind == Kind::kUnknown)
        report.Add("catalogue-conversion-unknown", place, {text});
    else if (conversion.kind == Kind::kArgument && conversion.hasBlank)
        report.Add("catalogue-percent-not-doubled", place, {text, conversion.type});
    else if (conversion.kind == Kind::kErrorText && conversion.hasBlank)
        report.Add("catalogue-percent-not-doubled/errno", place, {text});
    else if (conversion.kind == Kind::kPercent && text != "%%")
        report.Add("catalogue-percent-not-doubled/percent", place, {text});
}

void CheckText(const Message& message, const std::string& key, Report& report)
{
    const auto text = message.Own(key);
    if (!text)
        return;
    if (MayStore(*text))
        return report.Add("catalogue-text-not-expanded", message.At(key));
    for (const Conversion& conversion : ConversionsOf(*text))
        CheckConversion(conversion, key, message.At(key), report);
    if (text->size() > kLongestTextReadBack)
        report.Add("catalogue-text-too-long", message.At(key), {std::to_string(text->size())});
}

void CheckSystemLogText(const Message& message, Report& report)
{
    const auto conversions = ConversionsOf(message.loaded.format);
    if (message.loaded.event != 0 &&
        std::any_of(conversions.begin(), conversions.end(),
                    [](const Conversion& c) { return c.kind == Kind::kPercent; }))
        report.Add("catalogue-event-with-percent", message.At(message.textKey));
}

void CheckLanguages(const Message& message, Report& report)
{
    const auto english = message.Own("FormatEng");
    const auto other = message.Own("Format");
    if (!english || !other)
        return;
    if (!MayStore(*english) && !MayStore(*other) &&
        ArgumentTypes(ConversionsOf(*english)) != ArgumentTypes(ConversionsOf(*other)))
        report.Add("catalogue-conversions-differ", message.At("Format"), {message.id});
}

void CheckMessages(const IniFile& file, const Setting_Info& settings, Report& report)
{
    const std::string textKey = settings.language == "EN" ? "FormatEng" : "Format";
    std::set<std::string> done;
    for (const IniSection& section : file.Sections()) {
        if (!section.isClosed || !done.insert(section.name).second)
            continue;  // findings of their own
        const auto loaded = settings.messages.find(section.name);
        if (loaded == settings.messages.end()) {
            report.Add("catalogue-entry-without-text", file.At(section.line),
                       {section.name, textKey, textKey});
            continue;
        }
        const Message message{file, section.name, textKey, loaded->second};
        CheckKeys(message, report);
        CheckText(message, "FormatEng", report);
        CheckText(message, "Format", report);
        CheckSystemLogText(message, report);
        CheckLanguages(message, report);
    }
}

}  // namespace

void CheckCatalogue(const Component& component, Report& report)
{
    std::string path;
    CTraceUtilityCom::GetMsgFileName(component.name, path);
    if (!StatusOf(path) && errno == ENOENT)
        return report.Add("catalogue-missing", {path});
    const auto file = IniFile::Read(path, report);
    if (!file)
        return;
    CheckIni(*file, report);
    if (file->Sections().empty())
        report.Add("catalogue-empty", {path});
    if (const Setting_Info* const settings = LoadedSettings(component))
        CheckMessages(*file, *settings, report);
}

}  // namespace doctor
