// Lines of an INI file that read otherwise than they look.
#include <map>

#include "checks/Checks.h"

namespace doctor {
namespace {

constexpr char kBlanks[] = " \t";

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

// What the reader takes the rest of an over-long line for.
std::string Meaning(const std::string& rest)
{
    if (rest[0] == '[')
        return "a section header";
    if (rest[0] == ';')
        return "a comment";
    const auto entry = SplitEntry(rest);
    return entry ? "an entry with the key \"" + entry->key + '"' : "nothing";
}

void CheckLine(const std::string& line, const Place& place, Report& report)
{
    if (line.size() > IniFile::kMaxLine)
        report.Add("line-too-long", place,
                   {std::to_string(line.size()), Meaning(line.substr(IniFile::kMaxLine))});
    const auto nul = line.find('\0');
    if (nul != std::string::npos)
        report.Add("nul-byte", place, {std::to_string(nul + 1)});

    const auto first = line.find_first_not_of(kBlanks);
    if (first == 0 || first == std::string::npos || line[first] == ';')
        return;
    if (line[first] == '[')
        report.Add("blank-in-key/header", place);
    else if (const auto entry = SplitEntry(line))
        report.Add("blank-in-key", place, {entry->key});
}

void CheckLineEnds(const IniFile& file, Report& report)
{
    for (std::size_t i = 0; i < file.Lines().size(); ++i) {
        if (file.Lines()[i].empty() || file.Lines()[i].back() != '\r')
            continue;
        report.Add("carriage-return", file.At(i + 1), {file.Path()});
        break;
    }
    if (!file.EndsWithLineFeed())
        report.Add("no-final-line-feed", file.At(file.Lines().size()));
}

void CheckEntry(const IniFile& file, const IniEntry& entry, Report& report)
{
    if (!entry.key.empty() && entry.key.back() == '\t')
        report.Add("blank-in-key/tab", file.At(entry.line));
    if (entry.key == "Format" || entry.key == "FormatEng")
        return;  // texts of a message catalogue may hold and end in anything

    std::string value = entry.value;
    if (!value.empty() && value.back() == '\r')
        value.pop_back();
    const auto comment = value.find(';');
    if (comment != std::string::npos && comment > 0 && IsBlank(value[comment - 1]))
        report.Add("comment-after-value", file.At(entry.line), {value});
    else if (!value.empty() && IsBlank(value.back()))
        report.Add("trailing-blank", file.At(entry.line), {value});
}

void CheckEntries(const IniFile& file, const IniSection& section, Report& report)
{
    std::map<std::string, std::size_t> lines;  // the first of each key
    for (const IniEntry& entry : section.entries) {
        CheckEntry(file, entry, report);
        const auto [first, isNew] = lines.emplace(entry.key, entry.line);
        if (!isNew)
            report.Add("key-repeated", file.At(entry.line),
                       {entry.key, std::to_string(first->second)});
    }
}

void CheckSections(const IniFile& file, Report& report)
{
    std::map<std::string, std::size_t> lines;  // the first of each name
    for (const IniSection& section : file.Sections()) {
        if (!section.isClosed) {
            report.Add("header-without-bracket", file.At(section.line), {section.name});
            continue;
        }
        const auto [first, isNew] = lines.emplace(section.name, section.line);
        if (!isNew)
            report.Add("section-repeated", file.At(section.line),
                       {section.name, std::to_string(first->second)});
    }
}

}  // namespace

void CheckIni(const IniFile& file, Report& report)
{
    for (std::size_t i = 0; i < file.Lines().size(); ++i)
        CheckLine(file.Lines()[i], file.At(i + 1), report);
    CheckLineEnds(file, report);
    if (!file.Loose().empty())
        report.Add("entry-before-first-section", file.At(file.Loose().front().line),
                   {file.Loose().front().key});
    CheckSections(file, report);
    for (const IniSection& section : file.Sections())
        CheckEntries(file, section, report);
}

}  // namespace doctor
