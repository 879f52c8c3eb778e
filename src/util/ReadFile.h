// ReadFile.h - a whole file as text.
#ifndef QOR_UTIL_READFILE_H
#define QOR_UTIL_READFILE_H

#include <string>

namespace qor {

// The bytes of the file; those before a read error; none when it cannot be opened.
std::string ReadFile(const std::string& path);

}  // namespace qor

#endif  // QOR_UTIL_READFILE_H
