#include "config/IniModel.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace qor::test {
namespace {

constexpr int kLineBuffer = 256;

// The lines of a file as the reader sees them.
class LineStream
{
public:
    explicit LineStream(const std::string& path) : stream_(std::fopen(path.c_str(), "re")) {}
    LineStream(const LineStream&) = delete;
    LineStream& operator=(const LineStream&) = delete;
    ~LineStream()
    {
        if (stream_ != nullptr)
            (void)std::fclose(stream_);  // nothing was written
    }

    bool IsOpen() const { return stream_ != nullptr; }
    bool Next() { return std::fgets(line_, kLineBuffer, stream_) != nullptr; }
    const char* Line() const { return line_; }

private:
    std::FILE* stream_;
    char line_[kLineBuffer] = {};
};

std::optional<std::string> FindStr(const char* line, const std::string& key)
{
    const char* const equals = std::strchr(line, '=');
    if (equals == nullptr)
        return std::nullopt;

    std::size_t keyLength = static_cast<std::size_t>(equals - line);
    while (keyLength > 0 && line[keyLength - 1] == ' ')
        --keyLength;
    if (keyLength != key.size() || std::strncmp(line, key.c_str(), keyLength) != 0)
        return std::nullopt;

    const char* begin = equals + 1;
    while (*begin == ' ')
        ++begin;
    const char* end = std::strrchr(begin, '\n');
    if (end == nullptr)
        end = begin + std::strlen(begin);
    return std::string(begin, end);
}

bool IsSection(const char* line, const std::string& section)
{
    std::size_t length = section.size();
    if (const char* const bracket = std::strchr(line, ']'))
        length = static_cast<std::size_t>(bracket - line) - 1;
    return length == section.size() && std::strncmp(line + 1, section.c_str(), length) == 0;
}

// A snapshot and the rewriting of it. Positions are indexes; -1 stands for none.
class IniText
{
public:
    explicit IniText(const std::string& content) : bytes_(content.begin(), content.end())
    {
        bytes_.push_back('\0');
        bytes_.push_back('\0');
    }

    int SectionPos(const std::string& section) const
    {
        for (int line = 0; line >= 0 && At(line) != '\0'; line = NextLine(line)) {
            if (At(line) == '[' && Holds(line + 1, section) &&
                At(line + 1 + Length(section)) == ']')
                return line;
        }
        return -1;
    }

    int KeyPos(int sectionPos, const std::string& key) const
    {
        int line = NextLine(sectionPos);
        while (line >= 0 && At(line) != '\0' && At(line) != '[') {
            if (Holds(line, key)) {
                const char after = At(line + Length(key));
                if (after == '=' || after == ' ')
                    return line;
            }
            line = NextLine(line);
        }
        return -1;
    }

    std::string Replaced(int keyPos, const std::string& entry) const
    {
        std::string text;
        for (int i = 0; i < keyPos; ++i)
            text += At(i);
        text += entry;
        const int after = NextLine(keyPos);
        for (int i = after; after >= 0 && At(i) != '\0'; ++i)
            text += At(i);
        return text;
    }

    std::string WithKey(int sectionPos, const std::string& entry) const
    {
        std::string text;
        int i = 0;
        while (i < sectionPos)
            text += At(i++);
        while (At(i) != '\n' && At(i) != '\0')
            text += At(i++);
        text += '\n';
        if (At(i) == '\n')
            ++i;
        while (At(i) != '[' && At(i) != '\0')
            text += At(i++);
        text += entry;
        while (At(i) != '\0')
            text += At(i++);
        return text;
    }

    std::string WithSection(const std::string& block) const
    {
        std::string text;
        for (int i = 0; At(i) != '\0'; ++i)
            text += At(i);
        return text + block;
    }

private:
    static int Length(const std::string& text) { return static_cast<int>(text.size()); }

    char At(int i) const { return bytes_.at(static_cast<std::size_t>(i)); }

    bool Holds(int position, const std::string& text) const
    {
        for (int i = 0; i < Length(text); ++i) {
            const char byte = At(position + i);
            if (byte == '\0' || byte != text[static_cast<std::size_t>(i)])
                return false;
        }
        return true;
    }

    int NextLine(int position) const
    {
        for (int i = position; At(i) != '\0'; ++i) {
            if (At(i) == '\n')
                return i + 1;
        }
        return -1;
    }

    std::vector<char> bytes_;
};

}  // namespace

std::optional<std::string> IniReaderModel::FindKey(const std::string& key) const
{
    LineStream lines(path_);
    if (!lines.IsOpen())
        return std::nullopt;

    while (lines.Next()) {
        if (auto value = FindStr(lines.Line(), key))
            return value;
    }
    return std::nullopt;
}

std::optional<std::string> IniReaderModel::FindSection(const std::string& section,
                                                       const std::string& key) const
{
    LineStream lines(path_);
    if (!lines.IsOpen())
        return std::nullopt;

    while (lines.Next()) {
        if (lines.Line()[0] != '[')
            continue;
        if (!IsSection(lines.Line(), section))
            continue;
        while (lines.Next()) {
            if (lines.Line()[0] == ';')
                continue;
            if (lines.Line()[0] == '[')
                break;
            if (auto value = FindStr(lines.Line(), key))
                return value;
        }
    }
    return std::nullopt;
}

std::list<std::string> IniReaderModel::ListSection() const
{
    std::list<std::string> names;
    LineStream lines(path_);
    while (lines.IsOpen() && lines.Next()) {
        if (lines.Line()[0] != '[')
            continue;
        const char* const text = lines.Line() + 1;
        const char* const bracket = std::strrchr(text, ']');
        names.push_back(bracket == nullptr ? std::string(text) : std::string(text, bracket));
    }
    return names;
}

std::string AppendModel(const std::optional<std::string>& content, const std::string& section,
                        const std::string& key, const std::string& value)
{
    const std::string line = key + "=" + value + "\n";
    const std::string block = "[" + section + "]\n" + line;
    if (!content)
        return block;

    const IniText text(*content);
    const int sectionPos = text.SectionPos(section);
    if (sectionPos < 0)
        return text.WithSection(block);
    const int keyPos = text.KeyPos(sectionPos, key);
    return keyPos < 0 ? text.WithKey(sectionPos, line) : text.Replaced(keyPos, line);
}

}  // namespace qor::test
