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

// Whether printf(3) of any C library could take something in the format for "%n", in any form. For
// a well-formed format the answer is exact.
bool MayStoreThroughArgument(const char* format);

// What printf(3) makes of `text` as a format without arguments, cut to `limit` bytes: "%%" is "%",
// a number is 0, a string "(null)", "%m" the text of errno; "%c" shows and "%n" stores nothing.
// What is no conversion, or is cut off by the end of the text, stands for itself. Takes time in
// proportion to `text` and `limit`.
std::string ExpandWithoutArguments(const char* text, std::size_t limit);

}  // namespace qor

#endif  // QOR_BASE_FORMAT_H
