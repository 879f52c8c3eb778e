// IniSnapshot.h - an INI file read once, for many queries that answer as CIniFileReader does.
#ifndef QOR_CONFIG_INISNAPSHOT_H
#define QOR_CONFIG_INISNAPSHOT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/IniSyntax.h"

namespace qor {

class IniSnapshot
{
public:
    // A file that cannot be opened or read counts as empty.
    explicit IniSnapshot(const std::string& path);

    IniSnapshot(const IniSnapshot&) = delete;
    IniSnapshot& operator=(const IniSnapshot&) = delete;

    // The section names that CIniFileReader::list_section gives.
    const std::vector<std::string_view>& SectionNames() const { return names_; }

    // The value that CIniFileReader::find_section gives, valid as long as the snapshot.
    std::optional<std::string_view> Find(std::string_view section, std::string_view key) const;

private:
    struct Section {
        std::string_view header;
        std::size_t firstEntry;
        std::size_t endEntry;
    };
    struct ClosedName {
        std::string_view name;
        std::size_t section;
    };

    void Add(std::string_view line);
    void IndexByName();
    std::optional<std::string_view> FindInSection(const Section& section,
                                                  std::string_view key) const;

    std::string text_;  // the file; all views point into it
    std::vector<std::string_view> names_;
    std::vector<Section> sections_;       // in file order
    std::vector<ini::KeyValue> entries_;  // of all sections, in file order
    std::vector<ClosedName> closed_;      // headers with "]", by name and place
    std::vector<std::size_t> unclosed_;   // headers without "]", which match by prefix
};

}  // namespace qor

#endif  // QOR_CONFIG_INISNAPSHOT_H
