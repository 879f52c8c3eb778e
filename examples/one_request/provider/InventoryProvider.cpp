// InventoryProvider.cpp - libqorp_Inventory.so: the class "Inventory", and its entry point.
#include <map>
#include <string>

#include "CIWbemUtil.h"
#include "CTraceUtility.h"
#include "ISomServices.h"
#include "provider/Component.h"
#include "provider/DevicesMethod.h"
#include "provider/HostMethod.h"
#include "provider/MethodError.h"
#include "provider/SystemMethod.h"
#include "provider/VendorsMethod.h"
#include "provider/VersionsMethod.h"

namespace {

using one_request::kComponent;
using one_request::kStatusFailed;
using one_request::kStatusInvalidMethod;
using one_request::MethodError;

// A method throws before it appends anything to the result, or not at all.
using Method = void (*)(IWbemClassObject* parameters, IWbemClassObject* result);

const std::map<std::string, Method>& Methods()
{
    static const std::map<std::string, Method> methods = {
        {"Devices", one_request::RunDevicesMethod},   {"Host", one_request::RunHostMethod},
        {"System", one_request::RunSystemMethod},     {"Vendors", one_request::RunVendorsMethod},
        {"Versions", one_request::RunVersionsMethod},
    };
    return methods;
}

class InventoryProvider : public ISomServices
{
public:
    InventoryProvider() { CTraceUtility::Initialize(kComponent, CTraceUtility::WRITE_MODE_BOTH); }
    ~InventoryProvider() override { CTraceUtility::Terminate(kComponent); }

    void ExecMethod(const std::string& method, IWbemClassObject* parameters,
                    IWbemClassObject* result) override
    {
        try {
            Run(method, parameters, result);
            CTraceUtility::WriteTrace(kComponent, "INVENTORY_DONE", method.c_str());
        } catch (const MethodError& error) {
            Fail(method, error.Status(), error.what(), result);
        } catch (const std::exception& error) {
            Fail(method, kStatusFailed, error.what(), result);
        }
    }

private:
    static void Run(const std::string& method, IWbemClassObject* parameters,
                    IWbemClassObject* result)
    {
        const auto entry = Methods().find(method);
        if (entry == Methods().end())
            throw MethodError(kStatusInvalidMethod, "there is no such method");
        entry->second(parameters, result);
    }

    static void Fail(const std::string& method, unsigned long status, const char* message,
                     IWbemClassObject* result)
    {
        CTraceUtility::WriteTrace(kComponent, "INVENTORY_FAILED", method.c_str(), status, message);
        (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, status);
        (void)CIWbemUtil::setStringToIWbemClassObject(result, "Message", message);
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ISomServices* create();

ISomServices* create()
{
    return new InventoryProvider;
}
