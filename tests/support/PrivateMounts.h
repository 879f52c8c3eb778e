// PrivateMounts.h - the disk that a test program sees: the real paths, nobody else's files.
//
// tests/support/TestMain.cpp calls this before the first test runs. Afterwards the process and
// its children see
//   /opt, /var/tmp                        empty, on a tmpfs of their own
//   /etc, /usr/bin, /usr/sbin, /tmp       the host's content; what is written stays private
//   /dev                                  null zero full random urandom tty pts shm and the
//                                         usual links; no log socket (see SyslogSocket.h)
//   everything else                       the host's
// and the host sees nothing of what they do there. Any number of programs run side by side.
//
// Rights: root, or an ordinary user where the kernel allows user namespaces. An ordinary user
// becomes root inside, with rights over files that he himself or the tests made. He can add,
// remove and replace files directly in the four overlaid directories, but neither open the
// host's files there for writing in place nor write into the host's directories below them
// (/etc/init.d, say). Use ReplacedFile.h, which serves both. Where something is mounted below
// the host's /tmp, an ordinary user gets an empty /tmp.
//
// The checkout may lie below any of them: tests reach it by TestPaths.h, and so do the counters of
// a coverage build (GCOV_PREFIX, gcov(1)).
//
// Files for a human eye, such as --gtest_output=xml:FILE, belong below none of those
// directories: they would vanish with the process.
#ifndef QOR_TEST_PRIVATEMOUNTS_H
#define QOR_TEST_PRIVATEMOUNTS_H

namespace qor::test {

// To be called while the process has one thread only. Throws std::runtime_error, whose text
// names the call that failed and its errno text; the process is of no use for tests then.
// Does nothing in a process that was started by one with private mounts: the two share them.
void EnterPrivateMounts();

}  // namespace qor::test

#endif  // QOR_TEST_PRIVATEMOUNTS_H
