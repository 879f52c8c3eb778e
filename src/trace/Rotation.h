// Rotation.h - compressing a full log file, and removing old ones.
#ifndef QOR_TRACE_ROTATION_H
#define QOR_TRACE_ROTATION_H

#include <list>
#include <string>

namespace qor {

// Compresses a file that is rotated out. False when it stays as it is: it is no regular file, its
// compressed form is there already, or gzip failed.
bool CompressRotated(const std::string& path);

// Runs "gzip -9 PATH", cut to 1023 bytes, through the shell and returns what system(3) returned. A
// path with other characters than letters, digits and "/._-+,:@=%", which the shell might
// interpret, gives -1, and nothing is run.
int Compress(const std::string& path);

// Removes the oldest of the names, which are in ascending order, until four are left.
void RemoveOldest(const std::string& directory, std::list<std::string>& names);

}  // namespace qor

#endif  // QOR_TRACE_ROTATION_H
