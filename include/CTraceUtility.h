// CTraceUtility.h - writes the logs of the suite's components, and reads them back.
//
//     CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
//     CTraceUtility::WriteTrace("um", "MSG_START", version);    // operation log, by catalogue
//     CTraceUtility::WriteDebug("um", CTraceUtility::TRACE_DBG_INFO, "%d devices", count);
//     CTraceUtility::Terminate("um");
//
// Each component ("um", "som", "cli", any provider's name) has an operation log, whose texts come
// from its message catalogue, and a debug log, filtered by its trace level. Files, formats and
// settings: docs/logging.md. A component that was never initialised still logs, but opens (and
// makes) its file for each record, even for one that the level rejects.
//
// Threads: any thread may write; a component's records never mix. Initialize, Terminate and the
// first use of each component belong on one thread, at start-up and shut-down; other threads may
// write to other components meanwhile. A rejected record takes no lock. After fork(2) in a program
// with threads the child must not log, and must end by _exit(2) or exec(3): another thread may have
// held a lock that logging and exit(3) take. A changed TZ takes effect within a second.
// Cancellation (pthread_cancel(3)): the record or reading is completed, then only that thread ends.
// Failures: only ReadTrace throws (see there). errno is kept. Failures are not reported; only a log
// directory that cannot be made is, in the system log. A record that cannot be written is dropped;
// on a full disk what fitted stays, and the next record continues that line. At a file
// size limit (RLIMIT_FSIZE) the kernel sends SIGXFSZ, which ends the process: under such a limit
// ignore the signal, and records are lost as on a full disk.
#ifndef QOR_CTRACEUTILITY_H
#define QOR_CTRACEUTILITY_H

#include <list>
#include <string>

#include "QorExport.h"

class CTraceWrite;

class QOR_API CTraceUtility
{
public:
    /// Levels of debug records, single bits. Other values are allowed and show as "--????--".
    enum TRACE_DBG_LEVEL : unsigned int {
        TRACE_DBG_INFO = 1,   ///< "--INFO--"
        TRACE_DBG_FAIL = 2,   ///< "**FAIL**"
        TRACE_DBG_FUNC = 4,   ///< "--FUNC--", entry and leave of operations
        TRACE_DBG_EXCP = 8,   ///< "**EXCP**"
        TRACE_DBG_WARN = 16,  ///< "==WARN=="
        TRACE_DBG_DBUG = 32   ///< "--DBUG--"
    };

    /// Which logs a component's writer opens.
    enum WRITE_MODE : unsigned int {
        WRITE_MODE_DEBUG = 1,  ///< the debug log
        WRITE_MODE_TRACE = 2,  ///< the operation log
        WRITE_MODE_BOTH = 3    ///< both
    };

    /// A bit mask for ReadTrace: a record is selected when its read code shares a bit with it.
    /// What the bits mean is up to the "Read" codes of each component's catalogue.
    enum TRACE_READ_TYPE : unsigned int {
        TRACE_READ_NONE = 0,          ///< no record
        TRACE_READ_ALL = 0xFFFFFFFFU  ///< every record that carries a read code
    };

    /// Opens the logs that `mode` names and keeps them open; the other log then stays silent. No
    /// effect on a component that is open already, whatever `mode` says. Null is ignored.
    static void Initialize(const char* component, WRITE_MODE mode);

    /// Closes the component's logs. Null, or a component that is not open, is ignored. The name
    /// stays in memory for the next Initialize.
    static void Terminate(const char* component);

    /// Writes one record to the operation log: the catalogue entry's type and its text, formatted
    /// with the arguments as printf(3) does, cut to 4095 bytes. An entry with an event also goes to
    /// the system log. A null component or identifier is ignored. The arguments must fit the
    /// conversions of the entry in every language of the catalogue; a text that a C library could
    /// read as holding "%n" ("50% new", "%w32n") is written as it stands.
    ///
    /// Intended: the system log takes the text of an event as a printf format once more, without
    /// arguments: "100% done" arrives as "100 0one". Keep "%" out of events and their arguments.
    ///
    /// An unknown identifier is shown as it is: "[Error] Message ID Not Found!! id=(ID)", with read
    /// code "0xFFFFFFFF" and no event. Cut foreign identifiers to 180 bytes: ReadTrace splits
    /// longer records.
    static void WriteTrace(const char* component, const char* messageId, ...);

    /// Writes one record to the debug log when the component's trace level has a bit of `level`.
    /// The text is cut to 4095 bytes. A null component or format is ignored. A rejected record is
    /// not formatted. Pass foreign text as an argument of "%s", never as the format.
    static void WriteDebug(const char* component, TRACE_DBG_LEVEL level, const char* format, ...);

    /// Sets `records` to the oldest `count` selected records of the component's current operation
    /// log file, without their read codes. The current file is the newest by name that is not
    /// compressed. A `fromDate` of the form "2026/11/15 08:29:18" leaves out earlier records; any
    /// other text reads all. Without such a file, or for a null component or `fromDate`, the list
    /// is empty. `component` and `fromDate` may point into `records`.
    ///
    /// Intended: lines are read in pieces of at most 255 bytes, each judged on its own. So a record
    /// with a text of more than 216 bytes (less when its type has 8 bytes or more) or with a line
    /// feed in it can look like two, and an argument can forge the second: keep texts short and
    /// foreign arguments free of line feeds.
    ///
    /// Intended: a selected piece of 30 bytes or fewer throws std::out_of_range, at each call while
    /// its file is the current one. An argument of a record can make such a piece, such as 216
    /// bytes and then "0x1 short". Catch it.
    ///
    /// A file that cannot be read gives no records. Only a component without any file leaves a
    /// debug record, "GetFileList empty".
    static void ReadTrace(const char* component, TRACE_READ_TYPE type, unsigned int count,
                          std::list<std::string>& records, std::string* fromDate);
};

/// The writer that Initialize made for exactly this name, or null; the library's, until Terminate.
QOR_API CTraceWrite* getTraceObject(const char* component);

#endif  // QOR_CTRACEUTILITY_H
