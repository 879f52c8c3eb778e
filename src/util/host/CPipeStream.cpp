#include "CPipeStream.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "base/CancelGuard.h"

namespace {

constexpr int kEof = std::char_traits<char>::eof();

// The copy is not close-on-exec, so that the command inherits it; a descriptor that has the wanted
// number already only loses the flag.
void BecomeStandard(int descriptor, int standard)
{
    if (descriptor == standard) {
        (void)::fcntl(descriptor, F_SETFD, 0);
        return;
    }
    (void)::close(standard);  // stays closed when no descriptor takes its place
    (void)::dup2(descriptor, standard);
}

void CloseUnlessStandard(int descriptor)
{
    if (descriptor > STDOUT_FILENO)
        (void)::close(descriptor);
}

}  // namespace

CPipeStream::CPipeStream(const char* command)
    : std::iostream(this),
      buffer_(new char[kBufferSize]),
      child_(-1),
      input_{-1, -1},
      output_{-1, -1}
{
    setg(buffer_, buffer_ + kBufferSize, buffer_ + kBufferSize);
    setstate(std::ios::badbit);
    open(command);
}

CPipeStream::~CPipeStream()
{
    delete[] buffer_;
    setg(nullptr, nullptr, nullptr);
    exceptions(std::ios::goodbit);  // closing makes the stream bad, which must not throw here
    close();
}

void CPipeStream::open(const char* command)
{
    if (command == nullptr)
        return;
    const qor::CancelGuard guard;  // cancelled, it would leave the pipes open
    init();

    child_ = ::fork();
    if (child_ < 0) {
        std::perror("fork");
        std::exit(1);  // Intended: see the header.
    }
    if (child_ == 0) {
        BecomeStandard(input_[0], STDIN_FILENO);
        BecomeStandard(output_[1], STDOUT_FILENO);
        for (const int descriptor : {input_[0], input_[1], output_[0], output_[1]})
            CloseUnlessStandard(descriptor);
        const int status = std::system(command);
        (void)status;  // its output is its result
        return;        // Intended: into the caller's code; see the header.
    }

    (void)::close(input_[0]);
    (void)::close(output_[1]);
    clear();
}

void CPipeStream::init()
{
    if (::pipe2(input_, O_CLOEXEC) != 0 || ::pipe2(output_, O_CLOEXEC) != 0)
        std::perror("pipe");
}

void CPipeStream::close()
{
    const qor::CancelGuard guard;
    (void)::close(input_[1]);
    (void)::close(output_[0]);
    // Only for a child of its own: waitpid(2) and kill(2) take 0 and -1 for groups of processes.
    if (child_ > 0 && ::waitpid(child_, nullptr, WNOHANG | WUNTRACED) == 0)
        (void)::kill(child_, SIGTERM);
    clear(std::ios::badbit);
}

int CPipeStream::underflow()
{
    if (gptr() == nullptr)
        return kEof;
    if (gptr() < egptr())
        return static_cast<signed char>(*gptr());  // Intended: signed; see the header.

    ssize_t count;
    do {
        count = ::read(output_[0], buffer_, kBufferSize);
    } while (count < 0 && errno == EINTR);
    if (count == 0)
        return kEof;
    if (count < 0) {
        clear(rdstate() | std::ios::failbit);
        return -1;
    }
    setg(buffer_, buffer_, buffer_ + count);
    return static_cast<signed char>(*gptr());
}

int CPipeStream::uflow()
{
    const int byte = underflow();
    if (byte != kEof)
        gbump(1);
    return byte;
}
