// InventoryProvider.cpp - libqorp_Inventory.so: the class "Inventory", and its entry point.
#include <map>
#include <string>

#include "CTraceUtility.h"
#include "ISomServices.h"
#include "provider/Method.h"
#include "provider/Methods.h"

namespace {

using namespace one_request;

using Method = void (*)(IWbemClassObject* parameters, IWbemClassObject* result);

const std::map<std::string, Method> kMethods = {{"Devices", RunDevices},
                                                {"Host", RunHost},
                                                {"System", RunSystem},
                                                {"Vendors", RunVendors},
                                                {"Versions", RunVersions}};

class InventoryProvider : public ISomServices
{
public:
    InventoryProvider() { CTraceUtility::Initialize(kComponent, CTraceUtility::WRITE_MODE_BOTH); }
    ~InventoryProvider() override { CTraceUtility::Terminate(kComponent); }

    void ExecMethod(const std::string& method, IWbemClassObject* parameters,
                    IWbemClassObject* result) override
    {
        try {
            const auto entry = kMethods.find(method);
            if (entry == kMethods.end())
                throw MethodError(kStatusInvalidMethod, "there is no such method");
            entry->second(parameters, result);
            CTraceUtility::WriteTrace(kComponent, "INVENTORY_DONE", method.c_str());
        } catch (const MethodError& error) {
            Fail(method, error.Status(), error.what(), result);
        } catch (const std::exception& error) {
            Fail(method, kStatusFailed, error.what(), result);
        }
    }

private:
    static void Fail(const std::string& method, unsigned long status, const char* message,
                     IWbemClassObject* result)
    {
        CTraceUtility::WriteTrace(kComponent, "INVENTORY_FAILED", method.c_str(), status, message);
        (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, status);
        Set(*result, "Message", message);
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ISomServices* create();

ISomServices* create()
{
    return new InventoryProvider;
}
