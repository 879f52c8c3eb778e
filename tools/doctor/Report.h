// Report.h - what the checks found, and what they could not look at.
#ifndef DOCTOR_REPORT_H
#define DOCTOR_REPORT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace doctor {

enum class Severity {
    kWarning,  ///< works, but not as its author will have meant it
    kError     ///< something is lost, unsafe, or does not work at all
};

constexpr const char* Name(Severity severity)
{
    return severity == Severity::kError ? "error" : "warning";
}

/// A row of the table of all findings, in Findings.cpp; README.md explains them.
struct KnownFinding {
    std::string_view key;      ///< the id; or id "/" variant, for the same finding in other words
    std::string_view subject;  ///< empty for a variant
    Severity severity;
    std::string_view what;    ///< what is found and what will happen
    std::string_view remedy;  ///< what to do; like `what` with "{}" for each value of a case

    bool IsVariant() const { return key.find('/') != key.npos; }
};

/// In the order of the checks, a variant after its finding.
const std::vector<KnownFinding>& KnownFindings();

struct Place {
    std::string file;
    std::size_t line = 0;  ///< from 1; 0: the file as a whole
};

/// One thing that is wrong with an installation.
struct Finding {
    const KnownFinding* known;  ///< never a variant
    Place place;
    std::string what;
    std::string remedy;
};

/// Something that is there and could not be looked at.
struct Unseen {
    std::string path;
    std::string reason;
};

class Report
{
public:
    /// values: one for each "{}" of `what`, then of `remedy`. Throws std::logic_error for another
    /// number of them, or a key that is not in the table.
    void Add(std::string_view key, Place place, const std::vector<std::string>& values = {});

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
