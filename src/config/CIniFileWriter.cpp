#include "CIniFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "base/CancelGuard.h"
#include "base/Files.h"

namespace {

constexpr mode_t kFileMode = 0644;

// Texts end at their first NUL, whatever their size says.
std::string_view CText(const std::string& text)
{
    return text.c_str();
}

std::string KeyLine(const std::string& key, const std::string& value)
{
    std::string line;
    line.append(CText(key)).append("=").append(CText(value)).append("\n");
    return line;
}

std::string SectionBlock(const std::string& section, const std::string& key,
                         const std::string& value)
{
    std::string block;
    block.append("[").append(CText(section)).append("]\n").append(KeyLine(key, value));
    return block;
}

// Replaces the file's content by the three texts, in one writev(2) without copying them; a NUL byte
// in the first ends the file there. The file is truncated first, and can be left short.
bool Rewrite(const std::string& path, std::string_view before, std::string_view entry,
             std::string_view after)
{
    const qor::CancelGuard guard;  // cancelled, it would leave the file truncated
    const qor::UniqueFd file = qor::OpenFile(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, kFileMode);
    if (!file)
        return false;

    const auto part = [](std::string_view text) {
        return iovec{const_cast<char*>(text.data()), text.size()};  // writev(2) only reads
    };
    const std::size_t kept = std::min(before.find('\0'), before.size());
    const bool whole = kept == before.size();
    const iovec parts[] = {part(before.substr(0, kept)), part(entry), part(after)};
    const ssize_t written = ::writev(file.get(), parts, whole ? 3 : 1);
    return written == static_cast<ssize_t>(whole ? kept + entry.size() + after.size() : kept);
}

std::string_view Between(const char* begin, const char* end)
{
    return std::string_view(begin, static_cast<std::size_t>(end - begin));
}

}  // namespace

CIniFileWriter::CIniFileWriter(const std::string& path) : path_(path), buffer_(nullptr), size_(0)
{
    const qor::CancelGuard guard;
    const qor::UniqueFd file = qor::OpenForReading(path_);
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0)
        return;

    size_ = static_cast<unsigned long>(status.st_size);
    std::unique_ptr<char[]> content(new (std::nothrow) char[size_ + 2]);
    if (!content || ::read(file.get(), content.get(), size_) != static_cast<ssize_t>(size_))
        return;

    content[size_] = content[size_ + 1] = '\0';
    buffer_ = content.release();
}

CIniFileWriter::~CIniFileWriter()
{
    delete[] buffer_;
}

bool CIniFileWriter::append(std::string section, std::string key, std::string value)
{
    if (char* const sectionPos = getSectionPos(section.c_str())) {
        if (char* const keyPos = getKeyPos(sectionPos, key.c_str()))
            return replaceKey(keyPos, std::move(key), std::move(value));
        return appendKey(sectionPos, std::move(key), std::move(value));
    }
    if (buffer_ == nullptr)
        return createFile(std::move(section), std::move(key), std::move(value));
    return appendSection(std::move(section), std::move(key), std::move(value));
}

char* CIniFileWriter::getSectionPos(const char* section)
{
    if (buffer_ == nullptr || section == nullptr)
        return nullptr;

    const std::size_t length = std::strlen(section);
    for (char* place = buffer_; (place = std::strchr(place, '[')) != nullptr; ++place) {
        const bool beginsLine = place == buffer_ || place[-1] == '\n';
        if (beginsLine && std::strncmp(place + 1, section, length) == 0 && place[1 + length] == ']')
            return place;
    }
    return nullptr;
}

char* CIniFileWriter::getKeyPos(char* sectionPos, const char* key)
{
    if (sectionPos == nullptr || key == nullptr)
        return nullptr;

    const std::size_t length = std::strlen(key);
    for (char* line = getNextLine(sectionPos); line != nullptr && *line != '\0' && *line != '[';
         line = getNextLine(line)) {
        if (std::strncmp(line, key, length) == 0 && (line[length] == '=' || line[length] == ' '))
            return line;
    }
    return nullptr;
}

char* CIniFileWriter::getNextLine(char* p)
{
    if (p == nullptr)
        return nullptr;
    char* const lineFeed = std::strchr(p, '\n');
    return lineFeed == nullptr ? nullptr : lineFeed + 1;
}

bool CIniFileWriter::replaceKey(char* keyPos, std::string key, std::string value)
{
    if (buffer_ == nullptr || keyPos == nullptr)
        return false;

    const char* const after = getNextLine(keyPos);
    return Rewrite(path_, Between(buffer_, keyPos), KeyLine(key, value),
                   after == nullptr ? "" : after);
}

bool CIniFileWriter::appendKey(char* sectionPos, std::string key, std::string value)
{
    if (buffer_ == nullptr || sectionPos == nullptr)
        return false;

    // A header that ends the text without a line feed gets one, or the key would continue its line.
    const char* const body = getNextLine(sectionPos);
    if (body == nullptr)
        return Rewrite(path_, buffer_, "\n" + KeyLine(key, value), "");

    const char* const end = ::strchrnul(body, '[');  // Intended: see the header.
    return Rewrite(path_, Between(buffer_, end), KeyLine(key, value), end);
}

bool CIniFileWriter::appendSection(std::string section, std::string key, std::string value)
{
    return Rewrite(path_, buffer_ == nullptr ? "" : buffer_, SectionBlock(section, key, value), "");
}

bool CIniFileWriter::createFile(std::string section, std::string key, std::string value)
{
    return Rewrite(path_, "", SectionBlock(section, key, value), "");
}

bool CIniFileWriter::writeFile(char* text)
{
    if (text == nullptr)
        return false;
    const std::unique_ptr<char[]> owned(text);
    return Rewrite(path_, text, "", "");
}
