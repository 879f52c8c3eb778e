#include "config/IniSnapshot.h"

#include <algorithm>

#include "base/Files.h"
#include "base/PieceReader.h"

namespace qor {

IniSnapshot::IniSnapshot(const std::string& path) : text_(ReadFile(path))
{
    std::string_view rest = text_;
    while (!rest.empty())
        AddLine(BeforeNul(TakePiece(rest)));
}

void IniSnapshot::AddLine(std::string_view line)
{
    if (ini::IsHeader(line)) {
        AddSection(line);
        return;
    }
    if (sections_.empty() || ini::IsComment(line))
        return;
    if (const auto entry = ini::SplitKeyValue(line)) {
        entries_.push_back(*entry);
        sections_.back().endEntry = entries_.size();
    }
}

void IniSnapshot::AddSection(std::string_view header)
{
    const std::size_t section = sections_.size();
    names_.push_back(ini::ListedName(header));
    sections_.push_back({header, entries_.size(), entries_.size(), kNone});

    const std::string_view text = header.substr(1);
    const auto bracket = text.find(']');
    if (bracket == std::string_view::npos) {
        unclosed_.push_back(section);
        return;
    }
    const auto [entry, isFirst] =
        closed_.try_emplace(text.substr(0, bracket), Chain{section, section});
    if (!isFirst) {
        sections_[entry->second.last].next = section;
        entry->second.last = section;
    }
}

void IniSnapshot::FindEach(std::string_view section, const std::string_view* keys, Value* values,
                           std::size_t count) const
{
    // The headers that can open the section are those of its name and the unclosed ones. Both lists
    // ascend, so the smaller of their fronts is the next header in file order. Which headers are
    // examined does not depend on the key: one walk answers for all keys.
    const auto sameName = closed_.find(section);
    std::size_t closed = sameName == closed_.end() ? kNone : sameName->second.first;
    auto unclosed = unclosed_.begin();
    std::size_t firstExamined = 0;

    for (std::size_t missing = count; missing > 0;) {
        const std::size_t candidate =
            std::min(closed, unclosed == unclosed_.end() ? kNone : *unclosed);
        if (candidate == kNone)
            return;

        const bool isClosed = candidate == closed;
        if (isClosed)
            closed = sections_[candidate].next;
        else
            ++unclosed;
        if (candidate < firstExamined ||
            (!isClosed && !ini::OpensSection(sections_[candidate].header, section)))
            continue;

        missing -= FindInSection(sections_[candidate], keys, values, count);
        // Intended: the header that ends a matching section is not examined itself.
        firstExamined = candidate + 2;
    }
}

std::size_t IniSnapshot::FindInSection(const Section& section, const std::string_view* keys,
                                       Value* values, std::size_t count) const
{
    std::size_t found = 0;
    for (std::size_t i = section.firstEntry; i < section.endEntry; ++i) {
        for (std::size_t k = 0; k < count; ++k) {
            if (!values[k] && entries_[i].key == keys[k]) {
                values[k] = entries_[i].value;
                ++found;
            }
        }
    }
    return found;
}

}  // namespace qor
