// The text records of IWbemClassObject: "type;name;value;".
#include <algorithm>
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

char* Put(char* end, std::string_view piece)
{
    return std::copy(piece.begin(), piece.end(), end);
}

std::size_t EscapedSize(std::string_view value)
{
    std::size_t size = value.size();
    for (auto at = value.find(kSeparator); at != std::string_view::npos;
         at = value.find(kSeparator, at + 1))
        size += kEscapedSeparator.size() - 1;
    return size;
}

char* PutEscaped(char* end, std::string_view value)
{
    for (auto at = value.find(kSeparator); at != std::string_view::npos;
         at = value.find(kSeparator)) {
        end = Put(Put(end, value.substr(0, at)), kEscapedSeparator);
        value.remove_prefix(at + 1);
    }
    return Put(end, value);
}

// Grows the text once for a whole record, writes all but the value, and returns the value's place.
// The room is filled with ";": three are not overwritten and separate the record's fields.
char* BeginRecord(std::string& text, std::string_view type, std::string_view name,
                  std::size_t valueSize)
{
    const std::size_t begin = text.size();
    text.resize(begin + type.size() + name.size() + valueSize + 3, kSeparator);
    return Put(Put(&text[begin], type) + 1, name) + 1;
}

void AppendRecord(std::string& text, std::string_view type, std::string_view name,
                  std::string_view value)
{
    (void)Put(BeginRecord(text, type, name, value.size()), value);
}

template <typename Number>
void AppendNumber(std::string& text, std::string_view type, std::string_view name, Number value)
{
    char digits[std::numeric_limits<Number>::digits10 + 3];  // one more digit, a sign
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    AppendRecord(text, type, name, {digits, static_cast<std::size_t>(end - digits)});
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

// As a stream of the C locale extracts a number; without one in range, `out` stays unchanged.
template <typename Number>
void ExtractNumber(std::string_view text, Number& out)
{
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+'))
        text.remove_prefix(1);

    unsigned long long magnitude = 0;  // from_chars takes no further sign for it
    if (std::from_chars(text.data(), text.data() + text.size(), magnitude).ec != std::errc())
        return;
    using Limits = std::numeric_limits<Number>;
    const unsigned long long largest = static_cast<unsigned long long>(Limits::max()) +
                                       (std::is_signed<Number>::value && negative ? 1 : 0);
    // Negated modulo 2^64: the least number's magnitude has no signed form, and "-1" for an
    // unsigned number is its greatest.
    if (magnitude <= largest)
        out = static_cast<Number>(negative ? 0 - magnitude : magnitude);
}

template <typename Number>
void GetNumber(std::string_view text, std::string_view name, Number& out)
{
    std::string_view value;
    if (FindValue(text, name, value))
        ExtractNumber(value, out);
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
    AppendRecord(text, "bool", name, value ? "true" : "false");
}

void IWbemClassObject::SetBool(std::string& text, std::string prefix, std::string name, bool value)
{
    SetBool(text, prefix + name, value);
}

void IWbemClassObject::SetString(std::string& text, std::string name, std::string value)
{
    (void)PutEscaped(BeginRecord(text, "string", name, EscapedSize(value)), value);
}

void IWbemClassObject::SetString(std::string& text, std::string prefix, std::string name,
                                 std::string value)
{
    SetString(text, prefix + name, std::move(value));
}

void IWbemClassObject::SetStringArray(std::string& text, std::string name,
                                      std::vector<std::string> values)
{
    std::size_t size = values.empty() ? 0 : (values.size() - 1) * kElementEnd.size();
    for (const std::string& value : values)
        size += EscapedSize(value);

    char* end = BeginRecord(text, "string[]", name, size);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            end = Put(end, kElementEnd);
        end = PutEscaped(end, values[i]);
    }
}

void IWbemClassObject::SetStringArray(std::string& text, std::string prefix, std::string name,
                                      std::vector<std::string> values)
{
    SetStringArray(text, prefix + name, std::move(values));
}

void IWbemClassObject::SetClass(std::string& text, std::string name, const IWbemClassObject&)
{
    AppendRecord(text, "class", name, "");
}

void IWbemClassObject::SetClass(std::string& text, std::string prefix, std::string name,
                                const IWbemClassObject& object)
{
    SetClass(text, prefix + name, object);
}

void IWbemClassObject::SetClassArray(std::string& text, std::string name,
                                     const std::vector<IWbemClassObject*>*)
{
    AppendRecord(text, "class[]", name, "");
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
    std::string_view value;  // stays empty when the name does not occur
    (void)FindValue(text, name, value);

    // Split before un-escaping, which neither makes nor breaks a "!#": an escape has no "#", and
    // what replaces it has none of the two.
    const bool escaped = value.find(kEscapedSeparator) != std::string_view::npos;
    for (auto end = value.find(kElementEnd); end != std::string_view::npos;
         end = value.find(kElementEnd)) {
        if (escaped)
            AppendUnescaped(out.emplace_back(), value.substr(0, end));
        else
            out.emplace_back(value.substr(0, end));
        value.remove_prefix(end + kElementEnd.size());
    }
    // Intended: cut at its first ";", which is still escaped here; see the header.
    out.emplace_back(value.substr(0, value.find(kEscapedSeparator)));
}
