// CTraceRead.h - reads a component's operation log. Programs call CTraceUtility::ReadTrace instead.
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

    /// Selects the records of the current operation log file whose read code shares a bit with
    /// `readType`, from `*fromDate` on if that is a date (IsDateFormat). Appends the oldest
    /// `maxRecords` of them to `out`, without their read codes. The current file is the newest, by
    /// name, that is not compressed. Without such a file, or for a null `fromDate`, nothing is
    /// appended. The working list then holds every selected record, for DeleteMaxRecord.
    ///
    /// Intended: only that one file is read, while the writer of a new process continues the oldest
    /// (see CTraceWrite::Open): with compression off, new records may not be found. Leave it on.
    ///
    /// Intended: a selected piece of 30 bytes or fewer throws std::out_of_range; see
    /// CTraceUtility::ReadTrace.
    ///
    /// A file that cannot be opened or is not regular counts as empty and leaves no debug record. A
    /// component without any file leaves one, "GetFileList empty".
    void ReadOperationLog(unsigned int readType, unsigned int maxRecords,
                          std::list<std::string>& out, std::string* fromDate);

    // The steps of reading. The working list belongs to the reader; ReadOperationLog empties it.

    /// True for at least 19 characters with "/" at positions 5 and 8, a space at 11 and ":" at 14
    /// and 17, counted from 1.
    bool IsDateFormat(std::string text);

    /// Appends the lines of a file in the log directory, in pieces of at most 255 bytes and without
    /// line feeds. Pieces whose first 19 bytes compare lower than those of `fromDate` are left out.
    void ReadLog(std::string fileName, std::list<std::string>& lines, const char* fromDate);

    /// The same for all lines.
    void ReadLog(std::string fileName, std::list<std::string>& lines);

    /// Appends to the working list the lines whose read code shares a bit with `readType`, without
    /// the code. Throws std::out_of_range as ReadOperationLog does.
    void SelectReadType(unsigned int readType, std::list<std::string>& lines);

    /// Appends the first `maxRecords` of the working list to `out`; none if below 1.
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
