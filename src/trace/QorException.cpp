#include "QorException.h"

#include <cstdarg>

#include "base/Format.h"

namespace {

constexpr std::size_t kBufferSize = 1024;

}  // namespace

QorException::QorException(const char* format, ...) : buffer_(kBufferSize, '\0')
{
    if (format == nullptr)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    (void)qor::FormatInto(buffer_.data(), buffer_.size(), format, arguments);
    va_end(arguments);
}

QorException::~QorException() noexcept = default;

const char* QorException::what() const noexcept
{
    return buffer_.data();
}

void QorException::set_transrator() {}
