// Prints a stack report. The program makes no standard stream ready: it includes no iostream.
#include "CTraceException.h"

namespace {

struct Report : CTraceException {
    using CTraceException::CTraceException;
    const char* what() const noexcept override { return CException::what(); }
};

}  // namespace

int main()
{
    Report("no such device").printStackTrace();
    return 0;
}
