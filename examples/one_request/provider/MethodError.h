// MethodError.h - how a provider's method says that it cannot do what was asked.
#ifndef ONE_REQUEST_PROVIDER_METHODERROR_H
#define ONE_REQUEST_PROVIDER_METHODERROR_H

#include <stdexcept>
#include <string>

namespace one_request {

// The published management status codes that the providers of this example return.
constexpr unsigned long kStatusSuccess = 0;
constexpr unsigned long kStatusFailed = 0x80041001;
constexpr unsigned long kStatusNotFound = 0x80041002;
constexpr unsigned long kStatusInvalidParameter = 0x80041008;
constexpr unsigned long kStatusInvalidMethod = 0x8004102E;

class MethodError : public std::runtime_error
{
public:
    MethodError(unsigned long status, const std::string& message)
        : std::runtime_error(message), status_(status)
    {
    }

    /// The "ReturnValue" of the answer.
    unsigned long Status() const { return status_; }

private:
    unsigned long status_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_METHODERROR_H
