// The limit: blocks are read into one buffer, each line is judged where it stands, a record is
// built once. What these logs do not hold - NUL bytes, records that are too short - is looked for
// in selected records alone.
#include "log_read_limit.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "support/LogFiles.h"

namespace qor::bench {
namespace {

constexpr std::size_t kPiece = 255;

unsigned long HexValue(const char* digit)
{
    unsigned long value = 0;
    for (;; ++digit) {
        const unsigned decimal = static_cast<unsigned char>(*digit) - unsigned{'0'};
        const unsigned letter = (static_cast<unsigned char>(*digit) | 0x20U) - unsigned{'a'};
        if (decimal < 10)
            value = value << 4 | decimal;
        else if (letter < 6)
            value = value << 4 | (letter + 10);
        else
            return value;
    }
}

// The first "0x" is searched by its "x": stamps are full of zeros. A blank must follow the number.
bool IsSelected(const char* line, std::size_t length, unsigned int type)
{
    const char* const end = line + length;
    const char* x = line;
    do {
        x = static_cast<const char*>(
            std::memchr(x + 1, 'x', static_cast<std::size_t>(end - x - 1)));
        if (x == nullptr)
            return false;
    } while (x[-1] != '0');
    return (HexValue(x + 1) & type) != 0 &&
           std::memchr(x, ' ', static_cast<std::size_t>(end - x)) != nullptr;
}

class LimitReader
{
public:
    LimitReader(const LogQuery& query, const std::string& from, std::list<std::string>& out)
        : query_(query), from_(query.fromDate ? from.c_str() : nullptr), out_(out)
    {
    }

    void Read()
    {
        const int file = ::open(NewestLog().c_str(), O_RDONLY | O_CLOEXEC);
        std::size_t left = 0;  // of a line whose end is not read yet
        for (;;) {
            const ssize_t count = ::read(file, block_ + left, kBlock - left);
            if (count <= 0)
                break;
            left = Lines(left + static_cast<std::size_t>(count));
        }
        if (left > 0)
            Line(block_, left);
        (void)::close(file);
    }

private:
    static constexpr std::size_t kBlock = 32768;

    // Moves what remains to the front and returns its length.
    std::size_t Lines(std::size_t size)
    {
        const char* line = block_;
        const char* const end = block_ + size;
        while (const void* const feed =
                   std::memchr(line, '\n', static_cast<std::size_t>(end - line))) {
            const char* const next = static_cast<const char*>(feed) + 1;
            Line(line, static_cast<std::size_t>(next - line));
            line = next;
        }
        const auto left = static_cast<std::size_t>(end - line);
        std::memmove(block_, line, left);
        return left;
    }

    void Line(const char* line, std::size_t length)
    {
        for (; length > kPiece; line += kPiece, length -= kPiece)
            Piece(line, kPiece);
        Piece(line, length);
    }

    void Piece(const char* line, std::size_t length)
    {
        if (from_ != nullptr && std::memcmp(line, from_, kStampLength) < 0)
            return;
        if (!IsSelected(line, length, query_.type))
            return;
        if (line[length - 1] == '\n')
            --length;
        if (std::memchr(line, '\0', length) != nullptr || length < kBodyOffset)
            std::abort();
        if (taken_++ < query_.count)
            Take(line, length);
    }

    void Take(const char* line, std::size_t length)
    {
        constexpr std::size_t kCode = kBodyOffset - kStampLength - 1;
        std::string& record = out_.emplace_back(line + kCode, length - kCode);
        std::memcpy(&record[0], line, kStampLength + 1);
    }

    const LogQuery& query_;
    const char* const from_;
    std::list<std::string>& out_;
    unsigned int taken_ = 0;
    char block_[kBlock];
};

}  // namespace

std::string NewestLog()
{
    std::string newest;
    DIR* const directory = ::opendir(qor::test::kLogDirectory);
    while (const dirent* const entry = ::readdir(directory)) {
        const char* const name = entry->d_name;
        if (std::strstr(name, "QOR_um_trc") != nullptr && std::strstr(name, ".log") != nullptr &&
            std::strstr(name, ".swp") == nullptr && newest < name)
            newest = name;
    }
    (void)::closedir(directory);
    return qor::test::LogPath(newest);
}

void ReadLogByLimit(const LogQuery& query, const std::string& from, std::list<std::string>& out)
{
    LimitReader(query, from, out).Read();
}

}  // namespace qor::bench
