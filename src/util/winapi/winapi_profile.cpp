// The profile-string functions: INI files behind the Windows names.
#include <cstring>
#include <cwchar>
#include <string>

#include "base/Numbers.h"
#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "winapi.h"

namespace {

constexpr unsigned long kNullArgument = static_cast<unsigned long>(-1);
constexpr std::size_t kTextSize = 256;  // of the texts that the W functions copy, NUL included

// A text argument of a W function, cut to what its copy holds.
std::string NarrowCopy(const char* text)
{
    return std::string(text, ::strnlen(text, kTextSize - 1));
}

}  // namespace

unsigned long GetPrivateProfileStringA(const char* section, const char* key,
                                       const char* defaultValue, char* buffer, unsigned long size,
                                       const char* file)
{
    if (section == nullptr || key == nullptr || defaultValue == nullptr || buffer == nullptr ||
        file == nullptr)
        return kNullArgument;

    std::string value;
    const bool found = CIniFileReader(file).find_section(section, key, value);
    // Intended: cut and unterminated when too long; see the header.
    std::strncpy(buffer, found ? value.c_str() : defaultValue, size);
    return 0;
}

int GetPrivateProfileIntA(const char* section, const char* key, int defaultValue, const char* file)
{
    if (section == nullptr || key == nullptr || file == nullptr)
        return defaultValue;

    std::string value;
    if (!CIniFileReader(file).find_section(section, key, value) || value.empty())
        return defaultValue;
    return qor::ToInt(value);
}

unsigned long GetPrivateProfileStringW(const char* section, const char* key,
                                       const char* defaultValue, char* buffer, unsigned long size,
                                       const char* file)
{
    (void)size;  // Intended: see the header.
    if (section == nullptr || key == nullptr || defaultValue == nullptr || buffer == nullptr ||
        file == nullptr)
        return kNullArgument;

    char narrow[kTextSize] = "";
    const unsigned long result = GetPrivateProfileStringA(
        NarrowCopy(section).c_str(), NarrowCopy(key).c_str(), NarrowCopy(defaultValue).c_str(),
        narrow, sizeof narrow - 1, NarrowCopy(file).c_str());
    if (result != 0)
        return result;

    // Converted aside, since the caller's bytes need not be aligned for wide characters.
    wchar_t wide[kTextSize] = L"";
    (void)std::mbstowcs(wide, narrow, kTextSize);  // what is no valid text ends the conversion
    std::memcpy(buffer, wide, (std::wcslen(wide) + 1) * sizeof(wchar_t));
    return result;
}

int GetPrivateProfileIntW(const char* section, const char* key, int defaultValue, const char* file)
{
    if (section == nullptr || key == nullptr || file == nullptr)
        return defaultValue;
    return GetPrivateProfileIntA(NarrowCopy(section).c_str(), NarrowCopy(key).c_str(), defaultValue,
                                 NarrowCopy(file).c_str());
}

bool WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                const char* file)
{
    if (section == nullptr || key == nullptr || value == nullptr || file == nullptr)
        return false;
    return CIniFileWriter(file).append(section, key, value);
}

bool WritePrivateProfileStringW(const char* section, const char* key, const char* value,
                                const char* file)
{
    if (section == nullptr || key == nullptr || value == nullptr || file == nullptr)
        return false;
    return WritePrivateProfileStringA(NarrowCopy(section).c_str(), NarrowCopy(key).c_str(),
                                      NarrowCopy(value).c_str(), NarrowCopy(file).c_str());
}

char* Trim(char* text)
{
    if (text == nullptr)
        return nullptr;

    const char* const begin = text + std::strspn(text, " ");
    std::size_t length = std::strlen(begin);
    while (length > 0 && begin[length - 1] == ' ')
        --length;
    return ::strndup(begin, length);
}

int TStringToChar(std::string text, char* out)
{
    if (out != nullptr)
        std::strcpy(out, text.c_str());
    return 0;
}
