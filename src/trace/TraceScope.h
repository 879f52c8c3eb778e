// TraceScope.h - the debug records of one operation: entry, leave, failures.
//
//     const qor::TraceScope trace(tag_, "bool CLeaseFile::Take()");
//     trace.Enter();
//     trace.Fail("create failed (%s)", std::strerror(error));
//
// A record that the component's trace level rejects is not formatted. As with WriteDebug, even such
// a record makes the log file of a component that nobody initialised. errno is kept.
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
    TraceScope(const char* tag, const char* signature) : tag_(tag), signature_(signature) {}
    TraceScope(const std::string& tag, const char* signature) : TraceScope(tag.c_str(), signature)
    {
    }
    TraceScope(std::string&& tag, const char* signature) = delete;

    // "[ENTER] SIGNATURE" + suffix, at level TRACE_DBG_FUNC.
    void Enter(const char* suffix = "") const;
    void Enter(const std::string& suffix) const { Enter(suffix.c_str()); }

    // The same, with the suffix that makeSuffix() returns; it is called for a wanted record only.
    template <typename MakeSuffix>
    void EnterWith(MakeSuffix makeSuffix) const
    {
        if (Wants(CTraceUtility::TRACE_DBG_FUNC))
            Enter(makeSuffix());
    }

    // "[LEAVE] SIGNATURE" + suffix, at level TRACE_DBG_FUNC. Not called by the destructor: most
    // failures write no leave record.
    void Leave(const char* suffix = "") const;
    void Leave(const std::string& suffix) const { Leave(suffix.c_str()); }

    // "SIGNATURE MESSAGE" at level TRACE_DBG_FAIL.
    void Fail(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // "SIGNATURE MESSAGE" at level TRACE_DBG_INFO.
    void Info(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // The text alone at a level.
    void Write(CTraceUtility::TRACE_DBG_LEVEL level, const std::string& text) const;

    // The same, with the text that makeText() returns; it is called for a wanted record only.
    template <typename MakeText>
    void WriteWith(CTraceUtility::TRACE_DBG_LEVEL level, MakeText makeText) const
    {
        if (Wants(level))
            Write(level, makeText());
    }

    // Whether records of a level are written at all. Has no side effect.
    bool IsWanted(CTraceUtility::TRACE_DBG_LEVEL level) const;

private:
    // IsWanted, with the side effect of a rejected record.
    bool Wants(CTraceUtility::TRACE_DBG_LEVEL level) const;
    void WriteMessage(CTraceUtility::TRACE_DBG_LEVEL level, const char* format,
                      std::va_list arguments) const;

    const char* tag_;
    const char* signature_;
};

}  // namespace qor

#endif  // QOR_TRACE_TRACESCOPE_H
