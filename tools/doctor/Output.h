// Output.h - a report for people and for machines.
#ifndef DOCTOR_OUTPUT_H
#define DOCTOR_OUTPUT_H

#include <iosfwd>

#include "Report.h"

namespace doctor {

/// "FILE:LINE: SEVERITY: ID", what will happen, what to do; a line with the counts at the end.
void PrintText(std::ostream& out, const Report& report, bool colour);

/// One object; README.md lists its members.
void PrintJson(std::ostream& out, const Report& report);

/// A line for each known finding: id, severity, subject.
void PrintKnownFindings(std::ostream& out);

}  // namespace doctor

#endif  // DOCTOR_OUTPUT_H
