#include "CDateTimeUtil.h"

#include "base/LocalTime.h"
#include "base/TimeStamp.h"

CDateTimeUtil::~CDateTimeUtil() = default;

void CDateTimeUtil::GetTimeVal(std::string& out)
{
    out += qor::FormatTimeStamp(qor::Now());
}

std::tm* CDateTimeUtil::GetLocalTime(std::tm*)
{
    const std::time_t now = std::time(nullptr);
    std::tm* const shared = std::localtime(&now);
    if (shared == nullptr)
        return nullptr;

    // Intended: see the header.
    shared->tm_year += 1900;
    shared->tm_mon += 1;
    return shared;
}

std::string CDateTimeUtil::GetNowDateTime1()
{
    return qor::FormatLocalTime(qor::BreakDownLocalTime(std::time(nullptr)));
}
