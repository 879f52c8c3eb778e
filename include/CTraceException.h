// CTraceException.h - an exception that remembers the call stack of its construction.
//
//     try { mofReader.ParseContents(); }
//     catch (CTraceException* e) {                        // thrown by pointer: delete it
//         const std::string message = e->CException::what();
//         delete e;
//     }
//
// Intended: what() and printStackTrace() of a CTraceException take the message from the virtual
// what(), which is what() itself: they never return (the stack overflows). Ways out:
//
//     e->CException::what()                               // the message alone
//
//     struct Report : CTraceException {                   // the message and the stack
//         explicit Report(const CTraceException& e) : CTraceException(e) {}
//         const char* what() const noexcept override { return CException::what(); }
//     };
//     Report(*e).printStackTrace();                       // to the standard error stream
//
// Threads: one object, one thread at a time.
#ifndef QOR_CTRACEEXCEPTION_H
#define QOR_CTRACEEXCEPTION_H

#include <string>

#include "CException.h"
#include "QorExport.h"

class QOR_API CTraceException : public CException
{
public:
    /// Captures the stack, at most 256 frames (backtrace(3)).
    CTraceException(const std::string& message);

    /// Intended: file, function and line are dropped; getFileName() and getFunctionName() give
    /// "unknown". Put the place into the message, or throw a CException.
    CTraceException(const std::string& message, const char* file, const char* function, int line);

    /// Copies share the symbol texts.
    CTraceException(const CTraceException&) = default;
    CTraceException& operator=(const CTraceException&) = default;

    /// Intended: the symbol texts are not freed; each construction keeps what
    /// backtrace_symbols(3) allocated. Throw it for failures, not in loops.
    ~CTraceException() noexcept override;

    /// Captures the stack again; the constructors call it. The earlier symbol texts are not freed.
    void init();

    /// Writes the stack report to the standard error stream:
    ///
    ///     Exception: MESSAGE @ FILE::FUNCTION(LINE)
    ///     0xADDRESS | SYMBOL                              (a line per frame, the innermost first)
    ///
    /// Intended: never returns on a CTraceException itself; see above.
    void printStackTrace() const;

    /// Composes the stack report.
    ///
    /// Intended: never returns on a CTraceException itself. Called for a derived class that
    /// overrides it, it returns a pointer that is already invalid. Use CException::what() and
    /// printStackTrace() as above.
    const char* what() const noexcept override;

private:
    enum { kMaxFrames = 256 };

    void* frames_[kMaxFrames];
    int frameCount_;
    char** symbols_;  // malloc'ed by backtrace_symbols, never freed
};

#endif  // QOR_CTRACEEXCEPTION_H
