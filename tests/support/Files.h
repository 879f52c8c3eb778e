// Files.h - files and directories, as short as a test wants to say it.
//
// All of them throw std::system_error, whose text names path and reason, when the system
// refuses: GoogleTest reports it as the test's failure.
#ifndef QOR_TEST_FILES_H
#define QOR_TEST_FILES_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qor::test {

// Creates missing parent directories (0755); replaces what the file held. A new file has the
// mode 0644, an existing one keeps its own.
void WriteFile(const std::string& path, const std::string& content);

// Creates the file when it is missing, but no directories.
void AppendFile(const std::string& path, const std::string& content);

std::string ReadFile(const std::string& path);

// A dangling link exists too.
bool Exists(const std::string& path);

// As mkdir -p, mode 0755 for each directory that is made.
void MakeDirs(const std::string& path);

// As rm -rf: a missing path is no error. Links are removed, not followed.
void RemoveTree(const std::string& path);

// Removes all that lies in the directory and keeps the directory itself.
void EmptyDirectory(const std::string& path);

// Names in ascending byte order, without "." and "..".
std::vector<std::string> ListDir(const std::string& path);

// Permission bits (07777), of a link's target.
mode_t FileMode(const std::string& path);

// Bytes, of a link's target.
std::uint64_t FileSize(const std::string& path);

}  // namespace qor::test

#endif  // QOR_TEST_FILES_H
