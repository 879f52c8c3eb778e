// IniSyntax.h - the line grammar of INI files: headers, comments, keys.
//
// Lines are pieces (base/PieceReader.h) up to their first NUL, the line feed included.
#ifndef QOR_CONFIG_INISYNTAX_H
#define QOR_CONFIG_INISYNTAX_H

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

// Splits a line at its first "=", spaces around it dropped; the value ends at the line's last line
// feed. Nothing for a line without "=".
std::optional<KeyValue> SplitKeyValue(std::string_view line);

// Whether a header line opens `section`: its name, up to the first "]", equals it, or the header
// has no "]" and its text begins with it.
bool OpensSection(std::string_view header, std::string_view section);

// The name that a header line lists: up to its last "]", or the whole rest without one.
std::string_view ListedName(std::string_view header);

}  // namespace qor::ini

#endif  // QOR_CONFIG_INISYNTAX_H
