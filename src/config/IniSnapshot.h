// IniSnapshot.h - an INI text that was read once, for many queries that answer as CIniFileReader
// does.
#ifndef QOR_CONFIG_INISNAPSHOT_H
#define QOR_CONFIG_INISNAPSHOT_H

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/IniSyntax.h"

namespace qor {

using IniValue = std::optional<std::string_view>;  // in the text

class IniSnapshot
{
public:
    explicit IniSnapshot(std::string text);

    IniSnapshot(const IniSnapshot&) = delete;
    IniSnapshot& operator=(const IniSnapshot&) = delete;

    // The section names that CIniFileReader::list_section gives.
    const std::vector<std::string_view>& SectionNames() const { return names_; }

    // The values that CIniFileReader::find_section gives for the keys, one by one.
    template <std::size_t N>
    std::array<IniValue, N> Find(std::string_view section,
                                 const std::array<std::string_view, N>& keys) const
    {
        std::array<IniValue, N> values;
        FindEach(section, keys.data(), values.data(), N);
        return values;
    }

    IniValue Find(std::string_view section, std::string_view key) const
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
    void FindEach(std::string_view section, const std::string_view* keys, IniValue* values,
                  std::size_t count) const;

    std::string text_;  // all views point into it
    bool hasNul_;
    std::vector<std::string_view> names_;
    std::vector<Section> sections_;      // in file order
    std::vector<std::size_t> buckets_;   // by a hash of the name: first section with "]"
    std::vector<std::size_t> unclosed_;  // headers without "]", which match by prefix
};

// The sections of a text in their order, in less time than IniSnapshot needs. If each header has
// exactly one "]", its queries give the same for a name that occurs once: such a header opens its
// section for that name alone, and only the header after a section that matched is passed over.
class IniSections
{
public:
    explicit IniSections(std::string_view text);

    // False at the end, and at a header that has not exactly one "]".
    bool Next();
    bool IsAtEnd() const { return rest_.empty(); }

    std::string_view Name() const { return name_; }

    template <std::size_t N>
    std::array<IniValue, N> Find(const std::array<std::string_view, N>& keys) const
    {
        std::array<IniValue, N> values;
        FindEach(keys.data(), values.data(), N);
        return values;
    }

private:
    void FindEach(const std::string_view* keys, IniValue* values, std::size_t count) const;

    const bool hasNul_;
    std::string_view rest_;
    std::string_view name_;
    std::string_view body_;
};

}  // namespace qor

#endif  // QOR_CONFIG_INISNAPSHOT_H
