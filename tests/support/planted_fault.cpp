// Does one thing wrong, to show that the sanitizers and memcheck report it:
//     qor_planted_fault none|heap|leak|overflow|wrap|truncation|race
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <thread>

namespace {

// Volatile, so that no compiler computes the outcome.
volatile std::size_t size = 8;
volatile int sink = 0;

void ReadPastTheHeap()
{
    const auto bytes = std::make_unique<char[]>(size);
    sink = bytes[size];
}

// Many, and the pointer's place is overwritten: registers and the stack may hold some of them
// still.
void Lose()
{
    char* volatile lost = nullptr;
    for (int i = 0; i < 100; ++i)
        lost = new char[size];
    lost[0] = 'x';
    lost = nullptr;
}

void OverflowAnInt()
{
    volatile int number = INT_MAX;
    sink = number + 1;
}

void WrapAnUnsigned()
{
    volatile unsigned int number = 0;
    number = number - 1;
}

void TruncateImplicitly()
{
    volatile signed char number = SCHAR_MAX;
    sink = ++number;
}

void Race()
{
    int shared = 0;
    const auto count = [&shared] {
        for (int i = 0; i < 1000; ++i)
            ++shared;
    };
    std::thread other(count);
    count();
    other.join();
    sink = shared;
}

const struct {
    const char* name;
    void (*commit)();
} kFaults[] = {
    {"none", [] {}},          {"heap", ReadPastTheHeap},
    {"leak", Lose},           {"overflow", OverflowAnInt},
    {"wrap", WrapAnUnsigned}, {"truncation", TruncateImplicitly},
    {"race", Race},
};

}  // namespace

int main(int argc, char** argv)
{
    for (const auto& fault : kFaults) {
        if (argc == 2 && std::strcmp(argv[1], fault.name) == 0) {
            fault.commit();
            return EXIT_SUCCESS;
        }
    }
    std::cerr << "usage: qor_planted_fault none|heap|leak|overflow|wrap|truncation|race\n";
    return 2;
}
