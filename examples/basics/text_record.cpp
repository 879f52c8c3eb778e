// Writes a text record and reads it back: the form in which programs pass parameters on.
#include <iostream>
#include <string>
#include <vector>

#include "IWbemClassObject.h"

namespace {

// Names are searched in the whole text, values included. "=" marks them here, and is found nowhere
// else: in values "=XX" (hexadecimal) stands for it, and for what records themselves give a
// meaning. Names begin with a letter, so no value holds a "=Name;".
std::string Escaped(const std::string& value)
{
    constexpr char kSpecial[] = "=;%!";
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : value) {
        if (std::string(kSpecial).find(c) != std::string::npos)
            text.append({'=', kHex[c / 16], kHex[c % 16]});
        else
            text += c;
    }
    return text;
}

std::string Unescaped(std::string text)
{
    for (std::size_t at = 0; (at = text.find('=', at)) != std::string::npos; ++at)
        text.replace(at, 3, 1, static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16)));
    return text;
}

}  // namespace

int main()
{
    std::string record;
    IWbemClassObject::SetString(record, "=Note", Escaped("see;Method or =Method;, 100%!@"));
    IWbemClassObject::SetString(record, "=Method", Escaped("Install"));
    IWbemClassObject::SetInt(record, "=Retries", 3);
    IWbemClassObject::SetBool(record, "=Reboot", true);
    IWbemClassObject::SetStringArray(record, "=Packages",
                                     {Escaped("qorum"), Escaped("qord;debug")});
    std::cout << record << "\n";

    std::string note, method;
    int retries = 0;
    bool reboot = false;
    std::vector<std::string> packages;
    IWbemClassObject::GetString(record, "=Note;", note);
    IWbemClassObject::GetString(record, "=Method;", method);
    IWbemClassObject::GetInt(record, "=Retries;", retries);
    IWbemClassObject::GetBool(record, "=Reboot;", reboot);
    IWbemClassObject::GetStringArray(record, "=Packages;", packages);

    std::cout << Unescaped(note) << "\n"
              << Unescaped(method) << ", " << retries << " retries, " << (reboot ? "" : "no ")
              << "reboot\n";
    for (const std::string& package : packages)
        std::cout << "package " << Unescaped(package) << "\n";
}
