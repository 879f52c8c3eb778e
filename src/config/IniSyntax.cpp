#include "config/IniSyntax.h"

#include <algorithm>

namespace qor::ini {

namespace {

std::string_view WithoutTrailingSpaces(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1);  // npos + 1 is 0
}

std::string_view WithoutLeadingSpaces(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

}  // namespace

std::optional<KeyValue> SplitKeyValue(std::string_view line)
{
    const auto equals = line.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;

    const std::string_view value = WithoutLeadingSpaces(line.substr(equals + 1));
    return KeyValue{WithoutTrailingSpaces(line.substr(0, equals)),
                    value.substr(0, value.rfind('\n'))};
}

bool OpensSection(std::string_view header, std::string_view section)
{
    const std::string_view text = header.substr(1);
    const auto bracket = text.find(']');
    return text.substr(0, bracket == std::string_view::npos ? section.size() : bracket) == section;
}

std::string_view ListedName(std::string_view header)
{
    const std::string_view text = header.substr(1);
    return text.substr(0, text.rfind(']'));
}

}  // namespace qor::ini
