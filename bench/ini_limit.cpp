#include "ini_limit.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "ini_files.h"
#include "limit_pieces.h"

namespace qor::bench {
namespace {

std::string_view BeforeNul(std::string_view text)
{
    return text.substr(0, text.find('\0'));
}

bool OpensSection(std::string_view header, std::string_view section)
{
    const std::string_view text = BeforeNul(header.substr(1));
    const std::size_t bracket = text.find(']');
    return bracket == std::string_view::npos ? BeginsWith(text, section)
                                             : text.substr(0, bracket) == section;
}

// Whether `line` sets `key`, and to what.
bool Match(std::string_view line, std::string_view key, std::string_view& value)
{
    if (!BeginsWith(line, key))
        return false;
    line = BeforeNul(line);
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos ||
        line.substr(0, equals).find_last_not_of(' ') + 1 != key.size())
        return false;
    value = line.substr(std::min(line.find_first_not_of(' ', equals + 1), line.size()));
    value = value.substr(0, value.rfind('\n'));
    return true;
}

// The value lies in the pieces' block.
bool Find(Pieces& pieces, std::string_view section, std::string_view key, std::string_view& value)
{
    for (;;) {
        const std::string_view header = pieces.NextHeader(section);
        if (header.empty())
            return false;
        if (!OpensSection(header, section))
            continue;
        for (;;) {
            const std::string_view line = pieces.Next();
            if (line.empty())
                return false;
            if (line.front() == '[')
                break;
            if (line.front() != ';' && Match(line, key, value))
                return true;
        }
    }
}

// A file as it was, followed by a NUL.
class Snapshot
{
public:
    explicit Snapshot(const char* path)
    {
        const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
        struct stat status;
        if (fd < 0)
            return;
        if (::fstat(fd, &status) == 0) {
            const std::size_t size = static_cast<std::size_t>(status.st_size);
            text_ = static_cast<char*>(std::malloc(size + 1));
            present_ = text_ != nullptr && ::read(fd, text_, size) == static_cast<ssize_t>(size);
            if (present_)
                text_[size_ = size] = '\0';
        }
        (void)::close(fd);
    }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;
    ~Snapshot() { std::free(text_); }

    // Up to the first NUL.
    const char* Text() const { return present_ ? text_ : ""; }

    // The next line without its line feed; false at the end. The benchmark's files end with one.
    bool NextLine(std::string_view& line)
    {
        if (next_ == size_)
            return false;
        line = {text_ + next_, size_ - next_};
        line = line.substr(0, line.find('\n'));
        next_ += line.size() + 1;
        return true;
    }

private:
    char* text_ = nullptr;
    bool present_ = false;
    std::size_t size_ = 0;
    std::size_t next_ = 0;
};

bool HoldsAt(const char* place, std::string_view text)
{
    return std::strncmp(place, text.data(), text.size()) == 0;
}

// The first line "[section]", or the end of the text.
const char* FindHeader(const char* text, std::string_view section)
{
    const char* place = ::strchrnul(text, '[');
    for (; *place != '\0'; place = ::strchrnul(place + 1, '[')) {
        if ((place == text || place[-1] == '\n') && HoldsAt(place + 1, section) &&
            place[1 + section.size()] == ']')
            break;
    }
    return place;
}

// The line after it, or null.
const char* NextLine(const char* place)
{
    const char* const lineFeed = std::strchr(place, '\n');
    return lineFeed == nullptr ? nullptr : lineFeed + 1;
}

// The first line of the key in the section whose lines begin at `line`, or null.
const char* FindKey(const char* line, std::string_view key)
{
    for (; line != nullptr && *line != '\0' && *line != '['; line = NextLine(line)) {
        if (HoldsAt(line, key) && (line[key.size()] == '=' || line[key.size()] == ' '))
            return line;
    }
    return nullptr;
}

bool Write(const char* path, std::string_view before, std::string_view entry,
           std::string_view after)
{
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const auto part = [](std::string_view text) {
        return iovec{const_cast<char*>(text.data()), text.size()};
    };
    const iovec parts[] = {part(before), part(entry), part(after)};
    const ssize_t count = ::writev(fd, parts, 3);
    (void)::close(fd);
    return count == static_cast<ssize_t>(before.size() + entry.size() + after.size());
}

bool Split(std::string_view line, std::string_view& key, std::string_view& value)
{
    const auto equals = line.find('=');
    if (equals == std::string_view::npos || line.front() == ';')
        return false;
    key = line.substr(0, equals);
    while (!key.empty() && key.back() == ' ')
        key.remove_suffix(1);
    value = line.substr(equals + 1);
    while (!value.empty() && value.front() == ' ')
        value.remove_prefix(1);
    return true;
}

void ReadSettings(Setting_Info& settings)
{
    Snapshot file(kSettingsFile);
    bool inside = false;
    std::string_view line, key, value;
    while (file.NextLine(line)) {
        if (!line.empty() && line.front() == '[')
            inside = line == "[APP_SETTING]";
        else if (!inside || !Split(line, key, value))
            continue;
        else if (key == "TraceLevel")
            settings.traceLevel =
                static_cast<unsigned int>(std::strtoul(std::string(value).c_str(), nullptr, 16));
        else if (key == "Lang")
            settings.language = value;
    }
}

void ReadCatalogue(Setting_Info& settings)
{
    const std::string_view textKey = settings.language == "EN" ? "FormatEng" : "Format";
    Snapshot file(kCatalogueFile);
    std::string_view id, format, type, read, event = "0";
    const auto finish = [&] {
        if (format.data() == nullptr)
            return;
        Msg_Info& message = settings.messages[std::string(id)];
        message.format = format;
        message.read = read;
        message.type = type;
        message.event = static_cast<int>(std::strtol(event.data(), nullptr, 10));
        format = {};
    };

    std::string_view line, key, value;
    while (file.NextLine(line)) {
        if (!line.empty() && line.front() == '[') {
            finish();
            id = line.substr(1, line.rfind(']') - 1);
        } else if (Split(line, key, value)) {
            if (key == textKey)
                format = value;
            else if (key == "Type")
                type = value;
            else if (key == "Read")
                read = value;
            else if (key == "Event")
                event = value;
        }
    }
    finish();
}

}  // namespace

std::string LimitValue(const char* path, const std::string& section, const std::string& key)
{
    Pieces pieces(path);
    std::string_view found;
    if (pieces.Opened())
        (void)Find(pieces, section, key, found);
    return std::string(found);
}

std::list<std::string> LimitSections(const char* path)
{
    std::list<std::string> names;
    Pieces pieces(path);
    if (!pieces.Opened())
        return names;
    for (;;) {
        const std::string_view header = pieces.NextHeader("");
        if (header.empty())
            return names;
        const std::string_view text = BeforeNul(header.substr(1));
        names.emplace_back(text.substr(0, text.rfind(']')));
    }
}

void LimitProfileString(const char* section, const char* key, const char* defaultValue,
                        char* buffer, std::size_t size, const char* path)
{
    Pieces pieces(path);
    std::string_view value;
    if (!pieces.Opened() || !Find(pieces, section, key, value))
        value = defaultValue;
    const std::size_t length = std::min(size, value.size());
    std::memcpy(buffer, value.data(), length);
    std::memset(buffer + length, 0, size - length);
}

bool LimitWrite(const char* path, const std::string& section, const std::string& key,
                const std::string& value)
{
    const Snapshot snapshot(path);
    const char* const text = snapshot.Text();

    char entry[1024];
    char* end = entry;
    const auto add = [&end](std::string_view part) {
        std::memcpy(end, part.data(), part.size());
        end += part.size();
    };

    const char* const header = FindHeader(text, section);
    const char* before = header;
    const char* after = header;
    if (*header == '\0') {
        add("[");
        add(section);
        add("]\n");
    } else {
        const char* const body = NextLine(header);
        if (body == nullptr) {
            before = after = header + std::strlen(header);
            add("\n");
        } else if (const char* const line = FindKey(body, key)) {
            before = line;
            after = NextLine(line);
            if (after == nullptr)
                after = "";
        } else {
            before = after = ::strchrnul(body, '[');
        }
    }
    add(key);
    add("=");
    add(value);
    add("\n");
    return Write(path, {text, Distance(text, before)}, {entry, Distance(entry, end)}, after);
}

Setting_Info* LimitSettings()
{
    auto settings = std::make_unique<Setting_Info>();
    ReadSettings(*settings);
    ReadCatalogue(*settings);
    return settings.release();
}

}  // namespace qor::bench
