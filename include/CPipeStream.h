// CPipeStream.h - reads the standard output of a shell command as an input stream.
//
//     const pid_t self = getpid();
//     CPipeStream stream("uname -r");
//     if (getpid() != self) _exit(0);                // the child: see below
//     std::string release;
//     std::getline(stream, release);
//
// Intended: the child process runs the command with system(3) and then returns from the
// constructor into the caller's code, with its standard input and output bound to the pipes and
// the stream bad. Programs rely on it to go on in the child. Every other program compares getpid()
// as above, directly after the construction, and leaves the child with _exit(2), which runs no
// handlers and flushes no buffers that the parent also holds.
//
// The output ends only when the child has left too: its standard output is the same pipe.
// The command's standard input stays open and empty until close(). Writing and seeking fail.
//
// Intended: the child of a later stream has the pipes of earlier streams open until it leaves. The
// input of an earlier command does not end by close() before that: close the earlier stream first.
//
// Threads: one stream, one thread. fork(2) copies only the calling thread: in a program with
// threads the child may call async-signal-safe functions alone, so leave it at once. A thread that
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
    /// The stream is bad, then open(command).
    CPipeStream(const char* command);

    CPipeStream(const CPipeStream&) = delete;
    CPipeStream& operator=(const CPipeStream&) = delete;

    /// close(). A child that still runs is sent SIGTERM.
    ~CPipeStream() override;

    /// Starts the command; the stream is good then. Null is ignored. Meant for the constructor,
    /// once.
    ///
    /// Intended: when fork(2) fails, the reason goes to the standard error stream and the whole
    /// process exits with status 1. When pipe(2) fails, its reason is printed and the command is
    /// started all the same, a stream whose pipe is missing closed; reading then fails.
    void open(const char* command);

    /// Makes the pipes, as a step of open. Called alone, the two ends that are the command's stay
    /// open.
    void init();

    /// Closes the pipes, asks for the child's state without waiting, sends the child SIGTERM if it
    /// still runs, and makes the stream bad.
    ///
    /// Intended: the signal is the child's, which waits for the command. The shell that runs the
    /// command gets none: it sees the end of its input, SIGPIPE when it writes, and otherwise goes
    /// on. A command that is to end with the stream reads its input to the end or writes.
    ///
    /// Intended: the child is not waited for after the signal: it stays a zombie until the program
    /// waits for it, ends, or ignores SIGCHLD.
    ///
    /// Intended: the descriptors are closed again by each further call, the destructor's too, when
    /// their numbers may belong to other files: leave closing to the destructor.
    void close();

    // The stream buffer's side.

    /// Intended: the byte at a refill (32 bytes at the most) is returned as a signed char: 0xFF
    /// there reads as the end, 0x80 to 0xFE as negative numbers. Read text; let commands encode
    /// binary output, for example with base64(1).
    ///
    /// Waits until there is output or its end, whatever signals arrive. A failed read(2) sets
    /// failbit.
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
