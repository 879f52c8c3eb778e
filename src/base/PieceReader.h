// PieceReader.h - reads a file line by line, in pieces of limited length, without allocating.
//
// The pieces are those of fgets(3) with a 256-byte buffer: up to and with the line feed, at most
// 255 bytes; a longer line comes as several pieces.
#ifndef QOR_BASE_PIECEREADER_H
#define QOR_BASE_PIECEREADER_H

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

// Takes the next piece off the front of a complete text; empty at its end.
inline std::string_view TakePiece(std::string_view& text)
{
    const std::string_view window = text.substr(0, kMaxPiece);
    const auto lineFeed = window.find('\n');
    const std::string_view piece = window.substr(
        0, lineFeed == std::string_view::npos ? std::string_view::npos : lineFeed + 1);
    text.remove_prefix(piece.size());
    return piece;
}

// The beginning of the last piece that begins at `place` or before it. `begin` is the beginning of
// a piece: of a line, or a multiple of kMaxPiece after it.
inline const char* LastPieceAt(const char* begin, const char* place)
{
    const auto distance = [&] { return static_cast<std::size_t>(place - begin); };
    if (const void* const lineFeed = ::memrchr(begin, '\n', distance()))
        begin = static_cast<const char*>(lineFeed) + 1;
    return begin + distance() / kMaxPiece * kMaxPiece;
}

// Takes off the front of a complete text the pieces before the next one that begins with `first`;
// all pieces if none does.
inline std::string_view TakePiecesBefore(char first, std::string_view& text)
{
    const char* piece = text.data();
    std::size_t length = text.find(first);
    while (length != std::string_view::npos) {
        const char* const found = text.data() + length;
        piece = LastPieceAt(piece, found);
        if (piece == found)
            break;
        length = text.find(first, length + 1);
    }
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(taken.size());
    return taken;
}

// kBlock: the bytes of one read, which the object holds.
template <std::size_t kBlock>
class PieceReaderOf
{
public:
    // fd: open for reading, borrowed.
    // cppcheck-suppress uninitMemberVar ; the block is read only where it was filled
    explicit PieceReaderOf(int fd) : fd_(fd) {}

    PieceReaderOf(const PieceReaderOf&) = delete;
    PieceReaderOf& operator=(const PieceReaderOf&) = delete;

    // Sets `piece` to the next piece, never empty, valid until the next call. False at the end of
    // the file; a read error counts as the end.
    bool Next(std::string_view& piece)
    {
        std::size_t length = WholePiece();
        while (length == 0 && Fill())
            length = WholePiece();
        if (length == 0)
            length = Distance(begin_, end_);  // the last piece, or nothing
        if (length == 0)
            return false;

        piece = std::string_view(begin_, length);
        begin_ += length;
        return true;
    }

    // As Next, but passes over the pieces that do not begin with `first` and then `rest`. It finds
    // `first` with memchr(3) and then asks whether a piece begins there (SkipTo), instead of
    // looking for the end of each piece. Meant for a `first` that is rare.
    bool NextBeginningWith(char first, std::string_view rest, std::string_view& piece)
    {
        do {
            while (SkipToCandidate(first, rest)) {
                if (Next(piece) && piece.size() > rest.size())  // or it ends within `rest`
                    return true;
            }
        } while (Fill());
        begin_ = end_;
        return false;
    }

private:
    static constexpr std::size_t kFirstRead = 4096;  // most files are no longer

    static std::size_t Distance(const char* from, const char* to)
    {
        return static_cast<std::size_t>(to - from);
    }

    // Length of the next piece; 0 when its end is not in the block.
    std::size_t WholePiece() const
    {
        const std::size_t window = std::min(Distance(begin_, end_), kMaxPiece);
        if (const void* const lineFeed = std::memchr(begin_, '\n', window))
            return Distance(begin_, static_cast<const char*>(lineFeed)) + 1;
        return window == kMaxPiece ? window : 0;
    }

    // Goes to the next piece that begins with `first` and then `rest`. Without one in the block,
    // goes to the beginning of the last piece there: its end, or the end of `rest`, may not be read
    // yet, so it is examined again after the next Fill.
    bool SkipToCandidate(char first, std::string_view rest)
    {
        const char* scan = begin_;
        while (const void* const found = std::memchr(scan, first, Distance(scan, end_))) {
            scan = static_cast<const char*>(found) + 1;
            const std::string_view after(scan, Distance(scan, end_));
            if (after.substr(0, rest.size()) == rest && SkipTo(scan - 1))
                return true;
        }
        (void)SkipTo(end_);
        return false;
    }

    // Passes over the pieces that end at `place` or before it. True when a piece begins there.
    bool SkipTo(const char* place)
    {
        begin_ = LastPieceAt(begin_, place);
        return begin_ == place;
    }

    // Moves what is left to the front of the block and reads more after it. False at the end of the
    // file. What is left is less than a piece, so there is room.
    bool Fill()
    {
        if (atEnd_)
            return false;
        const std::size_t left = Distance(begin_, end_);
        std::memmove(block_, begin_, left);

        ssize_t count;
        do {
            count = ::read(fd_, block_ + left, std::min(wanted_, kBlock - left));
        } while (count < 0 && errno == EINTR);
        atEnd_ = count <= 0;
        wanted_ = kBlock;
        begin_ = block_;
        end_ = block_ + left + (atEnd_ ? 0 : count);
        return !atEnd_;
    }

    int fd_;
    bool atEnd_ = false;
    std::size_t wanted_ = kFirstRead;  // of the next read
    const char* begin_ = block_;       // of the bytes not yet returned: a piece begins here
    const char* end_ = block_;
    char block_[kBlock];
};

using PieceReader = PieceReaderOf<16384>;  // for the stack

}  // namespace qor

#endif  // QOR_BASE_PIECEREADER_H
