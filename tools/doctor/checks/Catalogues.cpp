// "TraceSettingMsg.ini": the messages of a component.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>

#include "checks/Checks.h"
#include "Conversions.h"
#include "CStringUtil.h"
#include "CTraceUtilityCom.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

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
};

std::string OrNothing(const std::string& text)
{
    return text.empty() ? "nothing" : Quoted(text);
}

void CheckInherited(const Message& message, Report& report)
{
    if (!message.Own("Type"))
        report.Add("catalogue-entry-without-type", message.At("Type"),
                   Bracketed(message.id) +
                       " has no Type of its own and takes that of the message before it: its "
                       "records are marked with " +
                       OrNothing(message.loaded.type) + ".",
                   "Give it a Type.");
    if (!message.Own("Read"))
        report.Add("catalogue-entry-without-read", message.At("Read"),
                   Bracketed(message.id) +
                       " has no Read of its own and takes that of the message before it, " +
                       OrNothing(message.loaded.read) +
                       (message.loaded.read.empty() ? ": its records are not read back."
                                                    : ": its records are read back by that code."),
                   "Give it a Read of 0x and eight hexadecimal digits.");
    if (!message.Own("Event"))
        report.Add(
            "catalogue-entry-without-event", message.At("Event"),
            Bracketed(message.id) +
                " has no Event of its own and takes that of the message before it: its records " +
                (message.loaded.event != 0 ? "go" : "do not go") + " to the system log.",
            "Give it an Event of 0 or 1.");
}

bool IsReadCode(const std::string& text)
{
    return text.size() == 10 && text[0] == '0' && text[1] == 'x' &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
}

void CheckRead(const Message& message, Report& report)
{
    const auto read = message.Own("Read");
    if (read && !IsReadCode(*read))
        report.Add("catalogue-read-malformed", message.At("Read"),
                   Quoted(*read) +
                       " is not 0x and eight hexadecimal digits: the code is cut out by position, "
                       "so records of " +
                       Bracketed(message.id) +
                       " are read back without a part of their text, or not at all.",
                   "Write 0x and eight hexadecimal digits.");
}

void CheckEvent(const Message& message, Report& report)
{
    const auto event = message.Own("Event");
    if (!event)
        return;
    char* end = nullptr;
    (void)std::strtol(event->c_str(), &end, 10);  // the loaded one counts
    if (end == event->c_str() || std::string(end).find_first_not_of(" \t\r") != std::string::npos)
        report.Add("catalogue-event-not-a-number", message.At("Event"),
                   Quoted(*event) + " reads as " + std::to_string(message.loaded.event) +
                       ": records of " + Bracketed(message.id) +
                       (message.loaded.event != 0 ? " go" : " do not go") + " to the system log.",
                   "Write 0, or 1 for the system log.");
}

void CheckType(const Message& message, Report& report)
{
    const auto type = message.Own("Type");
    if (!type || *type == "fail" || message.loaded.event == 0)
        return;
    const auto begin = std::min(type->find_first_not_of(" \t"), type->size());
    const auto end = type->find_last_not_of(" \t\r") + 1;
    if (end > begin && CStringUtil::StringCmpIgnore(type->substr(begin, end - begin), "fail"))
        report.Add("catalogue-fail-misspelt", message.At("Type"),
                   Quoted(*type) + " is not exactly \"fail\": records of " + Bracketed(message.id) +
                       " go to the system log as information, not as errors.",
                   "Write fail.");
}

// "%n" would store: such a text is written as it stands.
bool IsExpanded(const std::vector<Conversion>& conversions)
{
    return std::none_of(conversions.begin(), conversions.end(), [](const Conversion& conversion) {
        return conversion.kind == Conversion::Kind::kStore;
    });
}

// What becomes of a percent sign that was not meant to begin a conversion, by all signs: text
// seldom has a blank flag, or anything between two percent signs. Empty for others.
std::string EffectOfSinglePercent(const Conversion& conversion)
{
    using Kind = Conversion::Kind;
    if (conversion.kind == Kind::kArgument && conversion.hasBlank)
        return " is a conversion to " + conversion.type +
               ", and takes an argument: where the program passes none for it, records hold "
               "garbage, or the program crashes.";
    if (conversion.kind == Kind::kErrorText && conversion.hasBlank)
        return " is a conversion to the text of errno: records hold that text in its place: "
               "\"5% max\" is written as \"5Successax\".";
    if (conversion.kind == Kind::kPercent && conversion.text != "%%")
        return " is a conversion to one percent sign: what stands between its two is lost: "
               "\"5%-10% more\" is written as \"5% more\".";
    return {};
}

void CheckConversion(const Message& message, const std::string& key, const Conversion& conversion,
                     Report& report)
{
    using Kind = Conversion::Kind;
    if (conversion.kind == Kind::kIncomplete)
        report.Add("catalogue-conversion-unknown", message.At(key),
                   "The text of " + key + " ends inside " + Quoted(conversion.text) +
                       ": records end before it.",
                   "Write a percent sign as %%.");
    else if (conversion.kind == Kind::kUnknown)
        report.Add("catalogue-conversion-unknown", message.At(key),
                   Quoted(conversion.text) +
                       " is no conversion: it shows as it stands, and the argument that it is "
                       "meant for goes to the next one.",
                   "Write a conversion of printf(3), or a percent sign as %%.");
    else if (const std::string effect = EffectOfSinglePercent(conversion); !effect.empty())
        report.Add("catalogue-percent-not-doubled", message.At(key),
                   Quoted(conversion.text) + effect, "Write a percent sign as %%.");
}

void CheckText(const Message& message, const std::string& key, Report& report)
{
    const auto text = message.Own(key);
    if (!text)
        return;
    const auto conversions = ConversionsOf(*text);
    if (!IsExpanded(conversions)) {
        report.Add("catalogue-text-not-expanded", message.At(key),
                   "The text holds %n, if with flags, as of \"50% new\": it is written as it "
                   "stands, and the program's arguments do not appear.",
                   "Write a percent sign as %%.");
        return;
    }
    for (const Conversion& conversion : conversions)
        CheckConversion(message, key, conversion, report);
    if (text->size() > kLongestTextReadBack)
        report.Add("catalogue-text-too-long", message.At(key),
                   "The text has " + std::to_string(text->size()) +
                       " bytes: what is read back of its records is cut to 255 bytes, stamp, code "
                       "and type included.",
                   "Shorten it to 216 bytes, arguments included.");
}

void CheckSystemLogText(const Message& message, Report& report)
{
    if (message.loaded.event == 0)
        return;
    for (const Conversion& conversion : ConversionsOf(message.loaded.format)) {
        if (conversion.kind != Conversion::Kind::kPercent)
            continue;
        report.Add(
            "catalogue-event-with-percent", message.At(message.textKey),
            "The text of an event is a format once more for the system log: the percent sign of "
            "its %% is read as a conversion there (\"100% done\" arrives as \"100 0one\").",
            "Say it without a percent sign, or set Event to 0.");
        return;
    }
}

void CheckLanguages(const Message& message, Report& report)
{
    const auto english = message.Own("FormatEng");
    const auto other = message.Own("Format");
    if (!english || !other)
        return;
    const auto first = ConversionsOf(*english);
    const auto second = ConversionsOf(*other);
    if (!IsExpanded(first) || !IsExpanded(second) || ArgumentTypes(first) == ArgumentTypes(second))
        return;
    report.Add("catalogue-conversions-differ", message.At("Format"),
               "Format and FormatEng of " + Bracketed(message.id) +
                   " take different arguments, but the program passes the same: in one of the "
                   "languages records hold garbage, or the program crashes.",
               "Use the same conversions in the same order, or positions such as %2$s.");
}

void CheckMessage(const Message& message, Report& report)
{
    CheckInherited(message, report);
    CheckRead(message, report);
    CheckEvent(message, report);
    CheckType(message, report);
    CheckText(message, "FormatEng", report);
    CheckText(message, "Format", report);
    CheckSystemLogText(message, report);
    CheckLanguages(message, report);
}

void CheckMessages(const IniFile& file, const Setting_Info& settings, Report& report)
{
    const std::string textKey = settings.language == "EN" ? "FormatEng" : "Format";
    std::set<std::string> done;
    for (const IniSection& section : file.Sections()) {
        if (!section.isClosed || !done.insert(section.name).second)
            continue;  // findings of their own
        const auto loaded = settings.messages.find(section.name);
        if (loaded != settings.messages.end())
            CheckMessage({file, section.name, textKey, loaded->second}, report);
        else
            report.Add("catalogue-entry-without-text", file.At(section.line),
                       Bracketed(section.name) + " has no " + textKey +
                           ", which Lang chooses: it is no message, and is logged as \"[Error] "
                           "Message ID Not Found!!\".",
                       "Give it a " + textKey + ".");
    }
}

}  // namespace

void CheckCatalogue(const Component& component, Report& report)
{
    std::string path;
    CTraceUtilityCom::GetMsgFileName(component.name, path);
    if (!StatusOf(path) && errno == ENOENT) {
        report.Add("catalogue-missing", {path},
                   "There is no such file: every message is logged as \"[Error] Message ID Not "
                   "Found!!\", without its text and without a type.",
                   "Install the catalogue.");
        return;
    }
    const auto file = IniFile::Read(path, report);
    if (!file)
        return;
    CheckIni(*file, report);
    if (file->Sections().empty())
        report.Add("catalogue-empty", {path},
                   "The file has no section: every message is logged as \"[Error] Message ID Not "
                   "Found!!\", without its text and without a type.",
                   "Install the catalogue again.");
    if (const Setting_Info* const settings = LoadedSettings(component))
        CheckMessages(*file, *settings, report);
}

}  // namespace doctor
