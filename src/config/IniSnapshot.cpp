#include "config/IniSnapshot.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "base/PieceReader.h"

namespace qor {

namespace {

// Few texts have one: a look at the whole text saves a look at each piece.
bool HasNul(std::string_view text)
{
    return text.find('\0') != std::string_view::npos;
}

struct HeaderAndBody {
    std::string_view header;
    std::string_view body;
};

// Takes the section off the front of a text that begins with its header.
HeaderAndBody TakeSection(std::string_view& text)
{
    const std::string_view header = BeforeNul(TakePiece(text));
    return {header, TakePiecesBefore('[', text)};
}

// Sets the values that are still missing, `missing` in number. Returns how many remain.
std::size_t FindInSection(std::string_view body, bool hasNul, const std::string_view* keys,
                          IniValue* values, std::size_t count, std::size_t missing)
{
    while (missing > 0 && !body.empty()) {
        const std::string_view piece = TakePiece(body);
        const std::string_view line = hasNul ? BeforeNul(piece) : piece;
        if (ini::IsComment(line))
            continue;
        const auto entry = ini::SplitKeyValue(line);
        if (!entry)
            continue;
        for (std::size_t k = 0; k < count; ++k) {
            if (!values[k] && entry->key == keys[k]) {
                values[k] = entry->value;
                --missing;
            }
        }
    }
    return missing;
}

}  // namespace

IniSnapshot::IniSnapshot(std::string text) : text_(std::move(text)), hasNul_(HasNul(text_))
{
    std::string_view rest = text_;
    (void)TakePiecesBefore('[', rest);  // before the first section
    while (!rest.empty()) {
        const auto [header, body] = TakeSection(rest);
        names_.push_back(ini::ListedName(header));
        sections_.push_back({ini::SectionName(header), body, kNone});
        if (!sections_.back().name.isClosed)
            unclosed_.push_back(sections_.size() - 1);
    }
    FillBuckets();
}

void IniSnapshot::FillBuckets()
{
    std::size_t count = 1;
    while (count < sections_.size())
        count *= 2;
    buckets_.assign(count, kNone);

    // Backwards, since each is put at the front: a bucket's sections are in file order.
    for (std::size_t i = sections_.size(); i > 0;) {
        --i;
        if (sections_[i].name.isClosed) {
            std::size_t& first = buckets_[BucketOf(sections_[i].name.text)];
            sections_[i].next = first;
            first = i;
        }
    }
}

std::size_t IniSnapshot::BucketOf(std::string_view name) const
{
    return std::hash<std::string_view>{}(name) & (buckets_.size() - 1);
}

void IniSnapshot::FindEach(std::string_view section, const std::string_view* keys, IniValue* values,
                           std::size_t count) const
{
    const auto firstOfName = [&](std::size_t i) {
        while (i != kNone && !sections_[i].name.Means(section))
            i = sections_[i].next;
        return i;
    };
    // The headers that can open the section are those of its name and the unclosed ones. Both lists
    // ascend, so the smaller of their fronts is the next header in file order. Which headers are
    // examined does not depend on the key: one walk answers for all keys.
    std::size_t closed = firstOfName(buckets_[BucketOf(section)]);
    auto unclosed = unclosed_.begin();
    std::size_t firstExamined = 0;

    for (std::size_t missing = count; missing > 0;) {
        const std::size_t candidate =
            std::min(closed, unclosed == unclosed_.end() ? kNone : *unclosed);
        if (candidate == kNone)
            return;

        const bool isClosed = candidate == closed;
        if (isClosed)
            closed = firstOfName(sections_[candidate].next);
        else
            ++unclosed;
        if (candidate < firstExamined || (!isClosed && !sections_[candidate].name.Means(section)))
            continue;

        missing = FindInSection(sections_[candidate].body, hasNul_, keys, values, count, missing);
        // Intended: the header that ends a matching section is not examined itself.
        firstExamined = candidate + 2;
    }
}

IniSections::IniSections(std::string_view text) : hasNul_(HasNul(text)), rest_(text)
{
    (void)TakePiecesBefore('[', rest_);  // before the first section
}

bool IniSections::Next()
{
    if (rest_.empty())
        return false;
    std::string_view rest = rest_;
    const auto [header, body] = TakeSection(rest);
    const ini::SectionName name(header);
    if (!name.isClosed || ini::ListedName(header).size() != name.text.size())
        return false;
    name_ = name.text;
    body_ = body;
    rest_ = rest;
    return true;
}

void IniSections::FindEach(const std::string_view* keys, IniValue* values, std::size_t count) const
{
    (void)FindInSection(body_, hasNul_, keys, values, count, count);
}

}  // namespace qor
