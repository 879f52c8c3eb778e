// Report.h - what the checks found, and what they could not look at.
#ifndef DOCTOR_REPORT_H
#define DOCTOR_REPORT_H

#include <string>
#include <string_view>
#include <vector>

#include "Finding.h"

namespace doctor {

/// Something that is there and could not be looked at.
struct Unseen {
    std::string path;
    std::string reason;
};

class Report
{
public:
    /// id: of KnownFindings.h, which has its severity; anything else throws std::logic_error.
    void Add(std::string_view id, Place place, std::string what, std::string remedy);

    /// error: an errno. What is gone by now (ENOENT, ESRCH) is nothing to look at and no failure.
    void AddUnseen(std::string path, int error);

    /// For other reasons.
    void AddUnseen(std::string path, const char* reason);

    /// Puts the findings of one file together, in the order of their lines; files keep the order
    /// of the checks.
    void SortByPlace();

    const std::vector<Finding>& Findings() const { return findings_; }
    const std::vector<Unseen>& NotSeen() const { return unseen_; }

    std::size_t Count(Severity severity) const;

private:
    std::vector<Finding> findings_;
    std::vector<Unseen> unseen_;
};

}  // namespace doctor

#endif  // DOCTOR_REPORT_H
