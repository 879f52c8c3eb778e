#include "config/IniSnapshot.h"

#include <algorithm>
#include <tuple>

#include "util/PieceReader.h"
#include "util/ReadFile.h"

namespace qor {

IniSnapshot::IniSnapshot(const std::string& path) : text_(ReadFile(path))
{
    std::string_view rest = text_;
    while (!rest.empty())
        Add(BeforeNul(TakePiece(rest)));
    IndexByName();
}

void IniSnapshot::Add(std::string_view line)
{
    if (ini::IsHeader(line)) {
        names_.push_back(ini::ListedName(line));
        sections_.push_back({line, entries_.size(), entries_.size()});
        return;
    }
    if (sections_.empty() || ini::IsComment(line))
        return;
    if (const auto entry = ini::SplitKeyValue(line)) {
        entries_.push_back(*entry);
        sections_.back().endEntry = entries_.size();
    }
}

void IniSnapshot::IndexByName()
{
    for (std::size_t i = 0; i < sections_.size(); ++i) {
        const std::string_view text = sections_[i].header.substr(1);
        const auto bracket = text.find(']');
        if (bracket == std::string_view::npos)
            unclosed_.push_back(i);
        else
            closed_.push_back({text.substr(0, bracket), i});
    }
    std::sort(closed_.begin(), closed_.end(), [](const ClosedName& a, const ClosedName& b) {
        return std::tie(a.name, a.section) < std::tie(b.name, b.section);
    });
}

std::optional<std::string_view> IniSnapshot::Find(std::string_view section,
                                                  std::string_view key) const
{
    // The headers that can open the section are those of its name and the unclosed ones; both
    // lists are in file order.
    auto closed = std::lower_bound(
        closed_.begin(), closed_.end(), section,
        [](const ClosedName& entry, std::string_view name) { return entry.name < name; });
    auto unclosed = unclosed_.begin();
    std::size_t firstExamined = 0;

    for (;;) {
        const bool haveClosed = closed != closed_.end() && closed->name == section;
        if (!haveClosed && unclosed == unclosed_.end())
            return std::nullopt;

        const bool takeClosed =
            haveClosed && (unclosed == unclosed_.end() || closed->section < *unclosed);
        const std::size_t candidate = takeClosed ? (closed++)->section : *unclosed++;
        if (candidate < firstExamined || !ini::OpensSection(sections_[candidate].header, section))
            continue;

        if (const auto value = FindInSection(sections_[candidate], key))
            return value;
        // The header that ends a matching section is not examined itself.
        firstExamined = candidate + 2;
    }
}

std::optional<std::string_view> IniSnapshot::FindInSection(const Section& section,
                                                           std::string_view key) const
{
    for (std::size_t i = section.firstEntry; i < section.endEntry; ++i) {
        if (entries_[i].key == key)
            return entries_[i].value;
    }
    return std::nullopt;
}

}  // namespace qor
