// IgnoreCase.h - comparison without regard to the case of ASCII letters, whatever the locale.
#ifndef QOR_UTIL_PLAIN_IGNORECASE_H
#define QOR_UTIL_PLAIN_IGNORECASE_H

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace qor {

constexpr char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// -1 or 1 by the first byte that differs, unsigned; else the difference of the lengths.
inline std::int64_t CompareIgnoreCase(std::string_view a, std::string_view b)
{
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const auto x = static_cast<unsigned char>(ToLower(a[i]));
        const auto y = static_cast<unsigned char>(ToLower(b[i]));
        if (x != y)
            return x < y ? -1 : 1;
    }
    return static_cast<std::int64_t>(a.size()) - static_cast<std::int64_t>(b.size());
}

inline bool EqualIgnoreCase(std::string_view a, std::string_view b)
{
    return CompareIgnoreCase(a, b) == 0;
}

}  // namespace qor

#endif  // QOR_UTIL_PLAIN_IGNORECASE_H
