// FakeShell.h - system(3) without a shell, for targets whose subject runs commands: a process for
// each input would take a thousand times as long as what is tested.
//
//     const FakeShell shell([](const std::string& command) { ...; return 0; });
//
// A program that uses it lists FakeShell.cpp among its sources, which defines system in place of
// the C library's. Without a FakeShell commands run as ever, those of the engine too.
#ifndef QOR_FUZZ_FAKESHELL_H
#define QOR_FUZZ_FAKESHELL_H

#include <functional>
#include <string>

namespace qor::fuzz {

// `answer`: does what the command would do, and returns what system(3) would. While it lasts.
class FakeShell
{
public:
    using Answer = std::function<int(const std::string& command)>;

    explicit FakeShell(Answer answer);
    FakeShell(const FakeShell&) = delete;
    FakeShell& operator=(const FakeShell&) = delete;
    ~FakeShell();
};

// The file after the last " > " of a command.
std::string OutputFileOf(const std::string& command);

}  // namespace qor::fuzz

#endif  // QOR_FUZZ_FAKESHELL_H
