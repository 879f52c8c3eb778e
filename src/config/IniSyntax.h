// IniSyntax.h - the line grammar of INI files: headers, comments, keys.
//
// Lines are pieces (base/PieceReader.h) up to their first NUL, the line feed included.
#ifndef QOR_CONFIG_INISYNTAX_H
#define QOR_CONFIG_INISYNTAX_H

#include <algorithm>
#include <optional>
#include <string_view>

namespace qor::ini {

struct KeyValue {
    std::string_view key;
    std::string_view value;
};

inline bool IsHeader(std::string_view line)
{
    return !line.empty() && line.front() == '[';
}

inline bool IsComment(std::string_view line)
{
    return !line.empty() && line.front() == ';';
}

inline std::string_view WithoutTrailingSpaces(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1);  // npos + 1 is 0
}

// Splits a line at its first "=", spaces around it dropped; the value ends at the line's last line
// feed. Empty for a line without "=".
inline std::optional<KeyValue> SplitKeyValue(std::string_view line)
{
    const auto equals = line.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;

    const std::string_view key = line.substr(0, equals);
    const std::string_view value =
        line.substr(std::min(line.find_first_not_of(' ', equals + 1), line.size()));
    return KeyValue{WithoutTrailingSpaces(key), value.substr(0, value.rfind('\n'))};
}

// The name that a header line gives its section: up to the first "]", or all of it without one.
struct SectionName {
    explicit SectionName(std::string_view header)
        : text(header.substr(1, header.find(']') - 1)), isClosed(text.size() + 1 < header.size())
    {
    }

    // Whether a query for `section` means this header: a closed name must equal it, another begin
    // with it.
    bool Means(std::string_view section) const
    {
        return (isClosed ? text : text.substr(0, section.size())) == section;
    }

    std::string_view text;
    bool isClosed;
};

// The name that a header line lists: up to its last "]", or the whole rest without one.
inline std::string_view ListedName(std::string_view header)
{
    const std::string_view text = header.substr(1);
    return text.substr(0, text.rfind(']'));
}

}  // namespace qor::ini

#endif  // QOR_CONFIG_INISYNTAX_H
