// The profile-string functions: INI files with Windows names.
#include <cstring>
#include <cwchar>
#include <string>

#include "base/Numbers.h"
#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "winapi.h"

namespace {

constexpr unsigned long kNullProfileArgument = static_cast<unsigned long>(-1);
// Values have at most 255 bytes; a longer default is cut to them.
constexpr std::size_t kWideTextSize = 256;

}  // namespace

unsigned long GetPrivateProfileStringA(const char* section, const char* key,
                                       const char* defaultValue, char* buffer, unsigned long size,
                                       const char* file)
{
    if (section == nullptr || key == nullptr || defaultValue == nullptr || buffer == nullptr ||
        file == nullptr)
        return kNullProfileArgument;

    std::string value;
    const bool found = CIniFileReader(file).find_section(section, key, value);
    // As strncpy(3), intended: cut and unterminated when too long; see the header. The default may
    // overlap the buffer.
    const char* const text = found ? value.c_str() : defaultValue;
    const std::size_t length = ::strnlen(text, size);
    std::memmove(buffer, text, length);
    std::memset(buffer + length, '\0', size - length);
    return 0;
}

int GetPrivateProfileIntA(const char* section, const char* key, int defaultValue, const char* file)
{
    if (section == nullptr || key == nullptr || file == nullptr)
        return defaultValue;

    std::string value;
    CIniFileReader reader(file);
    (void)reader.find_section(section, key, value);
    return value.empty() ? defaultValue : qor::ToInt(value);
}

unsigned long GetPrivateProfileStringW(const char* section, const char* key,
                                       const char* defaultValue, char* buffer, unsigned long size,
                                       const char* file)
{
    (void)size;  // Intended: see the header.
    if (section == nullptr || key == nullptr || defaultValue == nullptr || buffer == nullptr ||
        file == nullptr)
        return kNullProfileArgument;

    char narrow[kWideTextSize] = "";
    const unsigned long result =
        GetPrivateProfileStringA(section, key, defaultValue, narrow, sizeof narrow - 1, file);
    if (result != 0)
        return result;  // GCOVR_EXCL_LINE: it refuses null alone, and none is left

    // Converted here first, since the caller's buffer need not be aligned for wide characters.
    wchar_t wide[kWideTextSize] = L"";
    (void)std::mbstowcs(wide, narrow, kWideTextSize);  // what is no valid text ends the conversion
    std::memcpy(buffer, wide, (std::wcslen(wide) + 1) * sizeof(wchar_t));
    return result;
}

int GetPrivateProfileIntW(const char* section, const char* key, int defaultValue, const char* file)
{
    return GetPrivateProfileIntA(section, key, defaultValue, file);
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
    return WritePrivateProfileStringA(section, key, value, file);
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
