// The text records of IWbemClassObject: "type;name;value;".
#include <charconv>
#include <cstddef>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "IWbemClassObject.h"

namespace {

constexpr char kSeparator = ';';
constexpr std::string_view kEscapedSeparator = "%!@";
constexpr std::string_view kElementEnd = "!#";

void AppendEscaped(std::string& text, std::string_view value)
{
    for (;;) {
        const auto separator = value.find(kSeparator);
        text.append(value.substr(0, separator));
        if (separator == std::string_view::npos)
            return;
        text.append(kEscapedSeparator);
        value.remove_prefix(separator + 1);
    }
}

void AppendUnescaped(std::string& text, std::string_view value)
{
    for (;;) {
        const auto escape = value.find(kEscapedSeparator);
        text.append(value.substr(0, escape));
        if (escape == std::string_view::npos)
            return;
        text.push_back(kSeparator);
        value.remove_prefix(escape + kEscapedSeparator.size());
    }
}

void BeginRecord(std::string& text, std::string_view type, std::string_view name)
{
    text.append(type).append(1, kSeparator).append(name).append(1, kSeparator);
}

template <typename Number>
void AppendNumber(std::string& text, std::string_view type, std::string_view name, Number value)
{
    char digits[std::numeric_limits<Number>::digits10 + 3];  // one more digit, a sign
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    BeginRecord(text, type, name);
    text.append(digits, static_cast<std::size_t>(end - digits)).append(1, kSeparator);
}

// The value field that belongs to a name, still escaped; nothing when the name does not occur.
bool FindValue(std::string_view text, std::string_view name, std::string_view& value)
{
    const auto occurrence = text.find(name);  // Intended: anywhere; see the header.
    if (occurrence == std::string_view::npos)
        return false;

    const auto nameEnd = text.find(kSeparator, occurrence);
    value = text.substr(nameEnd + 1);  // Intended: npos + 1 is the start of the text.
    value = value.substr(0, value.find(kSeparator));
    return true;
}

constexpr bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// As a stream of the C locale extracts a number; false leaves `out` unchanged.
template <typename Number>
bool ExtractNumber(std::string_view text, Number& out)
{
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+'))
        text.remove_prefix(1);
    if (text.empty() || text.front() < '0' || text.front() > '9')
        return false;

    unsigned long long magnitude = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), magnitude).ec != std::errc())
        return false;
    using Limits = std::numeric_limits<Number>;
    const unsigned long long largest = static_cast<unsigned long long>(Limits::max()) +
                                       (std::is_signed<Number>::value && negative ? 1 : 0);
    if (magnitude > largest)
        return false;
    out = static_cast<Number>(negative ? 0 - magnitude : magnitude);
    return true;
}

template <typename Number>
void GetNumber(std::string_view text, std::string_view name, Number& out)
{
    std::string_view value;
    if (FindValue(text, name, value))
        (void)ExtractNumber(value, out);  // text without a number leaves it unchanged
}

}  // namespace

void IWbemClassObject::SetInt(std::string& text, std::string name, int value)
{
    AppendNumber(text, "int", name, value);
}

void IWbemClassObject::SetInt(std::string& text, std::string prefix, std::string name, int value)
{
    SetInt(text, prefix + name, value);
}

void IWbemClassObject::SetUInt(std::string& text, std::string name, unsigned int value)
{
    AppendNumber(text, "int", name, value);  // Intended: see the header.
}

void IWbemClassObject::SetLong(std::string& text, std::string name, long value)
{
    AppendNumber(text, "long", name, value);
}

void IWbemClassObject::SetULong(std::string& text, std::string name, unsigned long value)
{
    AppendNumber(text, "ulong", name, value);
}

void IWbemClassObject::SetBool(std::string& text, std::string name, bool value)
{
    BeginRecord(text, "bool", name);
    text.append(value ? "true;" : "false;");
}

void IWbemClassObject::SetBool(std::string& text, std::string prefix, std::string name, bool value)
{
    SetBool(text, prefix + name, value);
}

void IWbemClassObject::SetString(std::string& text, std::string name, std::string value)
{
    BeginRecord(text, "string", name);
    AppendEscaped(text, value);
    text.push_back(kSeparator);
}

void IWbemClassObject::SetString(std::string& text, std::string prefix, std::string name,
                                 std::string value)
{
    SetString(text, prefix + name, std::move(value));
}

void IWbemClassObject::SetStringArray(std::string& text, std::string name,
                                      std::vector<std::string> values)
{
    BeginRecord(text, "string[]", name);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            text.append(kElementEnd);
        AppendEscaped(text, values[i]);
    }
    text.push_back(kSeparator);
}

void IWbemClassObject::SetStringArray(std::string& text, std::string prefix, std::string name,
                                      std::vector<std::string> values)
{
    SetStringArray(text, prefix + name, std::move(values));
}

void IWbemClassObject::SetClass(std::string& text, std::string name, const IWbemClassObject&)
{
    BeginRecord(text, "class", name);
    text.push_back(kSeparator);
}

void IWbemClassObject::SetClass(std::string& text, std::string prefix, std::string name,
                                const IWbemClassObject& object)
{
    SetClass(text, prefix + name, object);
}

void IWbemClassObject::SetClassArray(std::string& text, std::string name,
                                     const std::vector<IWbemClassObject*>*)
{
    BeginRecord(text, "class[]", name);
    text.push_back(kSeparator);
}

void IWbemClassObject::SetClassArray(std::string& text, std::string prefix, std::string name,
                                     const std::vector<IWbemClassObject*>* objects)
{
    SetClassArray(text, prefix + name, objects);
}

void IWbemClassObject::GetString(std::string text, std::string name, std::string& out)
{
    std::string_view value;
    if (!FindValue(text, name, value))
        return;
    out.clear();
    AppendUnescaped(out, value);
}

void IWbemClassObject::GetInt(std::string text, std::string name, int& out)
{
    GetNumber(text, name, out);
}

void IWbemClassObject::GetLong(std::string text, std::string name, long& out)
{
    GetNumber(text, name, out);
}

void IWbemClassObject::GetULong(std::string text, std::string name, unsigned long& out)
{
    GetNumber(text, name, out);
}

void IWbemClassObject::GetBool(std::string text, std::string name, bool& out)
{
    std::string_view value;
    out = FindValue(text, name, value) && value == "true";
}

void IWbemClassObject::GetStringArray(std::string text, std::string name,
                                      std::vector<std::string>& out)
{
    std::string value;
    GetString(std::move(text), std::move(name), value);

    std::string_view rest = value;
    for (auto end = rest.find(kElementEnd); end != std::string_view::npos;
         end = rest.find(kElementEnd)) {
        out.emplace_back();
        AppendUnescaped(out.back(), rest.substr(0, end));
        rest.remove_prefix(end + kElementEnd.size());
    }
    out.emplace_back(rest.substr(0, rest.find(kSeparator)));  // Intended: see the header.
}
