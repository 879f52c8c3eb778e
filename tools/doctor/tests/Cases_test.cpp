// Each case of cases.txt: an installation without fault, what is broken in it, what is found.
#include <gtest/gtest.h>

#include <fstream>
#include <ostream>
#include <regex>
#include <vector>

#include "Doctor.h"

namespace doctor::test {
namespace {

struct Case {
    std::string name;
    std::string commands;
    std::string found;  // see Condensed
};

// In the names of the tests.
void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

std::vector<Case> ReadCases()
{
    std::vector<Case> cases;
    std::ifstream file(QOR_DOCTOR_CASES);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("= ", 0) == 0)
            cases.push_back({line.substr(2), "", ""});
        else if (line.rfind("> ", 0) == 0)
            cases.back().found += line.substr(2) + "\n";
        else
            cases.back().commands += line + "\n";
    }
    return cases;
}

std::size_t Count(const std::string& text, const std::string& severity)
{
    const std::regex head("(^|\n)[^ ].*: " + severity + ": ");
    return static_cast<std::size_t>(
        std::distance(std::sregex_iterator(text.begin(), text.end(), head), {}));
}

// What the doctor ends with when it has found that.
int StatusFor(const std::string& found)
{
    if (Count(found, "not looked at") > 0 || found.rfind("qor_doctor: ", 0) == 0)
        return 3;
    return Count(found, "error") > 0 ? 2 : Count(found, "warning") > 0 ? 1 : 0;
}

// The output as cases.txt has it: a line for each finding, without the last line, which counts
// them. What differs from run to run becomes a word.
std::string Condensed(std::string output)
{
    static const struct {
        std::regex from;
        const char* to;
    } changes[] = {
        {std::regex("\n\n"), "\n"},
        {std::regex("\n    "), " | "},
        {std::regex("\n[0-9]+ errors?, [0-9]+ warnings?\\.\n$"), "\n"},
        {std::regex("/proc/[0-9]+/status:[0-9]+:"), "/proc/PID/status:LINE:"},
        {std::regex("[0-9]{20}"), "STAMP"},
        {std::regex("user 65534"), "user 1"},  // see give_away in good.sh
    };
    for (const auto& change : changes)
        output = std::regex_replace(output, change.from, change.to);
    return output;
}

class CasesTest : public DoctorTest, public testing::WithParamInterface<Case>
{
};

TEST_P(CasesTest, IsDiagnosed)
{
    const Case& c = GetParam();
    const qor::test::ShellResult result = Run(c.commands + "diagnose");

    EXPECT_EQ(c.found, Condensed(result.output));
    EXPECT_EQ(StatusFor(c.found), result.status);
}

INSTANTIATE_TEST_SUITE_P(Doctor, CasesTest, testing::ValuesIn(ReadCases()));

}  // namespace
}  // namespace doctor::test
