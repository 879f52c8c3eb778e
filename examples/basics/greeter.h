// greeter.h - what the program and its provider library agree on. The library only passes the
// pointer on: the class is the program's own.
#ifndef BASICS_GREETER_H
#define BASICS_GREETER_H

#include <string>

#include "IWbemClassObject.h"

class ISomServices
{
public:
    ISomServices() = default;
    ISomServices(const ISomServices&) = delete;
    ISomServices& operator=(const ISomServices&) = delete;
    virtual ~ISomServices() = default;

    /// Appends "ReturnValue", and what the method found, to `result`.
    virtual void ExecMethod(const std::string& method, IWbemClassObject* parameters,
                            IWbemClassObject* result) = 0;
};

#endif  // BASICS_GREETER_H
