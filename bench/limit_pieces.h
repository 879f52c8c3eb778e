// limit_pieces.h - a file's lines, in pieces of at most 255 bytes, read block by block and no
// further than they are asked for.
#ifndef QOR_BENCH_LIMIT_PIECES_H
#define QOR_BENCH_LIMIT_PIECES_H

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace qor::bench {

inline constexpr std::size_t kPiece = 255;
inline constexpr std::size_t kFirstRead = 4096;  // most files are no longer
inline constexpr std::size_t kBlock = 65536;

inline std::size_t Distance(const char* from, const char* to)
{
    return static_cast<std::size_t>(to - from);
}

inline bool BeginsWith(std::string_view text, std::string_view begin)
{
    return text.substr(0, begin.size()) == begin;
}

class Pieces
{
public:
    explicit Pieces(const char* path) : fd_(::open(path, O_RDONLY | O_CLOEXEC)) {}
    Pieces(const Pieces&) = delete;
    Pieces& operator=(const Pieces&) = delete;
    ~Pieces()
    {
        if (fd_ >= 0)
            (void)::close(fd_);
    }

    bool Opened() const { return fd_ >= 0; }

    // The next piece that begins with "[" and `name`; empty at the end.
    std::string_view NextHeader(std::string_view name)
    {
        for (;;) {
            const char* scan = piece_;
            while (const void* found = std::memchr(scan, '[', Distance(scan, end_))) {
                const char* const header = static_cast<const char*>(found);
                scan = header + 1;
                if (!BeginsWith({scan, Distance(scan, end_)}, name) || !PieceBeginsAt(header))
                    continue;
                const std::string_view piece = Next();
                if (piece.size() > name.size())
                    return piece;
                scan = piece_;
            }
            (void)PieceBeginsAt(end_);
            if (!Read())
                return {};
        }
    }

    // The next piece; empty at the end.
    std::string_view Next()
    {
        for (;;) {
            const std::size_t window = std::min(kPiece, Distance(piece_, end_));
            const void* const lineFeed = std::memchr(piece_, '\n', window);
            std::size_t length = window;
            if (lineFeed != nullptr)
                length = Distance(piece_, static_cast<const char*>(lineFeed)) + 1;
            else if (window < kPiece && Read())
                continue;
            const std::string_view piece(piece_, length);
            piece_ += length;
            return piece;
        }
    }

private:
    // Goes on to the last piece that begins at `place` or before it.
    bool PieceBeginsAt(const char* place)
    {
        if (const void* const lineFeed = ::memrchr(piece_, '\n', Distance(piece_, place)))
            piece_ = static_cast<const char*>(lineFeed) + 1;
        piece_ += Distance(piece_, place) / kPiece * kPiece;
        return piece_ == place;
    }

    bool Read()
    {
        const std::size_t left = Distance(piece_, end_);
        std::memmove(block_, piece_, left);
        const ssize_t count = ::read(fd_, block_ + left, std::min(wanted_, kBlock - left));
        wanted_ = kBlock;
        piece_ = block_;
        end_ = block_ + left + std::max<ssize_t>(count, 0);
        return count > 0;
    }

    int fd_;
    std::size_t wanted_ = kFirstRead;
    const char* piece_ = block_;
    const char* end_ = block_;
    char block_[kBlock];
};

}  // namespace qor::bench

#endif  // QOR_BENCH_LIMIT_PIECES_H
