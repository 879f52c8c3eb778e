// The output of a shell command, read to its end: the stream, the same by bare system calls, and
// what one would use instead.
//
// The shell and the command are other processes, so the wall clock is measured.
#include <fcntl.h>
#include <pstreams/pstream.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "CPipeStream.h"
#include "support/Descriptors.h"
#include "support/Engine.h"
#include "support/Files.h"

namespace {

using namespace qor::bench;
using namespace qor::test;

constexpr int kRead = 32;  // bytes at a time, the most that the stream takes from the pipe
constexpr char kData[] = "/opt/data";

// The program waits for its children, as far as that is not done yet.
void WaitForChildren()
{
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
}

std::size_t ReadToEnd(std::istream& stream, char* out, std::size_t size)
{
    (void)stream.read(out, static_cast<std::streamsize>(size));
    return static_cast<std::size_t>(stream.gcount());
}

std::size_t Ours(const char* command, char* out, std::size_t size)
{
    const pid_t self = ::getpid();
    std::size_t length;
    {
        CPipeStream stream(command);
        if (::getpid() != self)
            ::_exit(0);
        length = ReadToEnd(stream, out, size);
    }
    WaitForChildren();
    return length;
}

// The child starts the shell and waits for it, since it goes on in the program afterwards.
[[noreturn]] void RunInChild(const char* command, int input, int output)
{
    (void)::dup2(input, STDIN_FILENO);
    (void)::dup2(output, STDOUT_FILENO);
    const pid_t shell = ::vfork();
    if (shell == 0) {
        (void)::execl("/bin/sh", "sh", "-c", command, nullptr);
        ::_exit(127);
    }
    (void)::waitpid(shell, nullptr, 0);
    ::_exit(0);
}

// A fork(2) whose child runs the shell; the output in reads of 32 bytes, as more would let a
// command run on that must stop when nobody reads on.
std::size_t Limit(const char* command, char* out, std::size_t)
{
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0)
        return 0;
    const pid_t child = ::fork();
    if (child == 0)
        RunInChild(command, input[0], output[1]);
    (void)::close(input[0]);
    (void)::close(output[1]);

    char* end = out;
    for (ssize_t count; (count = ::read(output[0], end, kRead)) > 0;)
        end += count;
    (void)::close(input[1]);
    (void)::close(output[0]);
    if (::waitpid(child, nullptr, WNOHANG | WUNTRACED) == 0)
        (void)::kill(child, SIGTERM);
    WaitForChildren();
    return static_cast<std::size_t>(end - out);
}

std::size_t Popen(const char* command, char* out, std::size_t size)
{
    FILE* const pipe = ::popen(command, "re");
    const std::size_t length = pipe == nullptr ? 0 : std::fread(out, 1, size, pipe);
    if (pipe != nullptr)
        (void)::pclose(pipe);
    return length;
}

std::size_t Pstreams(const char* command, char* out, std::size_t size)
{
    redi::ipstream stream(command);
    const std::size_t length = ReadToEnd(stream, out, size);
    stream.close();
    return length;
}

using Reader = std::size_t (*)(const char* command, char* out, std::size_t size);

constexpr struct {
    const char* name;
    Reader read;
} kReaders[] = {{"ours", Ours}, {"limit", Limit}, {"popen", Popen}, {"pstreams", Pstreams}};

constexpr struct {
    Size size;
    std::size_t runs;  // of which one measurement is the median
} kSizes[] = {{{"5", 5}, 31}, {{"1K", 1 << 10}, 31}, {{"64K", 1 << 16}, 15}, {{"1M", 1 << 20}, 5}};

// Text: a byte 0xFF would end the stream.
std::string Output(std::size_t length)
{
    std::string text;
    while (text.size() < length)
        text += "line " + std::to_string(text.size()) + "\n";
    text.resize(length);
    return text;
}

void MeasureReader(benchmark::State& state, Reader read, std::size_t size, std::size_t runs)
{
    const std::string expected = Output(size);
    WriteFile(kData, expected);
    // The shell alone, or the shell and a command.
    const std::string command = size == 5 ? "printf 'line '" : std::string("cat ") + kData;
    const DescriptorMap before = OpenDescriptors();
    std::string out(size + kRead, '\0');
    std::size_t length = 0;
    MeasureByWallClock(
        state, runs, [&] { length = read(command.c_str(), out.data(), out.size()); },
        [&] {
            return length == size && out.compare(0, size, expected) == 0 &&
                   OpenDescriptors() == before;
        });
}

[[maybe_unused]] const bool kRegistered = [] {
    for (const auto& row : kSizes) {
        for (const auto& reader : kReaders)
            AddByWallClock(std::string("command.") + row.size.name, reader.name, [=](auto& state) {
                MeasureReader(state, reader.read, row.size.count, row.runs);
            });
    }
    return true;
}();

}  // namespace
