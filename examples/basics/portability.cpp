// Code that was written with Windows names, unchanged.
//   portability FILE    FILE: is made, and deleted at the end
#include <cstdlib>
#include <iostream>

#include "winapi.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: portability FILE\n";
        return 2;
    }
    const char* const file = argv[1];
    WritePrivateProfileStringA("Window", "Title", "Update manager", file);
    WritePrivateProfileStringA("Window", "Width", "640", file);

    char title[32];
    GetPrivateProfileStringA("Window", "Title", "", title, sizeof title, file);
    std::cout << title << ", " << GetPrivateProfileIntA("Window", "Width", 0, file) << " wide\n";
    std::cout << "height " << GetPrivateProfileIntA("Window", "Height", 480, file) << "\n";

    char text[16];
    _snprintf_s(text, sizeof text, sizeof text, "%d%%", 75);
    std::cout << text << "\n";

    char path[32];
    strcpy_s(path, sizeof path, "  /var/tmp/spool ");
    char* const trimmed = Trim(path);  // a copy
    std::cout << "[" << trimmed << "]\n";
    std::free(trimmed);

    unsigned short port = 8080;
    swap_endian16(port);
    std::cout << "port " << port << " the other way round\n";

    std::cout << "deleted: " << DeleteFileA(file) << "\n";
    std::cout << "deleted again: " << DeleteFileA(file) << "\n";
}
