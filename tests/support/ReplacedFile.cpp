#include "support/ReplacedFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "support/Descriptors.h"
#include "support/Files.h"

namespace qor::test {
namespace {

// The new file is always another one: an overlay in a user namespace lets the host's files be
// removed, but not be opened for writing, as their owner is unknown there.
void MakeFile(const std::string& path, const std::string& content, mode_t mode)
{
    WriteFile(path, content);
    if (::chmod(path.c_str(), mode) != 0)
        ThrowErrno("chmod " + path);
}

}  // namespace

ReplacedFile::ReplacedFile(const std::string& path) : path_(path)
{
    Remember();
    RemoveTree(path_);
}

ReplacedFile::ReplacedFile(const std::string& path, const std::string& content, mode_t mode)
    : ReplacedFile(path)
{
    MakeFile(path_, content, mode);
}

ReplacedFile::~ReplacedFile()
{
    try {
        RemoveTree(path_);
        Restore();
    } catch (const std::exception& failure) {
        ADD_FAILURE() << "Cannot put back " << path_ << ": " << failure.what();
    }
}

void ReplacedFile::Remember()
{
    struct stat status;
    if (::lstat(path_.c_str(), &status) != 0)
        return;

    if (S_ISLNK(status.st_mode)) {
        kind_ = Kind::Link;
        content_ = std::filesystem::read_symlink(path_).string();
    } else if (S_ISREG(status.st_mode)) {
        kind_ = Kind::File;
        content_ = ReadFile(path_);
    } else {
        throw std::runtime_error(path_ + " is neither a regular file nor a link");
    }
    mode_ = status.st_mode & 07777;
    owner_ = status.st_uid;
    group_ = status.st_gid;
}

void ReplacedFile::Restore() const
{
    if (kind_ == Kind::Link)
        std::filesystem::create_symlink(content_, path_);
    if (kind_ != Kind::File)
        return;

    // The owner before the mode, as chown(2) takes away the set-user-id bit. It fails in a user
    // namespace, where all restored files are the caller's.
    WriteFile(path_, content_);
    const int chowned = ::chown(path_.c_str(), owner_, group_);
    (void)chowned;
    if (::chmod(path_.c_str(), mode_) != 0)
        ThrowErrno("chmod " + path_);
}

StubCommand::StubCommand(const std::string& path, const std::string& script)
    : ReplacedFile(path, "#!/bin/sh\n" + script + "\n", 0755)
{
}

}  // namespace qor::test
