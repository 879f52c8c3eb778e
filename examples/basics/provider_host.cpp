// Finds the provider of a class in a definition file, loads its library and has it run a method.
//   provider_host DEFINITIONS DIRECTORY    DIRECTORY: where the libraries are
#include <iostream>
#include <memory>
#include <string>

#include "CIWbemUtil.h"
#include "CLibraryLoader.h"
#include "CMofReader.h"
#include "CStringUtil.h"
#include "greeter.h"

namespace {

bool FindLibrary(const char* definitions, const char* className, std::string& file)
{
    CMofReader registry(definitions);
    try {
        registry.ParseContents();
    } catch (CTraceException* e) {  // thrown by pointer: ours to delete
        std::cerr << definitions << ": " << e->CException::what() << "\n";
        delete e;
        return false;
    }
    CMofContents provider;
    if (!registry.GetProviderInfo(className, provider)) {
        std::cerr << definitions << ": no provider of the class " << className << "\n";
        return false;
    }
    CStringUtil::DllNameToSoName(provider.libName, file);  // "Greeter.dll": libqorp_Greeter.so
    return true;
}

int Greet(ISomServices& service)
{
    IWbemClassObject parameters, result;
    CIWbemUtil::setStringToIWbemClassObject(&parameters, "Name", "world");
    service.ExecMethod("Greet", &parameters, &result);

    unsigned long status = 1;
    std::string greeting;
    CIWbemUtil::getReturnValueFromIWbemClassObject(&result, &status);
    if (status == 0 &&
        CIWbemUtil::getStringFromIWbemClassObject(&result, "Greeting", &greeting) == 0)
        std::cout << greeting << "\n";
    parameters.Release();
    result.Release();
    return status == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: provider_host DEFINITIONS DIRECTORY\n";
        return 2;
    }
    std::string file;
    if (!FindLibrary(argv[1], "Greeter", file))
        return 1;
    CLibraryLoader library("som", (std::string(argv[2]) + "/" + file).c_str());
    ISomServices* (*const create)() = library.GetPvdInstance();
    if (create == nullptr) {
        std::cerr << "cannot load " << file << ": see the debug log of som\n";
        return 1;
    }
    const std::unique_ptr<ISomServices> service(create());  // goes before the library
    return Greet(*service);
}
