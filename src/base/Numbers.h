// Numbers.h - decimal numbers in configuration texts.
#ifndef QOR_BASE_NUMBERS_H
#define QOR_BASE_NUMBERS_H

#include <cstdlib>
#include <string>

namespace qor {

// The leading number of a text, as strtol(3) reads it: 0 without digits, the nearest `long` out of
// range; then cut to its lower 32 bits.
inline int ToInt(const char* text)
{
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

inline int ToInt(const std::string& text)
{
    return ToInt(text.c_str());
}

}  // namespace qor

#endif  // QOR_BASE_NUMBERS_H
