// LogFiles.h - the log directory as a test reads it.
#ifndef QOR_TEST_LOGFILES_H
#define QOR_TEST_LOGFILES_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/Text.h"

namespace qor::test {

inline constexpr char kLogDirectory[] = "/opt/velmora/qor/log";

// Kinds of log files: operation log and debug log.
inline constexpr char kOperationLog[] = "_trc";
inline constexpr char kDebugLog[] = "_dbg";

// With its parents, all 0755.
void MakeLogDirectory();

// "/opt/velmora/qor/log/" + name.
std::string LogPath(const std::string& name);

// Names (without directory) of exactly the form "QOR_" + component + kind + "_" + twelve
// digits + ".log" or ".log.gz", ascending; empty without a log directory.
Strings LogFileNames(const std::string& component, const std::string& kind);

// Content of the last uncompressed one of LogFileNames(); "" when there is none.
std::string ReadNewestLog(const std::string& component, const std::string& kind);

// Cut at line feeds, without them; what follows the last one counts when it is not empty.
Strings Lines(const std::string& text);

// A debug record "%s ThId:0x%08x %8s %s\n".
struct DebugLine {
    std::string stamp;  // "2026/11/15 08:29:18"
    pid_t thread = 0;
    std::string level;  // eight characters, for example "**FAIL**"
    std::string text;   // with the line feeds inside it, without the record's own
};

// All records of `text`. A line that begins no record belongs to the text of the one before;
// throws std::runtime_error when there is none before it.
std::vector<DebugLine> ParseDebugLog(const std::string& text);

// The records of all uncompressed debug logs of the component, in the order of their names.
std::vector<DebugLine> DebugTexts(const std::string& component);

// The same as "LEVEL TEXT", without stamp and thread.
Strings Records(const std::string& component);

}  // namespace qor::test

#endif  // QOR_TEST_LOGFILES_H
