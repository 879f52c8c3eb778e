// Format.h - printf-style formatting that never passes the end of its buffer.
#ifndef QOR_BASE_FORMAT_H
#define QOR_BASE_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <string>

namespace qor {

// Formats into `buffer` of `size` bytes (at least 1), cut to size - 1, always terminated. A format
// that the C library rejects leaves the text made so far. Returns the length of the text.
std::size_t FormatInto(char* buffer, std::size_t size, const char* format, std::va_list arguments);

// A text of any length.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Whether a format holds "%n", in any form.
bool StoresThroughArgument(const char* format);

// What printf(3) makes of `text` as a format without arguments, cut to `limit` bytes: "%%" is "%",
// a number is 0, a string "(null)", "%m" the text of errno; "%c" shows and "%n" stores nothing.
// What is no conversion stands for itself; one that the text's end cuts off vanishes.
std::string ExpandWithoutArguments(const char* text, std::size_t limit);

}  // namespace qor

#endif  // QOR_BASE_FORMAT_H
