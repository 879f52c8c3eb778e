#include "Report.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <stdexcept>
#include <system_error>

namespace doctor {
namespace {

const KnownFinding& Known(std::string_view key)
{
    const auto& all = KnownFindings();
    const auto row = std::find_if(all.begin(), all.end(),
                                  [key](const KnownFinding& known) { return known.key == key; });
    if (row == all.end())
        throw std::logic_error("no known finding: " + std::string(key));
    return *row;
}

using Values = std::vector<std::string>::const_iterator;

// Takes a value for each "{}" of the text.
std::string Filled(std::string_view text, Values& next, Values end)
{
    std::string filled;
    for (std::size_t mark; (mark = text.find("{}")) != text.npos; text.remove_prefix(mark + 2)) {
        if (next == end)
            throw std::logic_error("no value for " + std::string(text));
        filled.append(text.substr(0, mark)).append(*next++);
    }
    return filled.append(text);
}

}  // namespace

void Report::Add(std::string_view key, Place place, const std::vector<std::string>& values)
{
    const KnownFinding& row = Known(key);
    Values next = values.begin();
    std::string what = Filled(row.what, next, values.end());
    std::string remedy = Filled(row.remedy, next, values.end());
    if (next != values.end())
        throw std::logic_error("too many values for " + std::string(key));
    findings_.push_back({&Known(key.substr(0, key.find('/'))), std::move(place), std::move(what),
                         std::move(remedy)});
}

void Report::AddUnseen(std::string path, int error)
{
    if (error != ENOENT && error != ESRCH)
        unseen_.push_back({std::move(path), std::generic_category().message(error)});
}

void Report::AddUnseen(std::string path, const char* reason)
{
    unseen_.push_back({std::move(path), reason});
}

void Report::SortByPlace()
{
    std::map<std::string, std::size_t> order;
    for (const Finding& finding : findings_)
        order.emplace(finding.place.file, order.size());
    std::stable_sort(findings_.begin(), findings_.end(), [&](const Finding& a, const Finding& b) {
        const std::size_t first = order.at(a.place.file);
        const std::size_t second = order.at(b.place.file);
        return first != second ? first < second : a.place.line < b.place.line;
    });
}

std::size_t Report::Count(Severity severity) const
{
    return static_cast<std::size_t>(std::count_if(
        findings_.begin(), findings_.end(),
        [severity](const Finding& finding) { return finding.known->severity == severity; }));
}

}  // namespace doctor
