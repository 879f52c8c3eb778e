// CTraceBase.h - what every user of a component's log files shares: names, listing, time stamps.
//
// Log files lie in /opt/velmora/qor/log and are named "QOR_" + component + "_trc" (operation log)
// or "_dbg" (debug log) + "_" + creation time as YYMMDDHHMMSS + ".log", and ".gz" when compressed.
// Programs log through CTraceUtility.h; this class is the base of its writers and readers.
//
// Threads: one object, one thread, except for functions marked "Any thread".
#ifndef QOR_CTRACEBASE_H
#define QOR_CTRACEBASE_H

#include <ctime>
#include <fstream>
#include <list>
#include <memory>
#include <string>
#include <utility>

#include "CTraceUtility.h"
#include "QorExport.h"

/// The stream of a log file, with the descriptor that records are written to. Opening, closing or
/// assigning the stream, or swapping it with a std::ofstream, drops the descriptor: records then go
/// through the stream.
class SLogStream : public std::ofstream
{
public:
    /// As std::ofstream::open.
    template <typename... Arguments>
    void open(Arguments&&... arguments)
    {
        descriptor.reset();
        std::ofstream::open(std::forward<Arguments>(arguments)...);
    }

    /// As std::ofstream::close.
    void close()
    {
        descriptor.reset();
        std::ofstream::close();
    }

    /// Takes over another stream.
    SLogStream& operator=(std::ofstream&& other)
    {
        descriptor.reset();
        std::ofstream::operator=(std::move(other));
        return *this;
    }

    /// Exchanges the files.
    void swap(std::ofstream& other)
    {
        descriptor.reset();
        std::ofstream::swap(other);
    }

    /// Exchanges the files with their descriptors.
    void swap(SLogStream& other)
    {
        descriptor.swap(other.descriptor);
        std::ofstream::swap(other);
    }

    std::shared_ptr<const int> descriptor;  ///< a second one for the stream's file; or null
};

/// One log file of a component.
struct SLogFile {
    int kind = 0;        ///< 1 operation log, 2 debug log; 0 before it is opened
    std::string name;    ///< file name without directory
    std::string path;    ///< directory + "/" + name
    std::string suffix;  ///< "_trc" or "_dbg"
    SLogStream stream;   ///< opened for appending, close-on-exec
};

class QOR_API CTraceBase
{
public:
    /// Connects to the system log as "update manager" and makes the log directory.
    ///
    /// Intended: the directory is made with mode 0644, without search permission, so that only
    /// root gets into it. Installations that log as other users make it themselves.
    CTraceBase(const char* component);

    CTraceBase(const CTraceBase&) = delete;
    CTraceBase& operator=(const CTraceBase&) = delete;

    /// Disconnects from the system log and closes the files.
    virtual ~CTraceBase();

    /// The current local time, years since 1900 and months from 0 (localtime(3)). Any thread.
    std::tm GetLocalTime();

    /// Sets `out` to the current local time, "2026/11/15 08:29:18". Any thread.
    void GetLocalTime(std::string& out);

    /// Sets `out` to the current local time, "261115082918", for file names. Any thread.
    void GetLocalDate(std::string& out);

    /// The text of a debug level, eight characters, static storage.
    const char* GetDebugLevelString(CTraceUtility::TRACE_DBG_LEVEL level);

    /// Sends one message to the system log (syslog(3)) as "update manager", which becomes the ident
    /// of the whole process: call openlog(3) before each message of your own. A null format is
    /// ignored. Pass foreign text as an argument of "%s", never as the format. Any thread. The
    /// connection is never descriptor 0, 1 or 2.
    void SystemLog(int priority, const char* format, ...);

    /// Sets file->name to a new name with the file's suffix and the current time. Null is ignored.
    void CreateFileName(SLogFile* file);

    /// Sets `files` to the names in the log directory that contain "QOR_" + component + kind and
    /// ".log" but not ".swp", in byte order, so the oldest first. False, with `files` empty, for a
    /// null argument or an unreadable directory. The arguments may point into `files`.
    bool GetFileList(const char* component, const char* kind, std::list<std::string>& files);

protected:
    std::string component_;                   ///< as given; "" for null
    std::string logDirectory_;                ///< "/opt/velmora/qor/log"
    std::unique_ptr<SLogFile> operationLog_;  ///< never null
    std::unique_ptr<SLogFile> debugLog_;      ///< never null
};

#endif  // QOR_CTRACEBASE_H
