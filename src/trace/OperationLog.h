// OperationLog.h - the records of a component's current operation log, read back.
#ifndef QOR_TRACE_OPERATIONLOG_H
#define QOR_TRACE_OPERATIONLOG_H

#include <cstddef>
#include <list>
#include <string>

#include "CTraceBase.h"

namespace qor {

// Appends to `records` the oldest `limit` of the newest file that is not compressed, from
// `fromDate` on when that is a date, whose read code shares a bit with `readType`; without their
// codes. All lines are looked at, also those after the last record wanted: a selected line of 30
// bytes or fewer throws std::out_of_range wherever it stands.
void ReadRecords(CTraceBase& logs, const std::string& directory, const std::string& component,
                 unsigned int readType, std::size_t limit, const std::string& fromDate,
                 std::list<std::string>& records);

}  // namespace qor

#endif  // QOR_TRACE_OPERATIONLOG_H
