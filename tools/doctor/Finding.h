// Finding.h - one thing that is wrong with an installation.
#ifndef DOCTOR_FINDING_H
#define DOCTOR_FINDING_H

#include <cstddef>
#include <string>
#include <string_view>

namespace doctor {

enum class Severity {
    kWarning,  ///< works, but not as its author will have meant it
    kError     ///< something is lost, unsafe, or does not work at all
};

constexpr const char* Name(Severity severity)
{
    return severity == Severity::kError ? "error" : "warning";
}

struct Place {
    std::string file;
    std::size_t line = 0;  ///< from 1; 0: the file as a whole
};

struct Finding {
    std::string_view id;  ///< of KnownFindings.h; stable from version to version
    Severity severity;
    Place place;
    std::string what;    ///< what is found and what will happen
    std::string remedy;  ///< what to do
};

}  // namespace doctor

#endif  // DOCTOR_FINDING_H
