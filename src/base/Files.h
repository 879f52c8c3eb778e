// Files.h - opening, reading, writing and comparing files.
#ifndef QOR_BASE_FILES_H
#define QOR_BASE_FILES_H

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "base/Handles.h"

namespace qor {

// Whether stat(2) finds something of that name.
bool Exists(const std::string& path);

// Whether lstat(2) finds a regular file of that name: a link to one is none.
bool IsRegularFile(const std::string& path);

// Whether two files are one; of descriptors, false when fstat(2) fails.
bool IsSameFile(const struct stat& a, const struct stat& b);
bool IsSameFile(int a, int b);

// open(2), close-on-exec, repeated when a signal interrupts it: a FIFO or a network file can make
// it wait. Empty with errno when the file cannot be opened.
UniqueFd OpenFile(const char* path, int flags, mode_t mode = 0);
UniqueFd OpenForReading(const char* path);
UniqueFd OpenForReading(const std::string& path);

// Opens only a regular file: open(2) once, close-on-exec, following no link, then fstat(2). A FIFO
// or device is opened before it is refused: the flags decide whether that waits. Empty when a call
// failed, with errno and a mode of 0, or when `status` shows no regular file.
UniqueFd OpenRegular(const char* path, int flags, struct stat& status, mode_t mode = 0);

// The file's content, up to a read error; empty when it cannot be opened.
std::string ReadFile(const std::string& path);

// The same from the file's position to its end.
std::string ReadRest(int file);

// Writes all of `text`. False with errno when a write failed; a part may be written then.
bool WriteAll(int file, std::string_view text);

// Copies from the position of one file to its end. Returns the bytes copied, or -1 with errno when
// reading or writing failed. Uses 16 KiB of stack.
long CopyContent(int from, int to);

}  // namespace qor

#endif  // QOR_BASE_FILES_H
