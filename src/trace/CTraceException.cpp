#include "CTraceException.h"

#include <execinfo.h>

#include <iostream>
#include <sstream>

CTraceException::CTraceException(const std::string& message) : CException(message)
{
    init();
}

// Intended: see the header.
CTraceException::CTraceException(const std::string& message, const char*, const char*, int)
    : CException(message)
{
    init();
}

CTraceException::~CTraceException() noexcept = default;

// Never inlined: the first frame is this function's own.
__attribute__((noinline)) void CTraceException::init()
{
    frameCount_ = ::backtrace(frames_, kMaxFrames);
    symbols_ = ::backtrace_symbols(frames_, frameCount_);
}

void CTraceException::printStackTrace() const
{
    WriteReport(std::cerr);
}

const char* CTraceException::what() const noexcept
{
    std::ostringstream report;
    WriteReport(report);
    const std::string text = report.str();
    const char* const characters = text.c_str();
    // cppcheck-suppress returnDanglingLifetime
    return characters;  // Intended: not valid after the call; see the header.
}

void CTraceException::WriteReport(std::ostream& out) const
{
    const std::ios::fmtflags flags = out.flags();
    // Intended: the virtual what(); see the header.
    out << std::dec << "Exception: " << what() << " @ " << getFileName()
        << "::" << getFunctionName() << "(" << getLineNumber() << ")" << std::endl;
    for (int i = 0; i < frameCount_; ++i) {
        const char* const symbol = symbols_ == nullptr ? "" : symbols_[i];
        out << std::hex << std::showbase << frames_[i] << " | " << symbol << std::endl;
    }
    out.flags(flags);
}
