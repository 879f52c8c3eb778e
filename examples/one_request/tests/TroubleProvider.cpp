// libqorp_Trouble.so: the class "Trouble", whose methods do what no provider should, and one that
// returns a class array.
#include <chrono>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CIWbemUtil.h"
#include "CTraceException.h"
#include "ISomServices.h"

namespace {

void ThrowException(IWbemClassObject*)
{
    throw std::runtime_error("first line\nsecond line " + std::string(500, 'x'));
}

void ThrowPointer(IWbemClassObject*)
{
    throw new CTraceException("thrown by pointer");
}

void ThrowNumber(IWbemClassObject*)
{
    throw 7;
}

void ReturnNoStatus(IWbemClassObject* result)
{
    (void)CIWbemUtil::setIntToIWbemClassObject(result, "A", 1);
}

void ReturnBadValue(IWbemClassObject* result)
{
    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, 0);
    result->push("A", 1.5);
}

void ReturnTable(IWbemClassObject* result)
{
    IWbemClassObject first;
    IWbemClassObject second;
    (void)CIWbemUtil::setStringToIWbemClassObject(&first, "Name", "eth0");
    (void)CIWbemUtil::setIntToIWbemClassObject(&first, "Speed", 1000);
    (void)CIWbemUtil::setStringToIWbemClassObject(&second, "Name", "b;c");
    const std::vector<IWbemClassObject*> rows = {&first, &second};
    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, 0);
    (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(result, "Devices", &rows);
}

// Longer than the tool waits without a word.
void TakeTime(IWbemClassObject* result)
{
    std::this_thread::sleep_for(std::chrono::seconds(3));
    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, 0);
}

class TroubleProvider : public ISomServices
{
public:
    void ExecMethod(const std::string& method, IWbemClassObject*, IWbemClassObject* result) override
    {
        static const std::map<std::string, void (*)(IWbemClassObject*)> methods = {
            {"ThrowException", ThrowException},
            {"ThrowPointer", ThrowPointer},
            {"ThrowNumber", ThrowNumber},
            {"ReturnNoStatus", ReturnNoStatus},
            {"ReturnBadValue", ReturnBadValue},
            {"ReturnTable", ReturnTable},
            {"TakeTime", TakeTime},
        };
        methods.at(method)(result);
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ISomServices* create();

ISomServices* create()
{
    return new TroubleProvider;
}
