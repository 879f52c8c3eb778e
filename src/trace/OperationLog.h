// OperationLog.h - the records of a component's current operation log, read back.
#ifndef QOR_TRACE_OPERATIONLOG_H
#define QOR_TRACE_OPERATIONLOG_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "CTraceBase.h"

namespace qor {

// A stored record without its read code, as callers get it: its time stamp with a space, then its
// body.
struct StoredRecord {
    std::string_view stamp;
    std::string_view body;

    std::string Text() const
    {
        std::string text;
        text.reserve(stamp.size() + body.size());
        return text.append(stamp).append(body);
    }
};

// Calls use(record, size) for each record of the newest file that is not compressed, from
// `fromDate` on when that is a date, whose read code shares a bit with `readType`. size: of the
// file, in bytes. A selected line of 30 bytes or fewer throws std::out_of_range.
void ReadRecords(CTraceBase& logs, const std::string& directory, const std::string& component,
                 unsigned int readType, const std::string& fromDate,
                 const std::function<void(const StoredRecord&, std::size_t size)>& use);

}  // namespace qor

#endif  // QOR_TRACE_OPERATIONLOG_H
