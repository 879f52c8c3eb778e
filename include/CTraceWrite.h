// CTraceWrite.h - writes the operation log and the debug log of one component.
//
// Each record is one line and one write, so nothing is lost when the program dies. If a record
// would make its file 10 MiB long, the file is rotated first; at most five files of each kind are
// kept. Files are opened close-on-exec, without following a link and without waiting for a FIFO,
// and never as descriptor 0, 1 or 2. Programs log through CTraceUtility.h, which owns the writers.
//
// Threads: any thread may write; one lock per writer covers every record and every rotation.
// Processes: two processes that log as one component both rotate, compress and remove its files,
// and records that one still writes to a file that the other removed are lost. Give each process
// its own component.
// Failures: never reported; a record that cannot be written is dropped.
#ifndef QOR_CTRACEWRITE_H
#define QOR_CTRACEWRITE_H

#include <memory>
#include <string>

#include "CMutexUtil.h"
#include "CTraceBase.h"
#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "QorExport.h"

class QOR_API CTraceWrite : public CTraceBase
{
public:
    /// Opens the logs that `mode` asks for. A null component gives a writer that writes nothing.
    ///
    /// Intended: once any log was opened, every requested bit of `mode` counts as open.
    CTraceWrite(const char* component, CTraceUtility::WRITE_MODE mode);

    /// Closes the logs.
    ~CTraceWrite() override;

    /// Opens a log for appending: the operation log for "_trc", otherwise the debug log. Returns 0
    /// always. If its file cannot be opened (a directory, a link), the next record rotates.
    ///
    /// Intended: the oldest file that is not compressed is continued, not the newest: with
    /// compression off, a new process continues the oldest file that is left. Leave it on.
    int Open(const char* kind);

    /// Writes "STAMP READ BODY\n" to the operation log, if that is open and no text is null.
    void WriteOperationLog(const char* read, const char* body);

    /// Writes "STAMP ThId:0xTHREAD LEVEL TEXT\n" to the debug log when IsDebugWanted(level).
    void WriteDebugLog(CTraceUtility::TRACE_DBG_LEVEL level, const char* text);

    /// Whether the debug log is open and the trace level has a bit of `level`. Makes no system call
    /// and allocates nothing.
    bool IsDebugWanted(CTraceUtility::TRACE_DBG_LEVEL level) const;

    /// Sends `text` to the system log: event type 1 as an error, 2 as a warning, 4 as information.
    /// Null and other types are ignored.
    ///
    /// Intended: the text is itself a printf format: "%%" shows as "%". Conversions have no
    /// arguments and show as zero or as nothing; they add at most 8191 bytes. A "%" that begins no
    /// complete conversion stays: "disk 100%". Double each "%" of foreign text.
    void WriteEventLog(unsigned short eventType, const char* text);

    /// Copies the catalogue entry of a message into `*info`. An unknown identifier gives an entry
    /// that says so, with read code "0xFFFFFFFF". False for a null argument or a writer without
    /// settings.
    bool GetMessageInfo(const char* id, Msg_Info* info);

    // The steps of writing, not meant for callers.

    /// Whether a record of `length` bytes no longer fits: the file would exceed 10485759 bytes, or
    /// its position is unknown.
    bool isSizeOver(SLogFile* file, unsigned long length);

    /// Closes the file, compresses it where the settings ask for it, removes the oldest files until
    /// four are left and opens a new one. A directory of such a name cannot be removed: one among
    /// the newest four counts, others stay in addition. Takes no lock: no other thread may use the
    /// writer meanwhile.
    ///
    /// Intended: the name holds the time to the second, so a second rotation within one second
    /// continues the same file, beyond its limit, unless that was compressed. A file that could not
    /// be compressed stays, and counts as one of the five.
    void rotate(SLogFile* file);

    /// Runs "gzip -9 PATH" through the shell. Returns what system(3) returned; 0 is success. A
    /// command of 1024 bytes or more is cut. A path with other characters than letters, digits and
    /// "/._-+,:@=%", which the shell might interpret, gives -1, and nothing is run.
    int compress(std::string path);

private:
    // Finds messages in the settings and writes records that it has put together itself.
    friend class CTraceUtility;

    std::unique_ptr<CMutexUtil> mutex_;
    unsigned int mode_;
    bool compress_;
    Setting_Info* settings_;  // of the cache, not owned; null: nothing is written
};

#endif  // QOR_CTRACEWRITE_H
