// A provider library: it exports a factory and nothing else.
#include "CIWbemUtil.h"
#include "greeter.h"

namespace {

class Greeter : public ISomServices
{
public:
    void ExecMethod(const std::string& method, IWbemClassObject* parameters,
                    IWbemClassObject* result) override
    {
        std::string name;
        const bool known = method == "Greet" && CIWbemUtil::getStringFromIWbemClassObject(
                                                    parameters, "Name", &name) == 0;
        CIWbemUtil::setReturnValueToIWbemClassObject(result, known ? 0 : 0x80041002UL);
        if (!known) {
            CIWbemUtil::setStringToIWbemClassObject(result, "Message", "no such method: " + method);
            return;
        }
        CIWbemUtil::setStringToIWbemClassObject(result, "Greeting", "Hello, " + name + "!");
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ISomServices* create()
{
    return new Greeter;
}
