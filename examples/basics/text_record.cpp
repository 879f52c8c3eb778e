// Writes a text record and reads it back: the form in which programs pass parameters on.
#include <iostream>
#include <string>
#include <vector>

#include "IWbemClassObject.h"

int main()
{
    // Names are searched in the whole text, values included: a character of their own in front and
    // the ";" behind keep them apart.
    std::string record;
    IWbemClassObject::SetString(record, "@Method", "Install");
    IWbemClassObject::SetInt(record, "@Retries", 3);
    IWbemClassObject::SetBool(record, "@Reboot", true);
    // A ";" in the last element would end it when it is read back.
    IWbemClassObject::SetStringArray(record, "@Packages", {"qord;debug", "qorum"});
    std::cout << record << "\n";

    std::string method;
    int retries = 0;
    bool reboot = false;
    std::vector<std::string> packages;
    IWbemClassObject::GetString(record, "@Method;", method);
    IWbemClassObject::GetInt(record, "@Retries;", retries);
    IWbemClassObject::GetBool(record, "@Reboot;", reboot);
    IWbemClassObject::GetStringArray(record, "@Packages;", packages);

    std::cout << method << ", " << retries << " retries, " << (reboot ? "" : "no ") << "reboot\n";
    for (const std::string& package : packages)
        std::cout << "package " << package << "\n";
}
