// The client's half that sends: each step, its records, names that are taken.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "CFileTransfer.h"
#include "support/Cancellation.h"
#include "support/FrozenTime.h"
#include "support/SmallDisk.h"
#include "transfer/ChannelTest.h"
#include "transfer/CountedSleep.h"

namespace {

// While it exists, renames to names that end in `ending` fail when they must not replace anything:
// with EINVAL on a file system that cannot refuse a name that is taken (rename(2)). Given another
// errno, plain renames fail, too.
class FailingRenames
{
public:
    explicit FailingRenames(std::string ending = "", int error = EINVAL)
        : ending_(std::move(ending)), error_(error)
    {
        current_ = this;
    }
    FailingRenames(const FailingRenames&) = delete;
    FailingRenames& operator=(const FailingRenames&) = delete;
    ~FailingRenames() { current_ = nullptr; }

    // 0: the rename goes on.
    static int ErrorOf(const std::string& to, unsigned int flags)
    {
        const bool fails = current_ != nullptr && (flags != 0 || current_->error_ != EINVAL) &&
                           to.size() >= current_->ending_.size() &&
                           to.compare(to.size() - current_->ending_.size(), std::string::npos,
                                      current_->ending_) == 0;
        return fails ? current_->error_ : 0;
    }

private:
    std::string ending_;
    int error_;
    inline static const FailingRenames* current_ = nullptr;
};

int Rename(const char* from, const char* to, unsigned int flags)
{
    if (const int error = FailingRenames::ErrorOf(to, flags)) {
        errno = error;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, flags));
}

}  // namespace

extern "C" int renameat2(int, const char* from, int, const char* to, unsigned int flags) noexcept
{
    return Rename(from, to, flags);
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    return Rename(from, to, 0);
}

namespace qor::test {
namespace {

// The clock of a message named kTmp and kSnd.
const std::vector<timeval> kMoving{{1700000000, 42}, {1700000000, 43}};

class CFileTransferSendTest : public ChannelTest
{
protected:
    CFileTransfer channel_{kTag, kConfig};
};

TEST_F(CFileTransferSendTest, PublishesTheMessage)
{
    const FrozenTime clock(kMoving);

    EXPECT_EQ(7, channel_.SendMessage("request"));

    EXPECT_EQ(Texts{kSnd}, ListDir(kClientDir));
    EXPECT_EQ("request", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(mode_t{0750}, FileMode(InClientDir(kSnd)));
    EXPECT_EQ(kSnd, CurrentFile(channel_));
    EXPECT_TRUE(ListDir(kServerDir).empty());
}

TEST_F(CFileTransferSendTest, WritesMessagesOfAnyBytesAndLength)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    for (const std::string& message : {std::string(), bytes, std::string(1024 * 1024, 'm')}) {
        SCOPED_TRACE(message.size());
        EXPECT_EQ(static_cast<int>(message.size()), channel_.SendMessage(message));
        EXPECT_EQ(message, ReadFile(InClientDir(CurrentFile(channel_))));
    }
}

TEST_F(CFileTransferSendTest, GivesTheFileToTheGroupToo)
{
    const mode_t mask = ::umask(0);
    EXPECT_EQ(4, channel_.SendMessage("text"));
    (void)::umask(mask);

    EXPECT_EQ(mode_t{0770}, FileMode(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, TracesEachStep)
{
    const FrozenTime clock(kMoving);

    (void)channel_.SendMessage("request");

    EXPECT_EQ((Texts{Func("[ENTER] " + kSend), Info("- client-send LENGTH=7"), Info("\trequest"),
                     Info(kSend + " send file saved to " + InClientDir(kSnd) + " (7)"),
                     Func("[LEAVE] " + kSend)}),
              Records());
}

TEST_F(CFileTransferSendTest, TracesUnderItsTag)
{
    CFileTransfer channel("cli", kConfig);

    (void)channel.SendMessage("request");

    EXPECT_EQ(5U, Records("cli").size());
    EXPECT_TRUE(LogFileNames(kTag, kDebugLog).empty());
}

TEST_F(CFileTransferSendTest, TracesTheBodyInPieces)
{
    static const struct {
        std::string body;
        Texts pieces;
    } cases[] = {
        {"", {}},
        {std::string(1023, 'a'), {std::string(1023, 'a')}},
        {std::string(1024, 'a'), {std::string(1024, 'a')}},
        {std::string(1024, 'a') + "b", {std::string(1024, 'a'), "b"}},
        {std::string(1024, 'a') + std::string(1024, 'b') + "c",
         {std::string(1024, 'a'), std::string(1024, 'b'), "c"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body.size());
        EmptyDirectory(kLogDirectory);
        (void)channel_.SendMessage(c.body);

        const Texts records = Records();
        ASSERT_EQ(4 + c.pieces.size(), records.size());
        for (std::size_t i = 0; i < c.pieces.size(); ++i)
            EXPECT_EQ(Info("\t" + c.pieces[i]), records[2 + i]);
    }
}

// The bytes after a NUL are sent, but not traced; the next piece begins as always.
TEST_F(CFileTransferSendTest, TracesAPieceUpToItsFirstNul)
{
    std::string message = std::string("ab\0cd", 5) + std::string(1019, 'e') + "next";

    EXPECT_EQ(1028, channel_.SendMessage(message));

    EXPECT_EQ(message, ReadFile(InClientDir(CurrentFile(channel_))));
    const Texts records = Records();
    ASSERT_EQ(6U, records.size());
    EXPECT_EQ(Info("- client-send LENGTH=1028"), records[1]);
    EXPECT_EQ(Info("\tab"), records[2]);
    EXPECT_EQ(Info("\tnext"), records[3]);
}

TEST_F(CFileTransferSendTest, TracesFormatCharactersAsTheyAre)
{
    (void)channel_.SendMessage("100%s %n%%");
    EXPECT_EQ(Info("\t100%s %n%%"), Records().at(2));
}

TEST_F(CFileTransferSendTest, TakesAFreshStampForANameThatExists)
{
    WriteFile(InClientDir(kTmp), "somebody else's");
    const CountedSleep sleep;
    const FrozenTime clock(
        {{1700000000, 42}, {1700000000, 42}, {1700000000, 43}, {1700000000, 44}});

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ("somebody else's", ReadFile(InClientDir(kTmp)));
    EXPECT_EQ("00001700000000000043som.snd", CurrentFile(channel_));
    EXPECT_EQ("mine", ReadFile(InClientDir("00001700000000000043som.snd")));
    EXPECT_EQ(5U, Records().size());
}

TEST_F(CFileTransferSendTest, FailsWithoutAClientDirectory)
{
    channel_.SetCurrentFile("former.snd");
    RemoveTree(kClientDir);

    const int result = channel_.SendMessage("text");
    const int error = errno;

    EXPECT_EQ(-1, result);
    EXPECT_EQ(ENOENT, error);
    EXPECT_EQ("former.snd", CurrentFile(channel_));
    EXPECT_EQ((Texts{Func("[ENTER] " + kSend), Info("- client-send LENGTH=4"), Info("\ttext"),
                     Fail(kSend + " file create error (No such file or directory)")}),
              Records());
}

TEST_F(CFileTransferSendTest, FailsOnAReadOnlyDisk)
{
    SmallDisk disk(kClientDir, 64 * 1024);
    disk.MakeReadOnly();

    EXPECT_EQ(-1, channel_.SendMessage("text"));

    EXPECT_EQ(Fail(kSend + " file create error (Read-only file system)"), Records().back());
    EXPECT_TRUE(ListDir(kClientDir).empty());
}

TEST_F(CFileTransferSendTest, LeavesTheTemporaryFileOnAFullDisk)
{
    SmallDisk disk(kClientDir, 64 * 1024);
    disk.Fill();
    channel_.SetCurrentFile("former.snd");
    const FrozenTime clock(kMoving);

    const int result = channel_.SendMessage("text");
    const int error = errno;

    EXPECT_EQ(-1, result);
    EXPECT_EQ(ENOSPC, error);
    EXPECT_EQ((Texts{kTmp, "filler"}), ListDir(kClientDir));
    EXPECT_EQ("former.snd", CurrentFile(channel_));
    EXPECT_EQ((Texts{Func("[ENTER] " + kSend), Info("- client-send LENGTH=4"), Info("\ttext"),
                     Fail(kSend + " data write error (No space left on device, -1)")}),
              Records());
}

// One write is all there is: what did not fit is not tried again.
TEST_F(CFileTransferSendTest, FailsWhenOnlyAPartFits)
{
    const SmallDisk disk(kClientDir, 64 * 1024);
    const FrozenTime clock(kMoving);

    EXPECT_EQ(-1, channel_.SendMessage(std::string(200 * 1024, 'm')));

    ASSERT_EQ(Texts{kTmp}, ListDir(kClientDir));
    const std::uint64_t written = FileSize(InClientDir(kTmp));
    EXPECT_LT(0U, written);
    EXPECT_EQ(Fail(kSend + " data write error (Success, " + std::to_string(written) + ")"),
              Records().back());
}

// Another client of the tag drew the same stamp and was faster, or drew it before the clock was set
// back.
TEST_F(CFileTransferSendTest, DrawsAFreshStampWhereTheNameIsTaken)
{
    const std::string name = "00001700000000000043som.snd";
    for (const bool refuses : {true, false}) {
        SCOPED_TRACE(refuses ? "" : "a file system that cannot refuse a taken name");
        EmptyDirectory(kClientDir);
        WriteFile(InClientDir(kSnd), "the other's");
        const FrozenTime clock({{1700000000, 42},
                                {1700000000, 43},
                                {1700000000, 43},
                                {1700000000, 43},
                                {1700000000, 44}});
        std::optional<FailingRenames> plain;
        if (!refuses)
            plain.emplace();

        EXPECT_EQ(4, channel_.SendMessage("mine"));

        EXPECT_EQ((Texts{kSnd, name}), ListDir(kClientDir));
        EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
        EXPECT_EQ("mine", ReadFile(InClientDir(name)));
        EXPECT_EQ(name, CurrentFile(channel_));
    }
}

// Another's request lies under the name that the first stamp gives: its response is not ours.
TEST_F(CFileTransferSendTest, KeepsToANameOfItsOwnWhereTheFreshRenameFails)
{
    WriteFile(InClientDir(kSnd), "the other's");
    const FrozenTime clock({{1700000000, 42}, {1700000000, 42}, {1700000000, 43}});
    const FailingRenames broken(".tmp", EIO);

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ("00001700000000000043som.snd", CurrentFile(channel_));
    EXPECT_EQ((Texts{kSnd, kTmp}), ListDir(kClientDir));
    EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(Fail(kSend + " " + InClientDir(kTmp) + " rename failed (Input/output error)"),
              Records().at(3));
}

// Held up between drawing the stamp and creating the file, while others of the stamp publish.
TEST_F(CFileTransferSendTest, DrawsAFreshStampForAnOldOne)
{
    {
        const FrozenTime clock(
            {{1700000000, 0}, {1700000000, 201}, {1700000000, 1000}, {1700000000, 1400}});
        EXPECT_EQ(4, channel_.SendMessage("mine"));
        EXPECT_EQ(Texts{"00001700000000001000som.snd"}, ListDir(kClientDir));
    }
    EmptyDirectory(kClientDir);
    std::vector<timeval> moments;  // of a disk that takes a second for a file
    for (std::time_t i = 0; i < 40; ++i)
        moments.push_back({1700000000 + i, 0});
    const FrozenTime clock(moments);
    EXPECT_EQ(4, channel_.SendMessage("mine"));
    EXPECT_EQ(Texts{"00001700000020000000som.snd"}, ListDir(kClientDir));
}

// Nobody else can draw the stamp once the request is published.
TEST_F(CFileTransferSendTest, PublishesOnlyWhenTheClockHasMoved)
{
    std::vector<timeval> moments(4, {1700000000, 42});
    moments.push_back({1700000000, 142});
    const FrozenTime clock(moments);
    const CountedSleep sleep([] { EXPECT_EQ(Texts{kTmp}, ListDir(kClientDir)); });

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ(std::vector<useconds_t>(2, 100), sleep.Sleeps());
    EXPECT_EQ(Texts{kSnd}, ListDir(kClientDir));
}

TEST_F(CFileTransferSendTest, PublishesAllTheSameWhereTheClockStandsStill)
{
    const FrozenTime clock(1700000000, 42);
    const CountedSleep sleep;

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ(500U, sleep.Count());
    EXPECT_EQ("mine", ReadFile(InClientDir(kSnd)));
}

TEST_F(CFileTransferSendTest, FailsWhereARequestHasTheNameAndTheClockStandsStill)
{
    WriteFile(InClientDir(kSnd), "the other's");
    channel_.SetCurrentFile("former.snd");
    const FrozenTime clock(1700000000, 42);
    const CountedSleep sleep;

    const int result = channel_.SendMessage("mine");
    const int error = errno;

    EXPECT_EQ(-1, result);
    EXPECT_EQ(EEXIST, error);
    EXPECT_EQ(800U, sleep.Count());
    EXPECT_EQ(Texts{kSnd}, ListDir(kClientDir));
    EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ("former.snd", CurrentFile(channel_));
    EXPECT_EQ(Fail(kSend + " " + InClientDir(kTmp) + " rename failed (File exists)"),
              Records().back());
}

// Both clients find the clock where it was for a while: each request gets a name of its own.
TEST_F(CFileTransferSendTest, WaitsForTheClockWhereANameIsTaken)
{
    WriteFile(InClientDir(kSnd), "the other's");
    std::vector<timeval> moments(700, {1700000000, 42});
    moments.push_back({1700000001, 42});
    moments.push_back({1700000001, 43});
    const FrozenTime clock(moments);
    const CountedSleep sleep;

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(2U, ListDir(kClientDir).size());
    EXPECT_EQ("mine", ReadFile(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, SucceedsAlthoughTheRenameFails)
{
    MakeDirs(InClientDir(kSnd));
    const FrozenTime clock(1700000000, 42);
    const CountedSleep sleep;

    EXPECT_EQ(4, channel_.SendMessage("text"));

    EXPECT_EQ((Texts{kSnd, kTmp}), ListDir(kClientDir));
    EXPECT_EQ("text", ReadFile(InClientDir(kTmp)));
    EXPECT_EQ(kSnd, CurrentFile(channel_));
    EXPECT_EQ((Texts{Func("[ENTER] " + kSend), Info("- client-send LENGTH=4"), Info("\ttext"),
                     Fail(kSend + " " + InClientDir(kTmp) + " rename failed (Is a directory)"),
                     Info(kSend + " send file saved to " + InClientDir(kSnd) + " (4)"),
                     Func("[LEAVE] " + kSend)}),
              Records());
}

TEST_F(CFileTransferSendTest, ReplacesTheCurrentFile)
{
    const FrozenTime clock(
        {{1700000000, 42}, {1700000000, 43}, {1700000000, 43}, {1700000000, 43}, {1700000000, 44}});
    (void)channel_.SendMessage("first");
    (void)channel_.SendMessage("second");

    EXPECT_EQ("00001700000000000043som.snd", CurrentFile(channel_));
    EXPECT_EQ((Texts{kSnd, "00001700000000000043som.snd"}), ListDir(kClientDir));
}

// Cancellation.

TEST_F(CFileTransferSendTest, IsCompleteOnACancelledThread)
{
    const FrozenTime clock(kMoving);

    ExpectCompleteWhenCancelled([&] { EXPECT_EQ(4, channel_.SendMessage("text")); });
    EXPECT_EQ("text", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(5U, Records().size());
}

// One request has the first name, and another client writes under the second.
TEST_F(CFileTransferSendTest, RemovesItsFileWhenCancelledWhileItWaitsForAName)
{
    const std::string others = "00001700000000000043som.tmp";
    WriteFile(InClientDir(kSnd), "a request");
    WriteFile(InClientDir(others), "another client's");
    const FrozenTime clock(kMoving);
    const CountedSleep sleep([] { ::pthread_testcancel(); });

    const auto run = RunCancelled([&] { (void)channel_.SendMessage("text"); });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ((Texts{kSnd, others}), ListDir(kClientDir));
}

}  // namespace
}  // namespace qor::test
