#include "CStringUtil.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "util/plain/IgnoreCase.h"

namespace {

using qor::ToLower;

constexpr char ToUpper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

int CStringUtil::AsciiToBSTR(std::string, char**)
{
    return 1;  // Intended: see the header.
}

int CStringUtil::BSTRToAscii(char*, std::string*)
{
    return 1;  // Intended: see the header.
}

std::string CStringUtil::TstringToString(std::string text)
{
    return text;
}

std::string CStringUtil::StringToTstring(std::string text)
{
    return text;
}

std::string CStringUtil::BoolToTstring(bool value)
{
    return value ? "true" : "false";
}

void CStringUtil::strReplace(std::string& text, const std::string& from, const std::string& to)
{
    if (from.empty())
        return;
    std::size_t match = text.find(from);
    if (match == std::string::npos)
        return;

    std::string replaced;
    std::size_t done = 0;
    for (; match != std::string::npos; match = text.find(from, done)) {
        replaced.append(text, done, match - done).append(to);
        done = match + from.size();
    }
    replaced.append(text, done, std::string::npos);
    text.swap(replaced);
}

void CStringUtil::strTrim(std::string in, std::string& out)
{
    in.resize(in.find_last_not_of(' ') + 1);  // npos + 1 is 0
    out = std::move(in);
}

std::string CStringUtil::TstringListToTstring(std::list<std::string> items)
{
    std::string joined;
    for (const std::string& item : items) {
        if (!joined.empty())
            joined += ", ";
        joined += item;
    }
    return joined;
}

std::list<std::string> CStringUtil::Split(std::string& text, const std::string& delimiters)
{
    std::list<std::string> pieces;
    std::size_t begin = text.find_first_not_of(delimiters);
    while (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(delimiters, begin);
        pieces.emplace_back(text, begin, end - begin);  // npos - begin: up to the end
        begin = text.find_first_not_of(delimiters, end);
    }
    return pieces;
}

std::list<std::string> CStringUtil::SplitByDot(std::string& text)
{
    return Split(text, ".");
}

std::string CStringUtil::StringToLowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), ToLower);
    return text;
}

std::string CStringUtil::StringToUpperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), ToUpper);
    return text;
}

std::string CStringUtil::StringToCapitalize(std::string text)
{
    text = StringToLowerCase(std::move(text));
    if (!text.empty())
        text.front() = ToUpper(text.front());
    return text;
}

void CStringUtil::DllNameToSoName(std::string dllName, std::string& soName)
{
    soName = "libqorp_" + dllName.substr(0, dllName.find('.')) + ".so";
}

int CStringUtil::CompareIgnoreCase(std::string a, std::string b)
{
    // The length of a text, and so the difference, may need more bits.
    return static_cast<int>(qor::CompareIgnoreCase(a, b));
}

bool CStringUtil::TstringCmpIgnore(std::string a, std::string b)
{
    return qor::EqualIgnoreCase(a, b);
}

bool CStringUtil::StringCmpIgnore(std::string a, std::string b)
{
    return TstringCmpIgnore(StringToTstring(std::move(a)), StringToTstring(std::move(b)));
}

std::string CStringUtil::NumberToTString(std::int64_t value)
{
    return std::to_string(value);
}

std::int64_t CStringUtil::TStringToNumber(std::string text)
{
    // strtoll(3) skips the same white space, takes the same sign, gives 0 without digits and the
    // nearest number out of range.
    const int saved = errno;
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    errno = saved;
    return value;
}
