// PieceReader.h - reads a file line by line, in pieces of limited length, without allocating.
//
// The pieces are those of fgets(3) with a 256-byte buffer: up to and with the line feed, at most
// 255 bytes; a longer line comes as several pieces.
#ifndef QOR_UTIL_PIECEREADER_H
#define QOR_UTIL_PIECEREADER_H

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace qor {

constexpr std::size_t kMaxPiece = 255;

// What the C string functions see of a piece: the bytes before its first NUL.
inline std::string_view BeforeNul(std::string_view piece)
{
    return piece.substr(0, piece.find('\0'));
}

// Takes the next piece off the front of a text that is complete; empty at its end.
inline std::string_view TakePiece(std::string_view& text)
{
    const std::string_view window = text.substr(0, kMaxPiece);
    const auto lineFeed = window.find('\n');
    const std::string_view piece = window.substr(
        0, lineFeed == std::string_view::npos ? std::string_view::npos : lineFeed + 1);
    text.remove_prefix(piece.size());
    return piece;
}

class PieceReader
{
public:
    // fd: open for reading, borrowed.
    explicit PieceReader(int fd) : fd_(fd) {}

    // Sets `piece` to the next piece, never empty, valid until the next call. False at the end of
    // the file; a read error counts as the end.
    bool Next(std::string_view& piece)
    {
        for (;;) {
            const std::size_t window = std::min(end_ - begin_, kMaxPiece);
            const char* const start = buffer_ + begin_;
            const void* const lineFeed = std::memchr(start, '\n', window);

            std::size_t length = 0;
            if (lineFeed != nullptr)
                length = static_cast<std::size_t>(static_cast<const char*>(lineFeed) - start) + 1;
            else if (window == kMaxPiece || atEnd_)
                length = window;

            if (length > 0) {
                piece = std::string_view(start, length);
                begin_ += length;
                return true;
            }
            if (atEnd_)
                return false;
            Fill();
        }
    }

private:
    void Fill()
    {
        const std::size_t left = end_ - begin_;
        std::memmove(buffer_, buffer_ + begin_, left);
        begin_ = 0;
        end_ = left;

        ssize_t count;
        do {
            count = ::read(fd_, buffer_ + end_, sizeof buffer_ - end_);
        } while (count < 0 && errno == EINTR);
        if (count > 0)
            end_ += static_cast<std::size_t>(count);
        else
            atEnd_ = true;
    }

    int fd_;
    bool atEnd_ = false;
    std::size_t begin_ = 0;  // of the bytes not yet handed out
    std::size_t end_ = 0;
    char buffer_[16384];
};

}  // namespace qor

#endif  // QOR_UTIL_PIECEREADER_H
