// TraceScope.h - the debug records of one operation: entry, leave, failures.
#ifndef QOR_TRACE_TRACESCOPE_H
#define QOR_TRACE_TRACESCOPE_H

#include <cstdarg>
#include <string>

#include "CTraceUtility.h"

namespace qor {

class TraceScope
{
public:
    // tag: the component that traces. signature: the operation's full signature text. Both are
    // borrowed. Nothing is written yet.
    TraceScope(const std::string& tag, const char* signature) : tag_(tag), signature_(signature) {}

    // "[ENTER] SIGNATURE" + suffix, at level TRACE_DBG_FUNC.
    void Enter(const std::string& suffix = std::string()) const;

    // "[LEAVE] SIGNATURE" + suffix, at level TRACE_DBG_FUNC. A call and no destructor: most
    // failures leave without a record.
    void Leave(const std::string& suffix = std::string()) const;

    // "SIGNATURE MESSAGE" at level TRACE_DBG_FAIL.
    void Fail(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // "SIGNATURE MESSAGE" at level TRACE_DBG_INFO.
    void Info(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // The text alone at a level.
    void Write(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& text) const;

    // Whether records of a level are written at all.
    bool IsWanted(CTraceUtility::TRACE_DBG_LEVEL level) const;

private:
    void WriteMessage(CTraceUtility::TRACE_DBG_LEVEL level, const char* format,
                      std::va_list arguments) const;

    const std::string& tag_;
    const char* signature_;
};

}  // namespace qor

#endif  // QOR_TRACE_TRACESCOPE_H
