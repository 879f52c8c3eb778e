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

    /// Appends the current time in 20 digits: 14 of seconds since the epoch, 6 of microseconds. Any
    /// thread.
    ///
    /// Intended: appends, does not assign; clear `out` first where that matters.
    static void GetTimeVal(std::string& out);

    /// Current local time, with the full year and month 1 to 12; null if the year does not fit.
    ///
    /// Intended: `ignored` is neither read nor written. The result is the C library's shared
    /// record: the next local-time conversion anywhere in the process overwrites it, so copy it at
    /// once, and do not call this while other threads convert times.
    static std::tm* GetLocalTime(std::tm* ignored);

    /// The current local time as "2024/03/05 07:08:09". Any thread.
    static std::string GetNowDateTime1();
};

#endif  // QOR_CDATETIMEUTIL_H
