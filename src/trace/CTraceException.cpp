#include "CTraceException.h"

#include <execinfo.h>

#include <ios>
#include <ostream>
#include <sstream>

#include "base/CancelGuard.h"

// Declared as in the header iostream, which makes some compilers initialise the standard streams at
// each program start: a twentieth of the start of a small program.
namespace std {  // NOLINT(cert-dcl58-cpp)
extern ostream cerr;
}

namespace {

void WriteReport(std::ostream& out, const CException& exception, void* const* frames, int count,
                 const char* const* symbols)
{
    const std::ios::fmtflags flags = out.flags();
    // Intended: the virtual what(); see the header.
    out << std::dec << "Exception: " << exception.what() << " @ " << exception.getFileName()
        << "::" << exception.getFunctionName() << "(" << exception.getLineNumber() << ")"
        << std::endl;
    for (int i = 0; i < count; ++i) {
        const char* const symbol = symbols == nullptr ? "" : symbols[i];
        out << std::hex << std::showbase << frames[i] << " | " << symbol << std::endl;
    }
    out.flags(flags);
}

}  // namespace

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
    const qor::CancelGuard guard;  // the first call loads a library
    frameCount_ = ::backtrace(frames_, kMaxFrames);
    symbols_ = ::backtrace_symbols(frames_, frameCount_);
}

void CTraceException::printStackTrace() const
{
    const qor::CancelGuard guard;
    static const std::ios_base::Init streams;  // ready from here on, in any program
    WriteReport(std::cerr, *this, frames_, frameCount_, symbols_);
}

const char* CTraceException::what() const noexcept
{
    std::ostringstream report;
    WriteReport(report, *this, frames_, frameCount_, symbols_);
    const std::string text = report.str();
    const char* const characters = text.c_str();
    // cppcheck-suppress returnDanglingLifetime
    return characters;  // Intended: not valid after the call; see the header.
}
