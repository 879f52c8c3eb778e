// ISomServices.h - what a provider library offers to the object-manager service.
//
// A provider exports a factory under the name that CLibraryLoader looks for:
//
//     extern "C" __attribute__((visibility("default"))) ISomServices* create()
//     {
//         return new InventoryProvider;
//     }
//
// The service deletes the object before it closes the library. One thread at a time calls it.
#ifndef ONE_REQUEST_ISOMSERVICES_H
#define ONE_REQUEST_ISOMSERVICES_H

#include <string>

class IWbemClassObject;

class ISomServices
{
public:
    ISomServices() = default;
    ISomServices(const ISomServices&) = delete;
    ISomServices& operator=(const ISomServices&) = delete;
    virtual ~ISomServices() = default;

    /// Runs a method and appends what it found to `result`, which comes empty. Both objects belong
    /// to the caller.
    ///
    /// "ReturnValue" shows how it went (setReturnValueToIWbemClassObject): 0, or a management
    /// status code with the reason as string "Message". It comes before every nested object, since
    /// getReturnValueFromIWbemClassObject ends its search at the first of those. Property names are
    /// identifiers, each used once in its object; values are of the types that
    /// shared/ObjectText.h lists. May throw: the caller of the method then gets the message.
    virtual void ExecMethod(const std::string& method, IWbemClassObject* parameters,
                            IWbemClassObject* result) = 0;
};

#endif  // ONE_REQUEST_ISOMSERVICES_H
