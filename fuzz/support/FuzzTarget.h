// FuzzTarget.h - what a fuzz target is: a function, in a source file of its own.
//
//     namespace qor::fuzz {
//     void TestInput(Input input)
//     {
//         const std::string key = input.Text();
//         PutFile("/opt/fuzz/a.ini", input.Rest());
//         EXPECT_EQ(Model(key), Library(key)) << Shown(key);
//     }
//     }
//
// Targets compare by the EXPECT_ macros of GoogleTest. The first one that fails prints what it saw
// and aborts, which is a finding. An exception that leaves TestInput is one too.
//
// The program is in private mounts (tests/support/PrivateMounts.h): /opt, /var/tmp, /tmp and /etc
// are its own, and /opt/fuzz is there. Files that one input leaves are there for the next: write
// what you read.
#ifndef QOR_FUZZ_FUZZTARGET_H
#define QOR_FUZZ_FUZZTARGET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qor::fuzz {

// The bytes of one input, taken from the front. Made so that seeds are texts that one can write:
// arguments first, a line each, then the file or the text that is read with them.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size);

    // The next line without its line feed; "" at the end. In it "\n", "\r", "\t", "\0" and "\\"
    // stand for the byte that they name.
    std::string Line();

    // The next line up to its first NUL: an argument as C programs can give it.
    std::string Text();

    // The next line as strtol(3) reads it, with base 0.
    long Number();

    // All before the next "----\n", which is passed over, or all that is left. No escapes.
    std::string Part();

    // All that is left. No escapes.
    std::string Rest();

private:
    std::string_view left_;
};

// Once, before the first input, if the target defines it.
__attribute__((weak)) void Prepare();

// For each input.
void TestInput(Input input);

// For a failure's message: in quotes, what is not printable escaped.
std::string Shown(const std::string& text);

// The file, made or replaced, holds `content`. Its directory exists.
void PutFile(const char* path, std::string_view content);

}  // namespace qor::fuzz

// What a fuzzing engine calls, by libFuzzer's names: the first once, before anything else; the
// second for each input. They return 0, end the program that cannot be prepared, and abort at a
// finding.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // QOR_FUZZ_FUZZTARGET_H
