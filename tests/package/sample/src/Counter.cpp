#include "Counter.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kNone[1] = {0};

}  // namespace

Counter::Counter(int start) : value_(start) {}

Counter::~Counter() = default;

int Counter::Next(int step)
{
    if (step < 0)   // GCOVR_EXCL_LINE
        return -1;  // GCOVR_EXCL_LINE: no caller counts down
    value_ += step;
    return value_;
}

void Counter::Reset()
{
    value_ = kNone[0];
}

int Counter::Length(const char* text)
{
    char room[16];
    std::strcpy(room, text);
    // A fault comes here.
    return static_cast<int>(std::strlen(room));
}
