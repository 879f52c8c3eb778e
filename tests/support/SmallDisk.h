// SmallDisk.h - a full or read-only disk, at a path of the test's choice.
//
//     SmallDisk disk(kLogDirectory, 64 * 1024);
//     ...                                          // write fails with ENOSPC beyond 64 KiB
//     disk.MakeReadOnly();                         // open for writing fails with EROFS
#ifndef QOR_TEST_SMALLDISK_H
#define QOR_TEST_SMALLDISK_H

#include <cstddef>
#include <string>

namespace qor::test {

class SmallDisk
{
public:
    // Mounts an empty tmpfs (0755) of `bytes`, rounded up to pages, on the directory, which is
    // created when it is missing.
    SmallDisk(const std::string& directory, std::size_t bytes);
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    // The directory shows again what it held before. Descriptors that are still open keep
    // working.
    ~SmallDisk();

    // Not while a file on it is open for writing.
    void MakeReadOnly();

    // Takes all the room that is left, in the file "filler" on it.
    void Fill();

private:
    std::string directory_;
};

}  // namespace qor::test

#endif  // QOR_TEST_SMALLDISK_H
