// Lines of an INI file that read otherwise than they look.
#include <map>

#include "checks/Checks.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr char kBlanks[] = " \t";

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

// Texts of a message catalogue may hold and end in anything.
bool IsMessageText(const std::string& key)
{
    return key == "Format" || key == "FormatEng";
}

std::string WithoutCarriageReturn(std::string text)
{
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    return text;
}

// What the reader takes the rest of an over-long line for.
std::string Meaning(const std::string& rest)
{
    if (rest[0] == '[')
        return "a section header";
    if (rest[0] == ';')
        return "a comment";
    const auto entry = SplitEntry(rest);
    return entry ? "an entry with the key " + Quoted(entry->key) : "nothing";
}

void CheckLength(const IniFile& file, const std::string& line, std::size_t number, Report& report)
{
    if (line.size() <= IniFile::kMaxLine)
        return;
    report.Add(
        "line-too-long", file.At(number),
        "The line has " + std::to_string(line.size()) +
            " bytes. It ends after 255 of them; what follows is read as a line of its own: " +
            Meaning(line.substr(IniFile::kMaxLine)) + ".",
        "Shorten the line to 255 bytes.");
}

void CheckNul(const IniFile& file, const std::string& line, std::size_t number, Report& report)
{
    const auto nul = line.find('\0');
    if (nul != std::string::npos)
        report.Add("nul-byte", file.At(number),
                   "Byte " + std::to_string(nul + 1) +
                       " is a NUL: the line ends there, and when a program sets a key, the file "
                       "loses all that follows it.",
                   "Remove the byte.");
}

void CheckIndent(const IniFile& file, const std::string& line, std::size_t number, Report& report)
{
    const auto first = line.find_first_not_of(kBlanks);
    if (first == 0 || first == std::string::npos || line[first] == ';')
        return;
    if (line[first] == '[')
        report.Add("blank-in-key", file.At(number),
                   "A blank stands before the bracket: the line is no section header, and the "
                   "entries below it belong to the section above.",
                   "Begin the header in the first column.");
    else if (const auto entry = SplitEntry(line))
        report.Add("blank-in-key", file.At(number),
                   "The blank in front belongs to the key, which is " + Quoted(entry->key) +
                       " and never found.",
                   "Begin the key in the first column.");
}

void CheckCarriageReturns(const IniFile& file, Report& report)
{
    std::size_t number = 0;
    for (const std::string& line : file.Lines()) {
        ++number;
        if (line.empty() || line.back() != '\r')
            continue;
        report.Add("carriage-return", file.At(number),
                   "Lines end in a carriage return, which belongs to the values: \"EN\" with one "
                   "is not \"EN\", and a library's name with one names another file.",
                   "Convert the file to line feeds: sed -i 's/\\r$//' " + file.Path());
        return;
    }
}

void CheckLastLine(const IniFile& file, Report& report)
{
    if (file.EndsWithLineFeed())
        return;
    report.Add("no-final-line-feed", file.At(file.Lines().size()),
               "The last line has no line feed: what a program adds to the end of the file "
               "continues this line.",
               "End the file with a line feed.");
}

void CheckEntry(const IniFile& file, const IniEntry& entry, Report& report)
{
    if (!entry.key.empty() && entry.key.back() == '\t')
        report.Add("blank-in-key", file.At(entry.line),
                   "A tab before the equals sign belongs to the key, which is never found.",
                   "Remove the tab.");
    if (IsMessageText(entry.key))
        return;

    const std::string value = WithoutCarriageReturn(entry.value);
    const auto comment = value.find(';');
    if (comment != std::string::npos && comment > 0 && IsBlank(value[comment - 1]))
        report.Add("comment-behind-value", file.At(entry.line),
                   "There are no comments behind values: the value is " + Quoted(value) + ".",
                   "Move the comment to a line of its own that begins with a semicolon.");
    else if (!value.empty() && IsBlank(value.back()))
        report.Add("trailing-blank", file.At(entry.line),
                   "The blank at the end belongs to the value, which is " + Quoted(value) + ".",
                   "Remove the blank.");
}

void CheckEntries(const IniFile& file, const IniSection& section, Report& report)
{
    std::map<std::string, std::size_t> first;
    for (const IniEntry& entry : section.entries) {
        CheckEntry(file, entry, report);
        const auto added = first.emplace(entry.key, entry.line);
        if (!added.second)
            report.Add("key-repeated", file.At(entry.line),
                       Quoted(entry.key) + " stands in line " +
                           std::to_string(added.first->second) +
                           " of this section already: this one is not read.",
                       "Remove one of the two.");
    }
}

void CheckSections(const IniFile& file, Report& report)
{
    std::map<std::string, std::size_t> first;
    for (const IniSection& section : file.Sections()) {
        if (!section.isClosed) {
            report.Add("header-without-bracket", file.At(section.line),
                       "The header has no closing bracket: it opens every section that its text "
                       "begins with, and its own name is listed with the line feed, so that no "
                       "message of this name is found.",
                       "Close the header: " + Bracketed(section.name));
            continue;
        }
        const auto added = first.emplace(section.name, section.line);
        if (!added.second)
            report.Add("section-repeated", file.At(section.line),
                       Bracketed(section.name) + " begins in line " +
                           std::to_string(added.first->second) +
                           " already: of a key that both hold, the first counts, and where one "
                           "follows the other directly, this one is not read at all.",
                       "Keep each section in one place.");
    }
}

}  // namespace

void CheckIni(const IniFile& file, Report& report)
{
    std::size_t number = 0;
    for (const std::string& line : file.Lines()) {
        ++number;
        CheckLength(file, line, number, report);
        CheckNul(file, line, number, report);
        CheckIndent(file, line, number, report);
    }
    CheckCarriageReturns(file, report);
    CheckLastLine(file, report);

    if (!file.Loose().empty())
        report.Add("entry-before-first-section", file.At(file.Loose().front().line),
                   Quoted(file.Loose().front().key) +
                       " stands above the first section: it belongs to none and is not found.",
                   "Put a section header above it.");
    CheckSections(file, report);
    for (const IniSection& section : file.Sections())
        CheckEntries(file, section, report);
}

}  // namespace doctor
