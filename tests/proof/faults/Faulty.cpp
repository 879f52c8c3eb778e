// Operations that are faulty on purpose, each in what it does when a call of its own fails: the
// proof has to find them.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "CMutexUtil.h"
#include "proof/faults/Operation.h"
#include "support/Files.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kFile[] = "/opt/d/file";
constexpr char kScratch[] = "/var/tmp/qortmp0";

Operation Working(const char* name, const std::function<bool()>& work, const char* again = "=")
{
    return {name,
            "done | file",
            {{"open read write wait", "", "", {"failed | file"}}},
            [] { WriteFile(kFile, "content"); },
            [=] {
                const auto done = std::make_shared<bool>(false);
                return Prepared{[=] { *done = work(); }, [=] { return *done ? "done" : "failed"; }};
            },
            [] { return Names("/opt/d"); },
            again};
}

int OpenToRead(const char* path)
{
    return ::open(path, O_RDONLY | O_CLOEXEC);
}

bool HasByte(int file)
{
    char byte;
    return ::read(file, &byte, 1) == 1;
}

// Does not close what it could not read.
bool LeaveDescriptor()
{
    const int file = OpenToRead(kFile);
    if (file < 0 || !HasByte(file))
        return false;
    (void)::close(file);
    return true;
}

// Does not remove what it could not write.
bool LeaveScratchFile()
{
    const int file = ::open(kScratch, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    const bool written = ::write(file, "text", 4) == 4;
    (void)::close(file);
    return written && ::unlink(kScratch) == 0;
}

// Does not wait for its child when it finds nothing to do.
bool LeaveChild()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    const int file = OpenToRead(kFile);
    if (file < 0)
        return false;
    (void)::close(file);
    return ::waitpid(child, nullptr, 0) == child;
}

// Keeps the lock when it finds nothing to do: its second run waits for ever.
bool KeepLock(CMutexUtil& mutex)
{
    (void)mutex.Lock(-1);
    const int file = OpenToRead(kFile);
    if (file < 0)
        return false;
    (void)::close(file);
    mutex.Unlock();
    return true;
}

// Takes a failed read for a good one.
bool TellWrongResult()
{
    const int file = OpenToRead(kFile);
    if (file < 0)
        return false;
    (void)HasByte(file);
    (void)::close(file);
    return true;
}

}  // namespace

std::vector<Faulty> FaultyOperations()
{
    const auto mutex = std::make_shared<CMutexUtil>();
    (void)mutex->Create();
    return {
        {Working("faulty.descriptor", LeaveDescriptor),
         {"read", 1, false, "EIO"},
         "opened * -> /opt/d/file~"},
        // A second run would take the file away.
        {Working("faulty.scratch", LeaveScratchFile, nullptr),
         {"write", 1, false, "ENOSPC"},
         "a scratch file is left: qortmp0"},
        {Working("faulty.child", LeaveChild), {"open", 1, false, "EMFILE"}, "left a child"},
        {Working("faulty.lock", [=] { return KeepLock(*mutex); }),
         {"open", 1, false, "EACCES"},
         "the outcome is not in the table: hangs"},
        {Working("faulty.result", TellWrongResult),
         {"read", 1, false, "EIO"},
         "the outcome is not in the table: done | file"},
    };
}

}  // namespace qor::proof
