// ReplacedFile.h - a file of the host replaced for the length of a test, in the private
// overlays of /etc, /usr/bin, /usr/sbin and /tmp (or anywhere in /opt, /var/tmp and /dev).
//
//     const ReplacedFile banner("/etc/motd", "welcome\n");
//     const ReplacedFile scratch("/tmp/motd");                 // absent to begin with
//     const StubCommand dmidecode("/usr/sbin/dmidecode", "cat /opt/answer");
//
// At its end each puts back what it found: the former file or link, or nothing.
#ifndef QOR_TEST_REPLACEDFILE_H
#define QOR_TEST_REPLACEDFILE_H

#include <sys/types.h>

#include <string>

namespace qor::test {

class ReplacedFile
{
public:
    // The path is absent when the test begins, whatever it may become.
    explicit ReplacedFile(const std::string& path);

    // The path is a new regular file. Creates missing parent directories, and leaves them.
    ReplacedFile(const std::string& path, const std::string& content, mode_t mode = 0644);

    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;
    ~ReplacedFile();

private:
    enum class Kind { Absent, File, Link };

    void Remember();
    void Restore() const;

    std::string path_;
    Kind kind_ = Kind::Absent;
    std::string content_;  // of the file, or the link's target
    mode_t mode_ = 0;
    uid_t owner_ = 0;
    gid_t group_ = 0;
};

// A command of the system replaced by a shell script (0755). `script`: the lines after
// "#!/bin/sh"; "$@" are the arguments of the call. Replacing /bin/sh itself is not possible.
class StubCommand : public ReplacedFile
{
public:
    StubCommand(const std::string& path, const std::string& script);
};

}  // namespace qor::test

#endif  // QOR_TEST_REPLACEDFILE_H
