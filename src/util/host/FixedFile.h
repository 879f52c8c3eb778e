// FixedFile.h - files of fixed names in directories where everybody may make files.
#ifndef QOR_UTIL_HOST_FIXEDFILE_H
#define QOR_UTIL_HOST_FIXEDFILE_H

#include "base/Handles.h"

namespace qor {

// Opens a file that nobody else can have prepared: a regular one of root or of this process's user,
// with one link, not through a link, without waiting. Creates it, if the flags ask for that, with
// mode 0666 before the umask, as shells and streams do. Empty when it is anything else.
UniqueFd OpenFixedFile(const char* path, int flags);

}  // namespace qor

#endif  // QOR_UTIL_HOST_FIXEDFILE_H
