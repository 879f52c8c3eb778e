#include "Output.h"

#include <ostream>

#include "Installation.h"
#include "Text.h"

namespace doctor {
namespace {

// Select Graphic Rendition, ECMA-48.
constexpr char kRed[] = "\x1b[1;31m";
constexpr char kYellow[] = "\x1b[1;33m";
constexpr char kReset[] = "\x1b[0m";

std::string Coloured(Severity severity, bool colour)
{
    if (!colour)
        return Name(severity);
    return (severity == Severity::kError ? kRed : kYellow) + std::string(Name(severity)) + kReset;
}

std::string Counted(std::size_t count, const char* noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

void PrintFinding(std::ostream& out, const Finding& finding, bool colour)
{
    out << Printable(finding.place.file) << ':';
    if (finding.place.line > 0)
        out << finding.place.line << ':';
    out << ' ' << Coloured(finding.known->severity, colour) << ": " << finding.known->key << '\n'
        << "    " << Printable(finding.what) << '\n'
        << "    Do: " << Printable(finding.remedy) << "\n\n";
}

void PrintFindingAsJson(std::ostream& out, const Finding& finding)
{
    out << "{\"id\": " << JsonString(finding.known->key)
        << ", \"subject\": " << JsonString(finding.known->subject)
        << ", \"severity\": " << JsonString(Name(finding.known->severity))
        << ", \"file\": " << JsonString(finding.place.file) << ", \"line\": ";
    if (finding.place.line > 0)
        out << finding.place.line;
    else
        out << "null";
    out << ", \"what\": " << JsonString(finding.what)
        << ", \"remedy\": " << JsonString(finding.remedy) << '}';
}

}  // namespace

void PrintText(std::ostream& out, const Report& report, bool colour)
{
    for (const Finding& finding : report.Findings())
        PrintFinding(out, finding, colour);
    for (const Unseen& unseen : report.NotSeen())
        out << Printable(unseen.path) << ": not looked at: " << unseen.reason << '\n';

    const std::size_t errors = report.Count(Severity::kError);
    const std::size_t warnings = report.Count(Severity::kWarning);
    if (errors + warnings == 0)
        out << "No findings.\n";
    else
        out << Counted(errors, "error") << ", " << Counted(warnings, "warning") << ".\n";
}

void PrintJson(std::ostream& out, const Report& report)
{
    out << "{\"root\": " << JsonString(kRoot)
        << ",\n \"errors\": " << report.Count(Severity::kError)
        << ",\n \"warnings\": " << report.Count(Severity::kWarning) << ",\n \"findings\": [";
    const char* separator = "\n  ";
    for (const Finding& finding : report.Findings()) {
        out << separator;
        PrintFindingAsJson(out, finding);
        separator = ",\n  ";
    }
    out << "],\n \"unseen\": [";
    separator = "\n  ";
    for (const Unseen& unseen : report.NotSeen()) {
        out << separator << "{\"path\": " << JsonString(unseen.path)
            << ", \"reason\": " << JsonString(unseen.reason) << '}';
        separator = ",\n  ";
    }
    out << "]}\n";
}

void PrintKnownFindings(std::ostream& out)
{
    for (const KnownFinding& known : KnownFindings()) {
        if (!known.IsVariant())
            out << known.key << ' ' << Name(known.severity) << ' ' << known.subject << '\n';
    }
}

}  // namespace doctor
