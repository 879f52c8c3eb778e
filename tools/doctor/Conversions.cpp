#include "Conversions.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <regex>

namespace doctor {
namespace {

constexpr int kMaxPosition = 4096;  // NL_ARGMAX of glibc: a position beyond it is a mistake

// Position, flags, width, precision, length, type: as the C library takes them.
constexpr char kConversion[] =
    "%(?:(?!0+\\$)([0-9]+)\\$)?([-#0 +'I]*)"
    "((?:\\*(?:(?!0+\\$)[0-9]+\\$)?|[0-9]*)(?:\\.(?:\\*(?:(?!0+\\$)[0-9]+\\$)?|[0-9]*))?)"
    "(hh|ll|[hlLqjzZt])?([^]?)";

// What a C library of another version may take for "%n".
constexpr char kAnyStore[] = "%[-0-9$*.# +'IhlLqjzZtwf]*n";

// Signed and unsigned numbers of one size may stand for each other, unlike sizes.
std::string IntegerType(const std::string& length)
{
    if (length == "ll" || length == "q" || length == "L")
        return "long long";
    return length.size() == 1 && length != "h" ? "long" : "int";
}

std::string ArgumentType(const std::string& type, const std::string& length)
{
    const auto isOneOf = [&type](const std::string& types) {
        return types.find(type) != std::string::npos;
    };
    if (isOneOf("diouxXbB"))
        return IntegerType(length);
    if (isOneOf("aAeEfFgG"))
        return length == "L" ? "long double" : "double";
    if (isOneOf("cC"))
        return type == "C" || length == "l" ? "wint_t" : "int";
    if (isOneOf("sS"))
        return type == "S" || length == "l" ? "wchar_t*" : "char*";
    return type == "p" ? "void*" : "";
}

Conversion::Kind KindOf(const std::string& type, const std::string& argument)
{
    if (type.empty())
        return Conversion::Kind::kIncomplete;
    if (type == "%")
        return Conversion::Kind::kPercent;
    if (type == "n")
        return Conversion::Kind::kStore;
    if (type == "m")
        return Conversion::Kind::kErrorText;
    return argument.empty() ? Conversion::Kind::kUnknown : Conversion::Kind::kArgument;
}

Conversion Parsed(const std::smatch& match)
{
    const std::string numbers = match[3];
    const std::string type = match[5];
    Conversion conversion{};
    conversion.text = match[0];
    conversion.type = type.empty() ? "" : ArgumentType(type, match[4]);
    conversion.kind = KindOf(type, conversion.type);
    conversion.position = static_cast<int>(
        std::min<long>(std::strtol(match.str(1).c_str(), nullptr, 10), kMaxPosition));
    conversion.hasBlank = match.str(2).find(' ') != std::string::npos;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const bool isLast = i + 1 == numbers.size() || numbers[i + 1] == '.';
        conversion.leadingNumbers += numbers[i] == '*' && isLast ? 1 : 0;  // others have a position
    }
    return conversion;
}

}  // namespace

std::vector<Conversion> ConversionsOf(const std::string& text)
{
    static const std::regex form(kConversion);
    std::vector<Conversion> conversions;
    for (std::sregex_iterator match(text.begin(), text.end(), form), end; match != end; ++match)
        conversions.push_back(Parsed(*match));
    return conversions;
}

bool MayStore(const std::string& text)
{
    static const std::regex form(kConversion);
    static const std::regex anyStore(kAnyStore);
    for (std::sregex_iterator match(text.begin(), text.end(), form), end; match != end; ++match) {
        const Conversion::Kind kind = Parsed(*match).kind;
        if (kind == Conversion::Kind::kStore)
            return true;
        if (kind == Conversion::Kind::kUnknown || kind == Conversion::Kind::kIncomplete)
            return std::regex_search(text.begin() + match->position(), text.end(), anyStore);
    }
    return false;
}

std::vector<std::string> ArgumentTypes(const std::vector<Conversion>& conversions)
{
    std::map<int, std::string> types;
    int next = 1;
    for (const Conversion& conversion : conversions) {
        if (conversion.kind != Conversion::Kind::kArgument)
            continue;
        for (int i = 0; i < conversion.leadingNumbers; ++i)
            types[next++] = "int";
        types[conversion.position > 0 ? conversion.position : next++] = conversion.type;
    }
    std::vector<std::string> ordered;
    for (const auto& type : types)
        ordered.push_back(type.second);
    return ordered;
}

}  // namespace doctor
