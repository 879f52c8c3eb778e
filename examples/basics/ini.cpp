// Writes settings to an INI file, reads them back, and lists the file's sections.
//   ini FILE
#include <iostream>
#include <list>
#include <string>

#include "CIniFileReader.h"
#include "CIniFileWriter.h"

namespace {

// A writer works on the text that it read when it was made: one change each.
bool Set(const std::string& path, const char* section, const char* key, const char* value)
{
    return CIniFileWriter(path).append(section, key, value);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: ini FILE\n";
        return 2;
    }
    const std::string path = argv[1];
    if (!Set(path, "server", "address", "127.0.0.1") || !Set(path, "server", "port", "8080") ||
        !Set(path, "update", "channel", "stable") || !Set(path, "server", "port", "8443")) {
        std::cerr << "cannot write " << path << "\n";
        return 1;
    }

    CIniFileReader reader(path);  // opens the file at each query
    std::string port;
    if (reader.find_section("server", "port", port))
        std::cout << "port: " << port << "\n";

    std::string timeout;
    if (!reader.find_section("server", "timeout", timeout))
        std::cout << "timeout: not set\n";

    std::list<std::string> sections;
    reader.list_section(sections);
    for (const std::string& section : sections)
        std::cout << "section: " << section << "\n";
    return 0;
}
