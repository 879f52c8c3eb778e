// CPipeStream.h - reads the standard output of a shell command as an input stream.
//
//     const pid_t self = getpid();
//     CPipeStream stream("uname -r");
//     if (getpid() != self) _exit(0);                // the child: see below
//     std::string release;
//     std::getline(stream, release);
//
// Intended: the child process runs the command with system(3) and then returns from the constructor
// into the caller's code, with its standard input and output bound to the pipes and the stream bad.
// Programs rely on it to continue in the child. Every other program compares getpid() as above,
// directly after the construction, and leaves the child with _exit(2), which runs no handlers and
// flushes no buffers that the parent also holds.
//
// Reading meets the end only when the child has left too: its standard output is the same pipe. The
// command's standard input stays open and empty until close(). Writing and seeking fail.
//
// Intended: the child of a later stream keeps the pipes of earlier streams open until it leaves.
// Until then, close() of an earlier stream does not end its command's input: close it first.
//
// Threads: one stream, one thread. fork(2) copies only the calling thread: in a program with
// threads the child may call only async-signal-safe functions, so leave it at once. A thread that
// is cancelled (pthread_cancel(3)) ends where it waits for output; the stream is then destroyed as
// usual.
#ifndef QOR_CPIPESTREAM_H
#define QOR_CPIPESTREAM_H

#include <sys/types.h>

#include <istream>
#include <streambuf>

#include "QorExport.h"

class QOR_API CPipeStream : public std::streambuf, public std::iostream
{
public:
    /// Makes the stream bad, then calls open(command).
    CPipeStream(const char* command);

    CPipeStream(const CPipeStream&) = delete;
    CPipeStream& operator=(const CPipeStream&) = delete;

    /// Calls close().
    ~CPipeStream() override;

    /// Starts the command; the stream is good then. Null is ignored. Meant for the constructor,
    /// once.
    ///
    /// Intended: when fork(2) fails, the reason goes to the standard error stream and the whole
    /// process exits with status 1. When pipe(2) fails, its reason is printed, and the command is
    /// started without the standard streams that lack a pipe; reading then fails.
    void open(const char* command);

    /// A step of open: makes the pipes. Called alone, it leaves the command's two ends open.
    void init();

    /// Closes the pipes, asks for the child's state without waiting, sends the child SIGTERM if it
    /// still runs, and makes the stream bad.
    ///
    /// Intended: only the child gets the signal, not the shell that runs the command. The command
    /// meets the end of its input, and SIGPIPE when it writes; otherwise it runs to its end. If it
    /// must end with the stream, let it read its input or write, or limit it by timeout(1).
    ///
    /// Intended: close() does not wait for the child after the signal: it stays a zombie until the
    /// program waits for it or ends.
    ///
    /// Intended: each further call, the destructor's too, closes the same descriptor numbers again,
    /// which may belong to other files by then: leave closing to the destructor.
    void close();

    // The overrides of std::streambuf.

    /// Intended: the byte is a signed char: at a refill (after 32 bytes at most) 0xFF reads as the
    /// end, and 0x80 to 0xFE are negative numbers. Read text; let commands encode binary output,
    /// for example with base64(1).
    ///
    /// The next byte, or -1 at the end. Waits until there is output or its end; signals do not end
    /// the wait. A failed read(2) sets failbit and gives -1.
    int underflow() override;

    /// As underflow, and moves past the byte.
    int uflow() override;

private:
    enum { kBufferSize = 32 };

    char* buffer_;
    pid_t child_;
    int input_[2];   // the command's standard input: read end, write end
    int output_[2];  // the command's standard output
};

#endif  // QOR_CPIPESTREAM_H
