// CDateTimeUtil.h - time stamps and local time.
//
//     std::string stamp;
//     CDateTimeUtil::GetTimeVal(stamp);    // "00001700000000000042"
#ifndef QOR_CDATETIMEUTIL_H
#define QOR_CDATETIMEUTIL_H

#include <ctime>
#include <string>

#include "QorExport.h"

class QOR_API CDateTimeUtil
{
public:
    /// Objects hold nothing: every operation is static.
    virtual ~CDateTimeUtil();

    /// Appends the 20-digit time stamp of now: seconds since the epoch in 14 digits, then
    /// microseconds in 6. Any thread.
    ///
    /// Intended: appends, does not assign; clear `out` first where that matters.
    static void GetTimeVal(std::string& out);

    /// Now as broken-down local time, with the full year and the month 1 to 12.
    ///
    /// Intended: `ignored` is neither read nor written. The result is the C library's shared
    /// record: the next local-time conversion anywhere in the process overwrites it, so copy it at
    /// once, and do not call this while other threads convert times.
    static std::tm* GetLocalTime(std::tm* ignored);

    /// Now as local time, "2024/03/05 07:08:09". Any thread.
    static std::string GetNowDateTime1();
};

#endif  // QOR_CDATETIMEUTIL_H
