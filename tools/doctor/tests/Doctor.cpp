#include "Doctor.h"

#include <regex>
#include <sstream>

#include "support/TestPaths.h"

namespace doctor::test {

qor::test::ShellResult DoctorTest::Run(const std::string& commands)
{
    return qor::test::RunShell("BUILD=" + qor::test::BuildPath(".") + "; . " +
                               qor::test::SourcePath("tools/doctor/tests/good.sh") + "\n" +
                               commands);
}

std::vector<std::string> FindingsIn(const std::string& output)
{
    static const std::regex head("^[^ ].*: (?:error|warning): ([a-z-]+)$");
    std::vector<std::string> ids;
    std::istringstream lines(output);
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, head))
            ids.push_back(match[1]);
    }
    return ids;
}

}  // namespace doctor::test
