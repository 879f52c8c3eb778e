// KnownFindings.h - the table of all findings; README.md explains them.
#ifndef DOCTOR_KNOWNFINDINGS_H
#define DOCTOR_KNOWNFINDINGS_H

#include <string_view>
#include <vector>

#include "Finding.h"

namespace doctor {

struct KnownFinding {
    std::string_view id;
    std::string_view subject;
    Severity severity;
};

/// In the order of the checks.
const std::vector<KnownFinding>& KnownFindings();

/// Throws std::logic_error for an id that is not in the table.
const KnownFinding& Known(std::string_view id);

}  // namespace doctor

#endif  // DOCTOR_KNOWNFINDINGS_H
