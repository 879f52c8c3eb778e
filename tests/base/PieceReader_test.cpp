#include "base/PieceReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/Interrupts.h"
#include "support/PrivateDiskTest.h"
#include "support/RandomCases.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kPieces[] = "/opt/pieces.txt";

using Pieces = std::vector<std::string>;

Pieces PiecesOf(int fd)
{
    Pieces pieces;
    PieceReader reader(fd);
    std::string_view piece;
    while (reader.Next(piece))
        pieces.emplace_back(piece);
    return pieces;
}

Pieces PiecesOfFile(const std::string& content)
{
    WriteFile(kPieces, content);
    const OwnedFd file(::open(kPieces, O_RDONLY | O_CLOEXEC));
    return PiecesOf(file.get());
}

Pieces PiecesOfText(std::string_view text)
{
    Pieces pieces;
    while (!text.empty())
        pieces.emplace_back(TakePiece(text));
    return pieces;
}

bool BeginsWith(std::string_view piece, char first, std::string_view rest)
{
    return piece.front() == first && piece.substr(1, rest.size()) == rest;
}

Pieces PiecesBeginningWith(int fd, char first, std::string_view rest)
{
    Pieces pieces;
    PieceReader reader(fd);
    std::string_view piece;
    while (reader.NextBeginningWith(first, rest, piece))
        pieces.emplace_back(piece);
    EXPECT_FALSE(reader.Next(piece)) << "The end is the end.";
    return pieces;
}

// What fgets(3) with 256 bytes makes of the file. Its pieces have no length: no NUL bytes here.
Pieces PiecesOfFgets(const std::string& content)
{
    WriteFile(kPieces, content);
    Pieces pieces;
    char line[256];
    std::FILE* const stream = std::fopen(kPieces, "re");
    while (std::fgets(line, sizeof line, stream) != nullptr)
        pieces.emplace_back(line);
    EXPECT_EQ(0, std::fclose(stream));
    return pieces;
}

std::string Line(std::size_t length)
{
    return std::string(length - 1, 'x') + "\n";
}

class PieceReaderTest : public PrivateDiskTest
{
};

TEST_F(PieceReaderTest, CutsAtLineFeedsAndAt255Bytes)
{
    const std::string x255(255, 'x');
    static const struct {
        std::string content;
        Pieces pieces;
    } cases[] = {
        {"", {}},
        {"\n", {"\n"}},
        {"a", {"a"}},
        {"a\n", {"a\n"}},
        {"a\n\nb", {"a\n", "\n", "b"}},
        {"a\r\nb\r\n", {"a\r\n", "b\r\n"}},
        {"a\0b\nc"s, {"a\0b\n"s, "c"}},
        {"\0"s, {"\0"s}},
        {Line(254), {Line(254)}},
        {Line(255), {Line(255)}},
        {Line(256), {x255, "\n"}},
        {Line(257), {x255, "x\n"}},
        {Line(400), {x255, Line(145)}},
        {Line(510), {x255, Line(255)}},
        {Line(511), {x255, x255, "\n"}},
        {x255, {x255}},
        {x255 + "x", {x255, "x"}},
        {x255 + x255, {x255, x255}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content));
        EXPECT_EQ(c.pieces, PiecesOfFile(c.content));
        EXPECT_EQ(c.pieces, PiecesOfText(c.content));
    }
}

TEST_F(PieceReaderTest, CutsAsFgetsDoesWhateverTheLengths)
{
    constexpr unsigned seed = 20240305;
    std::mt19937 random(seed);
    for (int file = 0; file < 200; ++file) {
        std::string content;
        while (content.size() < 40000)  // more than twice the reader's buffer
            content += Line(1 + random() % (random() % 8 == 0 ? 900 : 60));
        content.resize(content.size() - random() % 300);

        const Pieces expected = PiecesOfFgets(content);
        ASSERT_EQ(expected, PiecesOfFile(content)) << "seed " << seed << ", file " << file;
        ASSERT_EQ(expected, PiecesOfText(content)) << "seed " << seed << ", file " << file;
    }
}

TEST_F(PieceReaderTest, JoinsWhatComesInSmallReads)
{
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_DIRECT | O_CLOEXEC));  // one write is one read, pipe(2)
    const OwnedFd reading(ends[0]);
    OwnedFd writing(ends[1]);
    const std::string content = "key=value\n" + Line(400) + "end";
    for (std::size_t begin = 0; begin < content.size(); begin += 50) {
        const std::string part = content.substr(begin, 50);
        ASSERT_EQ(static_cast<ssize_t>(part.size()),
                  ::write(writing.get(), part.data(), part.size()));
    }
    writing.Reset();

    const Pieces expected = {"key=value\n", std::string(255, 'x'), Line(145), "end"};
    EXPECT_EQ(expected, PiecesOf(reading.get()));
}

TEST_F(PieceReaderTest, GivesPiecesThatStayUntilTheNextCall)
{
    WriteFile(kPieces, "first\nsecond\n");
    const OwnedFd file(::open(kPieces, O_RDONLY | O_CLOEXEC));
    PieceReader reader(file.get());

    std::string_view first;
    ASSERT_TRUE(reader.Next(first));
    WriteFile(kPieces, "XXXXXXXXXXXXX");

    EXPECT_EQ("first\n", first);
}

TEST_F(PieceReaderTest, TakesAReadErrorForTheEnd)
{
    MakeDirs("/opt/directory");
    const OwnedFd directory(::open("/opt/directory", O_RDONLY | O_CLOEXEC));
    ASSERT_LE(0, directory.get());

    EXPECT_EQ(Pieces{}, PiecesOf(directory.get()));
    EXPECT_EQ(Pieces{}, PiecesOf(-1));
}

TEST_F(PieceReaderTest, StaysAtTheEnd)
{
    WriteFile(kPieces, "a\n");
    const OwnedFd file(::open(kPieces, O_RDONLY | O_CLOEXEC));
    PieceReader reader(file.get());
    std::string_view piece;
    ASSERT_TRUE(reader.Next(piece));
    ASSERT_FALSE(reader.Next(piece));

    AppendFile(kPieces, "b\n");
    EXPECT_FALSE(reader.Next(piece));
}

TEST_F(PieceReaderTest, GoesOnReadingAfterASignal)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    EXPECT_EQ(0, ReadInterrupted(kPieces, [] {
                  const OwnedFd file(::open(kPieces, O_RDONLY | O_CLOEXEC));
                  EXPECT_EQ(Pieces{"text"}, PiecesOf(file.get()));
                  return 0;
              }));
}

TEST_F(PieceReaderTest, PassesOverPiecesThatBeginOtherwise)
{
    const std::string x254(254, 'x');
    const std::string x255(255, 'x');
    const std::string a300 = "[" + std::string(300, 'a');
    static const struct {
        std::string content;
        std::string rest;
        Pieces pieces;
    } cases[] = {
        {"", "", {}},
        {"[", "", {"["}},
        {"[", "a", {}},
        {"a\n[b]\nc[d\n[e", "", {"[b]\n", "[e"}},
        {"[[a\n[\n", "", {"[[a\n", "[\n"}},
        {"[a]\n[ab]\n[b]\n[abc", "ab", {"[ab]\n", "[abc"}},
        {" [a\n", "a", {}},
        {"[a\n", "a\n", {"[a\n"}},
        {"[a\nb\n", "a\nb", {}},
        {"[a\0b\n[a\0c"s, "a\0c"s, {"[a\0c"s}},
        {"\0[a\n\0\n[a"s, "a", {"[a"}},
        {x254 + "[a\n", "a", {}},
        {x255 + "[a\n", "a", {"[a\n"}},
        {x254 + "\n[a\n", "a", {"[a\n"}},
        {x255 + "\n[a\n", "a", {"[a\n"}},
        {x255 + x254 + "[a\n", "a", {}},
        {x255 + x255 + "[a\n", "a", {"[a\n"}},
        {x255 + x255 + "x[a\n", "a", {}},
        {"\n" + x255 + x255 + "[a\n", "a", {"[a\n"}},
        {a300, a300.substr(1, 254), {a300.substr(0, 255)}},
        {a300, a300.substr(1, 255), {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.content) + " " + testing::PrintToString(c.rest));
        WriteFile(kPieces, c.content);
        const OwnedFd file(::open(kPieces, O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(c.pieces, PiecesBeginningWith(file.get(), '[', c.rest));
    }
}

TEST_F(PieceReaderTest, FindsABeginningThatComesInSmallReads)
{
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_DIRECT | O_CLOEXEC));
    const OwnedFd reading(ends[0]);
    OwnedFd writing(ends[1]);
    for (const std::string part : {"x[a", "b\n[", "a", "b", "c]\n[a]\n[", "ax\n", "[ab", "d"})
        ASSERT_EQ(static_cast<ssize_t>(part.size()),
                  ::write(writing.get(), part.data(), part.size()));
    writing.Reset();

    const Pieces expected = {"[abc]\n", "[abd"};
    EXPECT_EQ(expected, PiecesBeginningWith(reading.get(), '[', "ab"));
}

// Lines of few different bytes, so that beginnings stand everywhere, and longer than any block.
std::string RandomContent(std::mt19937& random)
{
    static const std::string bytes("[[aab=\0", 7);
    std::string content;
    while (content.size() < 80000) {
        const bool isLong = random() % 4 == 0;
        const std::size_t length = isLong ? 250 + random() % 900 : random() % 30;
        for (std::size_t i = 0; i < length; ++i)
            content += isLong && random() % 8 != 0 ? 'x' : bytes[random() % bytes.size()];
        content += '\n';
    }
    content.resize(content.size() - random() % 300);
    return content;
}

TEST_F(PieceReaderTest, PassesOverWhatItWouldHaveGivenWhateverTheOrder)
{
    constexpr unsigned seed = 20240306;
    static const std::string rests[] = {"", "a", "ab", "[", "xxxxxxxx", std::string("a\0", 2)};
    std::mt19937 random(seed);
    for (unsigned round = 0; round < RandomCases(3); ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        const Pieces all = PiecesOfFile(RandomContent(random));
        const OwnedFd file(::open(kPieces, O_RDONLY | O_CLOEXEC));
        PieceReader reader(file.get());
        const std::string& rest = rests[random() % 6];
        const unsigned chances = 1 + random() % 4;

        auto next = all.begin();
        std::string_view piece;
        for (;;) {
            const bool any = random() % chances != 0;
            while (!any && next != all.end() && !BeginsWith(*next, '[', rest))
                ++next;
            const bool given =
                any ? reader.Next(piece) : reader.NextBeginningWith('[', rest, piece);
            ASSERT_EQ(next != all.end(), given);
            if (!given)
                break;
            ASSERT_EQ(*next++, piece);
        }
    }
}

TEST(TakePiecesBeforeTest, TakesWhatIsInFrontOfAPieceThatBeginsSo)
{
    const std::string x254(254, 'x');
    static const struct {
        std::string text;
        std::size_t taken;
    } cases[] = {
        {"", 0},
        {"[", 0},
        {"a", 1},
        {"a[\n[b", 3},
        {"\0[\n[b"s, 3},
        {x254 + "[\n", 256},
        {x254 + "x[\n", 255},
        {x254 + "\n[\n", 255},
        {x254 + "x[" + x254 + "[", 255},
        {x254 + "[" + x254 + "x[", 510},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        std::string_view text = c.text;
        EXPECT_EQ(c.text.substr(0, c.taken), TakePiecesBefore('[', text));
        EXPECT_EQ(c.text.substr(c.taken), text);
    }
}

TEST(TakePiecesBeforeTest, TakesWholePiecesOfRandomTexts)
{
    constexpr unsigned seed = 20261122;
    std::mt19937 random(seed);
    for (unsigned round = 0; round < RandomCases(3); ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        const std::string content = RandomContent(random);
        std::string_view text = content;
        std::string_view rest = content;
        while (!rest.empty()) {
            std::string expected;
            while (!rest.empty() && rest.front() != '[')
                expected += TakePiece(rest);
            ASSERT_EQ(expected, TakePiecesBefore('[', text));
            ASSERT_EQ(TakePiece(rest), TakePiece(text));
        }
        EXPECT_EQ("", text);
    }
}

TEST(BeforeNulTest, CutsAtTheFirstNul)
{
    EXPECT_EQ("", BeforeNul(""));
    EXPECT_EQ("ab\n", BeforeNul("ab\n"));
    EXPECT_EQ("a", BeforeNul("a\0b\0c"s));
    EXPECT_EQ("", BeforeNul("\0b"s));
}

}  // namespace
}  // namespace qor::test
