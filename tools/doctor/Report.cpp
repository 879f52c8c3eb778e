#include "Report.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <system_error>

#include "KnownFindings.h"

namespace doctor {

void Report::Add(std::string_view id, Place place, std::string what, std::string remedy)
{
    const KnownFinding& known = Known(id);
    findings_.push_back(
        {known.id, known.severity, std::move(place), std::move(what), std::move(remedy)});
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
    return static_cast<std::size_t>(
        std::count_if(findings_.begin(), findings_.end(),
                      [severity](const Finding& finding) { return finding.severity == severity; }));
}

}  // namespace doctor
