#include "CException.h"

namespace {

constexpr char kUnknown[] = "unknown";

}  // namespace

CException::CException(const std::string& message) : CException(message, nullptr, nullptr, 0) {}

CException::CException(const std::string& message, const char* file, const char* function, int line)
    : message_(message), fileName_(file), functionName_(function), lineNumber_(line)
{
}

CException::~CException() noexcept = default;

const char* CException::what() const noexcept
{
    return message_.c_str();
}

const char* CException::getFileName() const
{
    return fileName_ == nullptr ? kUnknown : fileName_;
}

const char* CException::getFunctionName() const
{
    return functionName_ == nullptr ? kUnknown : functionName_;
}

int CException::getLineNumber() const
{
    return lineNumber_;
}
