// CIniFileWriter.h - sets one key of one section of an INI-style file.
//
//     CIniFileWriter(path).append("filetran", "polling_interval", "200");
//
// The constructor takes a snapshot of the file, and append rewrites the file from it. It replaces
// the key's first line under the section's first header. A missing key is added at the end of that
// section, a missing section at the end of the file, and a missing file is made. CIniFileReader.h
// has the grammar; the writer looks for "key=" or "key " in the first column, and for headers whose
// name is closed by "]". Intended: "key " is enough: setting "max" replaces the line "max speed=3".
//
// Intended: a second append starts again from the same snapshot and undoes the first. Make a new
// writer for each update.
//
// Intended: the file is truncated and rewritten in one write, not replaced: a reader at that
// moment, or a full disk, can see it short. Serialise updates of a file, and check the result.
//
// Intended: texts end at their first NUL byte. A file with a NUL byte loses what follows it.
//
// Threads: one object, one thread at a time. Two writers of one file lose one of their updates. A
// cancelled thread (pthread_cancel(3)) completes its update.
#ifndef QOR_CINIFILEWRITER_H
#define QOR_CINIFILEWRITER_H

#include <string>

#include "QorExport.h"

class QOR_API CIniFileWriter
{
public:
    /// path: copied. Reads the whole file; a missing or unreadable file is no failure.
    CIniFileWriter(const std::string& path);

    CIniFileWriter(const CIniFileWriter&) = delete;
    CIniFileWriter& operator=(const CIniFileWriter&) = delete;

    /// Frees the snapshot; the file stays as the last operation left it.
    virtual ~CIniFileWriter();

    /// Sets `key` in `section` to `value` and rewrites the file. True when the new text was
    /// written in full; false leaves the file possibly truncated or partly written.
    ///
    /// Intended: a file that exists but cannot be read in full, also for lack of memory, is
    /// replaced by one that holds only the new section.
    bool append(std::string section, std::string key, std::string value);

    // The steps of append. Positions point into the snapshot; a null one finds or writes nothing.

    /// The first header line "[section]", or null. What follows the "]" does not matter.
    char* getSectionPos(const char* section);

    /// The first line of `key` in the section whose header line is at `sectionPos`, or null. The
    /// last line of the text counts, with or without a line feed.
    char* getKeyPos(char* sectionPos, const char* key);

    /// The line after the one that holds `p`, or null when the text ends without a line feed.
    char* getNextLine(char* p);

    /// Rewrites with the line at `keyPos` replaced by "key=value".
    ///
    /// Intended: the old line goes as a whole, spaces around "=" and a carriage return included.
    bool replaceKey(char* keyPos, std::string key, std::string value);

    /// Rewrites with "key=value" added at the end of the section.
    ///
    /// Intended: the section ends at the next "[" byte anywhere, also inside a value: keep "[" out
    /// of values. A last line without a line feed is continued by the new line, unless it is the
    /// section's header, which is given its line feed.
    bool appendKey(char* sectionPos, std::string key, std::string value);

    /// Rewrites with "[section]" and "key=value" after the whole text.
    ///
    /// Intended: the header continues a last line without line feed: end files with a line feed.
    bool appendSection(std::string section, std::string key, std::string value);

    /// Writes a file that holds only "[section]" and "key=value".
    bool createFile(std::string section, std::string key, std::string value);

    /// Writes `text` as the file's whole content (mode 0644 before the umask, when made) and frees
    /// it with delete[]. Null gives false and leaves the file untouched.
    bool writeFile(char* text);

private:
    std::string path_;
    char* buffer_;        // the snapshot and two NUL bytes; null when there was nothing to read
    unsigned long size_;  // bytes, as the file system reported
};

#endif  // QOR_CINIFILEWRITER_H
