// CTraceRead.h - reads a component's operation log back. Programs use CTraceUtility::ReadTrace.
//
// Threads: one object, one thread. A writer may append or rotate meanwhile.
#ifndef QOR_CTRACEREAD_H
#define QOR_CTRACEREAD_H

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "CTraceBase.h"
#include "QorExport.h"

class QOR_API CTraceRead : public CTraceBase
{
public:
    /// As CTraceBase: makes the log directory. Reads nothing.
    CTraceRead(const char* component);

    /// As CTraceBase: disconnects from the system log.
    ~CTraceRead() override;

    /// Appends to `out` the oldest `maxRecords` records of the current operation log file, which is
    /// the newest by name that is not compressed, from `*fromDate` on when that is a date, whose
    /// read code shares a bit with `readType`, without their read codes. Without such a file, or
    /// for a null `fromDate`, nothing is appended. The working list then holds every selected
    /// record of this read, for DeleteMaxRecord.
    ///
    /// Intended: one file alone, while a new process's writer goes on in the oldest (see
    /// CTraceWrite::Open): with compression off and several files left, its records are not seen.
    ///
    /// Intended: a selected piece of 30 bytes or fewer throws std::out_of_range; see
    /// CTraceUtility::ReadTrace.
    ///
    /// A file that cannot be opened gives nothing and leaves no debug record; nor does what is no
    /// regular file: a link, a FIFO, a directory. A component without any file leaves one,
    /// "GetFileList empty".
    void ReadOperationLog(unsigned int readType, unsigned int maxRecords,
                          std::list<std::string>& out, std::string* fromDate);

    // The steps of reading. The working list belongs to the reader; ReadOperationLog empties it.

    /// True for at least 19 characters with "/" at positions 5 and 8, a space at 11 and ":" at 14
    /// and 17, counted from 1.
    bool IsDateFormat(std::string text);

    /// Appends the lines of a file in the log directory, in pieces of at most 255 bytes and without
    /// line feeds, but the pieces whose first 19 bytes compare lower than those of `fromDate`.
    void ReadLog(std::string fileName, std::list<std::string>& lines, const char* fromDate);

    /// Appends all lines, in the same way.
    void ReadLog(std::string fileName, std::list<std::string>& lines);

    /// Appends to the working list the lines whose read code shares a bit with `readType`, without
    /// the code. Throws std::out_of_range as ReadOperationLog does.
    void SelectReadType(unsigned int readType, std::list<std::string>& lines);

    /// Appends the first `maxRecords` of the working list to `out`; nothing below 1.
    void DeleteMaxRecord(int maxRecords, std::list<std::string>& out);

    /// Ends `text` at its first line feed. Null is ignored.
    void DeleteNewLine(char* text);

private:
    // The working list: one text after the other, and where each ends. Most readings give out few
    // of many records, or all at once.
    std::string records_;
    std::vector<std::size_t> ends_;
};

#endif  // QOR_CTRACEREAD_H
