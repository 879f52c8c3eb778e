// IniSnapshot.h - an INI file read once, for many queries that answer as CIniFileReader does.
#ifndef QOR_CONFIG_INISNAPSHOT_H
#define QOR_CONFIG_INISNAPSHOT_H

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/IniSyntax.h"

namespace qor {

class IniSnapshot
{
public:
    using Value = std::optional<std::string_view>;  // valid as long as the snapshot

    // A file that cannot be opened or read counts as empty.
    explicit IniSnapshot(const std::string& path);

    IniSnapshot(const IniSnapshot&) = delete;
    IniSnapshot& operator=(const IniSnapshot&) = delete;

    // The section names that CIniFileReader::list_section gives.
    const std::vector<std::string_view>& SectionNames() const { return names_; }

    // The values that CIniFileReader::find_section gives for the keys, one by one.
    template <std::size_t N>
    std::array<Value, N> Find(std::string_view section,
                              const std::array<std::string_view, N>& keys) const
    {
        std::array<Value, N> values;
        FindEach(section, keys.data(), values.data(), N);
        return values;
    }

    Value Find(std::string_view section, std::string_view key) const
    {
        return Find(section, std::array<std::string_view, 1>{key})[0];
    }

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    struct Section {
        ini::SectionName name;
        std::string_view body;  // the lines up to the next header
        std::size_t next;       // section of the same bucket
    };

    void FillBuckets();
    std::size_t BucketOf(std::string_view name) const;
    void FindEach(std::string_view section, const std::string_view* keys, Value* values,
                  std::size_t count) const;

    std::string text_;  // the file; all views point into it
    std::vector<std::string_view> names_;
    std::vector<Section> sections_;      // in file order
    std::vector<std::size_t> buckets_;   // by a hash of the name: first section with "]"
    std::vector<std::size_t> unclosed_;  // headers without "]", which match by prefix
};

}  // namespace qor

#endif  // QOR_CONFIG_INISNAPSHOT_H
