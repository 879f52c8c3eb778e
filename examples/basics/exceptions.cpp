// The exceptions that programs throw and catch, and how to get at a message safely.
#include <iostream>

#include "CTraceException.h"
#include "QorException.h"

namespace {

// With a message to show, a CTraceException prints its call stack.
struct Report : CTraceException {
    explicit Report(const CTraceException& e) : CTraceException(e) {}
    const char* what() const noexcept override { return CException::what(); }
};

}  // namespace

int main()
{
    try {
        throw QorException("%d of %d packages failed", 1, 4);
    } catch (const std::exception& e) {
        std::cout << e.what() << "\n";
    }

    try {
        throw CException("no such device", "exceptions.cpp", "main", 27);
    } catch (const CException& e) {
        std::cout << e.what() << " (" << e.getFileName() << ", line " << e.getLineNumber() << ")\n";
    }

    // By its own type, and the message by the base class: see the header.
    try {
        throw CTraceException("bad definition");
    } catch (const CTraceException& e) {
        std::cout << e.CException::what() << "\n";
        Report(e).printStackTrace();  // to the standard error stream
    }
}
