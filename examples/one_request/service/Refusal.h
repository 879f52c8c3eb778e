// Refusal.h - thrown for a request that the service does not try to carry out.
#ifndef ONE_REQUEST_SERVICE_REFUSAL_H
#define ONE_REQUEST_SERVICE_REFUSAL_H

#include <stdexcept>

namespace one_request {

struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace one_request

#endif  // ONE_REQUEST_SERVICE_REFUSAL_H
