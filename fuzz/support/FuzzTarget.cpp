#include "support/FuzzTarget.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/PrivateMounts.h"

namespace qor::fuzz {
namespace {

constexpr std::string_view kPartEnd = "----\n";

// In place of GoogleTest's own output: there is no test here, and one failure ends the program.
class AbortOnFailure : public testing::EmptyTestEventListener
{
    void OnTestPartResult(const testing::TestPartResult& result) override
    {
        if (!result.failed())
            return;
        (void)std::fprintf(stderr, "%s:%d: %s\n",
                           result.file_name() == nullptr ? "?" : result.file_name(),
                           result.line_number(), result.message());
        std::abort();
    }
};

void AbortOnFailedExpectations()
{
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new AbortOnFailure);  // GoogleTest's to free
}

// What "\c" stands for.
char Unescaped(char c)
{
    switch (c) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case '0':
            return '\0';
        default:
            return c;
    }
}

}  // namespace

Input::Input(const std::uint8_t* data, std::size_t size)
    : left_(reinterpret_cast<const char*>(data), size)
{
}

std::string Input::Line()
{
    const std::string_view line = left_.substr(0, left_.find('\n'));
    left_.remove_prefix(line.size() < left_.size() ? line.size() + 1 : line.size());

    std::string text;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool escaped = line[i] == '\\' && i + 1 < line.size();
        text += escaped ? Unescaped(line[++i]) : line[i];
    }
    return text;
}

std::string Input::Text()
{
    return Line().c_str();
}

long Input::Number()
{
    return std::strtol(Line().c_str(), nullptr, 0);
}

std::string Input::Part()
{
    const auto end = left_.find(kPartEnd);
    const std::string part(left_.substr(0, end));
    left_.remove_prefix(end == std::string_view::npos ? left_.size() : end + kPartEnd.size());
    return part;
}

std::string Input::Rest()
{
    const std::string rest(left_);
    left_ = {};
    return rest;
}

std::string Shown(const std::string& text)
{
    return testing::PrintToString(text);
}

void PutFile(const char* path, std::string_view content)
{
    static const bool isFaulty = std::getenv("QOR_FUZZ_FAULT") != nullptr;  // a target can fail
    if (isFaulty)
        content = content.substr(0, content.size() / 2);
    const test::OwnedFd file(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (::write(file.get(), content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        test::ThrowErrno(path);
}

}  // namespace qor::fuzz

int LLVMFuzzerInitialize(int*, char***)
{
    try {
        qor::test::EnterPrivateMounts();
        (void)::umask(022);
        qor::fuzz::AbortOnFailedExpectations();
        qor::test::MakeDirs("/opt/fuzz");
        if (qor::fuzz::Prepare != nullptr)
            qor::fuzz::Prepare();
        return 0;
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "Cannot prepare: %s\n", failure.what());
        std::_Exit(EXIT_FAILURE);
    }
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qor::fuzz::TestInput(qor::fuzz::Input(data, size));
    return 0;
}
