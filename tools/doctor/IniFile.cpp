#include "IniFile.h"

#include <algorithm>
#include <cerrno>

#include "Files.h"

namespace doctor {
namespace {

const char* EffectOf(mode_t mode)
{
    return S_ISFIFO(mode) || S_ISCHR(mode) ? "programs that read it can wait for ever"
                                           : "programs read it as an empty file";
}

}  // namespace

std::optional<IniEntry> SplitEntry(const std::string& line)
{
    const auto equals = line.find('=');
    if (equals == std::string::npos)
        return std::nullopt;

    std::string key = line.substr(0, equals);
    key.resize(key.find_last_not_of(' ') + 1);  // npos + 1 is 0
    const auto value = line.find_first_not_of(' ', equals + 1);
    return IniEntry{key, value == std::string::npos ? "" : line.substr(value), 0};
}

std::optional<IniFile> IniFile::Read(const std::string& path, Report& report)
{
    const auto status = StatusOf(path);
    if (!status) {
        report.AddUnseen(path, errno);
        return std::nullopt;
    }
    if (!S_ISREG(status->st_mode)) {
        report.Add("not-a-regular-file", {path},
                   {KindText(status->st_mode), EffectOf(status->st_mode)});
        return std::nullopt;
    }
    const auto text = ReadFile(path);
    if (!text) {
        report.AddUnseen(path, errno);
        return std::nullopt;
    }
    return IniFile(path, *text);
}

IniFile::IniFile(std::string path, const std::string& text) : path_(std::move(path))
{
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t lineFeed = text.find('\n', begin);
        endsWithLineFeed_ = lineFeed != std::string::npos;
        lines_.push_back(text.substr(begin, lineFeed - begin));  // npos - begin: up to the end
        AddLine(lines_.back(), lines_.size());
        begin = endsWithLineFeed_ ? lineFeed + 1 : text.size();
    }
}

// The reader judges each piece of an over-long line by its own first byte.
void IniFile::AddLine(const std::string& line, std::size_t number)
{
    for (std::size_t begin = 0; begin < line.size(); begin += kMaxLine) {
        std::string piece = line.substr(begin, kMaxLine);
        piece.resize(std::min(piece.find('\0'), piece.size()));
        AddPiece(std::move(piece), number);
    }
}

void IniFile::AddPiece(std::string piece, std::size_t number)
{
    if (piece.empty() || piece[0] == ';')
        return;
    if (piece[0] == '[') {
        AddSection(piece, number);
        return;
    }
    if (auto entry = SplitEntry(piece)) {
        entry->line = number;
        (sections_.empty() ? loose_ : sections_.back().entries).push_back(std::move(*entry));
    }
}

void IniFile::AddSection(const std::string& header, std::size_t number)
{
    const auto bracket = header.find(']');
    const bool isClosed = bracket != std::string::npos;
    const std::string name = header.substr(1, isClosed ? bracket - 1 : bracket);
    byName_[name].push_back(sections_.size());
    if (!isClosed)
        unclosed_.push_back(sections_.size());
    sections_.push_back({name, number, isClosed, {}});
}

const IniSection* IniFile::Find(const std::string& section) const
{
    const auto found = byName_.find(section);
    return found == byName_.end() ? nullptr : &sections_[found->second.front()];
}

// The headers that open a section: those of its name, and those without "]" whose text begins
// with it.
std::vector<std::size_t> IniFile::OpenedBy(const std::string& section) const
{
    const auto named = byName_.find(section);
    auto opened = named == byName_.end() ? std::vector<std::size_t>() : named->second;
    for (const std::size_t place : unclosed_) {
        const std::string& name = sections_[place].name;
        if (name != section && name.compare(0, section.size(), section) == 0)
            opened.push_back(place);
    }
    std::sort(opened.begin(), opened.end());
    return opened;
}

std::optional<std::string> IniFile::Value(const std::string& section, const std::string& key) const
{
    std::size_t next = 0;  // the first header that is examined
    for (const std::size_t place : OpenedBy(section)) {
        if (place < next)
            continue;
        for (const IniEntry& entry : sections_[place].entries) {
            if (entry.key == key)
                return entry.value;
        }
        next = place + 2;  // the header that ends a section is not examined
    }
    return std::nullopt;
}

Place IniFile::PlaceOf(const std::string& section, const std::string& key) const
{
    const auto named = byName_.find(section);
    if (named == byName_.end())
        return {path_};
    for (const std::size_t place : named->second) {
        for (const IniEntry& entry : sections_[place].entries) {
            if (entry.key == key)
                return At(entry.line);
        }
    }
    return At(sections_[named->second.front()].line);
}

}  // namespace doctor
