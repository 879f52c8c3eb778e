#include "support/FakeShell.h"

#include <dlfcn.h>

#include <cstdlib>
#include <utility>

namespace qor::fuzz {
namespace {

FakeShell::Answer& CurrentAnswer()
{
    static FakeShell::Answer answer;
    return answer;
}

}  // namespace

FakeShell::FakeShell(Answer answer)
{
    CurrentAnswer() = std::move(answer);
}

FakeShell::~FakeShell()
{
    CurrentAnswer() = nullptr;
}

std::string OutputFileOf(const std::string& command)
{
    const std::string redirection = " > ";
    return command.substr(command.rfind(redirection) + redirection.size());
}

}  // namespace qor::fuzz

extern "C" int system(const char* command)
{
    if (qor::fuzz::CurrentAnswer() && command != nullptr)
        return qor::fuzz::CurrentAnswer()(command);

    using System = int (*)(const char*);
    static const auto real = reinterpret_cast<System>(::dlsym(RTLD_NEXT, "system"));
    return real(command);
}
