// Parameters.h - what the caller of a method passed along.
#ifndef ONE_REQUEST_PROVIDER_PARAMETERS_H
#define ONE_REQUEST_PROVIDER_PARAMETERS_H

#include <string>

#include "CIWbemUtil.h"

namespace one_request {

/// "" when the parameter is not there, or no string.
inline std::string StringParameter(IWbemClassObject* parameters, const char* name)
{
    std::string value;
    (void)CIWbemUtil::getStringFromIWbemClassObject(parameters, name, &value);
    return value;
}

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_PARAMETERS_H
