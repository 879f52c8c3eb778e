// CIniFileReader.h - reads INI-style files, one query at a time.
//
//     CIniFileReader file("/opt/velmora/qor/som/socket.conf");
//     std::string dir = "/default";
//     file.find_section("filetran", "clientdir", dir);    // keeps the default when missing
//
// Grammar (judged line by line, with a limit of 255 bytes a line; a longer line is read as several
// lines, each judged by its own first byte):
//
//     [name]          a section header: "[" in the first column
//     ; text          a comment: ";" in the first column, skipped by find_section
//     key = value     spaces around "=" are dropped, tabs are not; the value runs to the line
//                     feed and keeps trailing spaces and a carriage return (end lines with
//                     line feeds alone); no inline comments
//
// Names and keys are compared exactly, byte for byte. A NUL byte ends the line it stands in.
// Every query opens, scans and closes the file, so it sees the file as it is at that moment. A
// query allocates nothing but its answer.
//
// Threads: one object, one thread at a time; several readers may read one file at once. A query
// needs 20 KiB of stack. A cancelled thread (pthread_cancel(3)) completes its query.
//
// A failure gives false or an empty list; a file that cannot be opened or read counts as empty.
#ifndef QOR_CINIFILEREADER_H
#define QOR_CINIFILEREADER_H

#include <list>
#include <string>

#include "QorExport.h"

class QOR_API CIniFileReader
{
public:
    /// path: copied. Touches nothing on disk.
    CIniFileReader(const std::string& path);

    /// Not virtual: do not delete a derived reader through a pointer to this class.
    ~CIniFileReader();

    /// Whether the last query could open the file; false before the first query. The file is
    /// closed again in any case.
    bool isOpen() const;

    /// Replaces every backslash in `path` by a slash.
    void checkfile(std::string& path);

    /// Position of the first "]" in `line` minus one; `length` when there is none.
    int get_section_len(std::string line, int length);

    /// Matches one line against one key: true and `value` set, or false and `value` kept. A null
    /// line matches nothing.
    bool find_str(const char* line, const std::string& key, std::string& value);

    /// The value of the first line of the file that matches `key`, in whatever section. Comments
    /// are read as keys: ";k=v" has the key ";k". False keeps `value`.
    bool find_key(std::string key, std::string& value);

    /// The value of the first line of `key` under a header of `section`. False keeps `value`.
    ///
    /// Intended: the header that ends a matching section is not examined itself. "[s]" directly
    /// followed by a second "[s]" hides the second: keep each section in one place. A header
    /// without "]" matches every section name that its text begins with: close headers.
    bool find_section(std::string section, std::string key, std::string& value);

    /// Sets `names` to the names of all section headers in file order, duplicates included. A
    /// name is the text between "[" and the last "]" of the line.
    ///
    /// Intended: a header without "]" gives the whole rest of its line, line feed included.
    void list_section(std::list<std::string>& names);

private:
    bool opened_;  // by the last query
    std::string path_;
};

#endif  // QOR_CINIFILEREADER_H
