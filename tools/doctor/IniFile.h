// IniFile.h - an INI file with its line numbers: what the library's reader finds, and where.
//
// The reader (CIniFileReader.h) finds values; this finds their places too, so that a finding can
// name a line. docs/ini.md has the grammar.
#ifndef DOCTOR_INIFILE_H
#define DOCTOR_INIFILE_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Report.h"

namespace doctor {

struct IniEntry {
    std::string key;
    std::string value;
    std::size_t line;
};

struct IniSection {
    std::string name;
    std::size_t line;
    bool isClosed;  ///< whether its header has a "]"
    std::vector<IniEntry> entries;
};

class IniFile
{
public:
    /// The reader takes at most this many bytes for one line.
    static constexpr std::size_t kMaxLine = 255;

    /// Empty when the file is missing; or when it cannot be read as a file, which is reported.
    static std::optional<IniFile> Read(const std::string& path, Report& report);

    const std::string& Path() const { return path_; }

    /// The lines as they are, without their line feeds.
    const std::vector<std::string>& Lines() const { return lines_; }
    bool EndsWithLineFeed() const { return endsWithLineFeed_; }

    /// All headers in file order, each with the entries below it.
    const std::vector<IniSection>& Sections() const { return sections_; }

    /// Entries above the first header.
    const std::vector<IniEntry>& Loose() const { return loose_; }

    /// The first section of that name, or null.
    const IniSection* Find(const std::string& section) const;

    /// The value that the library's reader finds in such a file.
    std::optional<std::string> Value(const std::string& section, const std::string& key) const;

    /// The line of the key, or of the section's header when it has none, or the whole file.
    Place PlaceOf(const std::string& section, const std::string& key = {}) const;

    Place At(std::size_t line) const { return {path_, line}; }

private:
    explicit IniFile(std::string path, const std::string& text);
    void AddLine(const std::string& line, std::size_t number);
    void AddPiece(std::string piece, std::size_t number);
    void AddSection(const std::string& header, std::size_t number);
    std::vector<std::size_t> OpenedBy(const std::string& section) const;

    std::string path_;
    std::vector<std::string> lines_;
    bool endsWithLineFeed_ = true;
    std::vector<IniSection> sections_;
    std::map<std::string, std::vector<std::size_t>> byName_;  // places in sections_, ascending
    std::vector<std::size_t> unclosed_;                       // the same
    std::vector<IniEntry> loose_;
};

/// What the reader makes of a line: the texts around its first "=", spaces around that dropped.
/// Empty for a line without "=". The caller sets the line number.
std::optional<IniEntry> SplitEntry(const std::string& line);

}  // namespace doctor

#endif  // DOCTOR_INIFILE_H
