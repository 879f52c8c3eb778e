// The client's half that waits for a response and reads it.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "CFileTransfer.h"
#include "CTraceUtility.h"
#include "support/Cancellation.h"
#include "support/FrozenTime.h"
#include "support/SmallDisk.h"
#include "support/WithoutPrivileges.h"
#include "transfer/ChannelTest.h"
#include "transfer/CountedSleep.h"

namespace qor::test {
namespace {

// A buffer with one byte in front and some after it, all "#".
class Buffer
{
public:
    explicit Buffer(int size) : size_(size), bytes_(static_cast<std::size_t>(size) + 4, '#') {}

    char* data() { return &bytes_[1]; }
    int size() const { return size_; }

    char Front() const { return bytes_[0]; }
    std::string Bytes() const { return bytes_.substr(1); }

private:
    int size_;
    std::string bytes_;
};

class CFileTransferReceiveTest : public ChannelTest
{
protected:
    CFileTransferReceiveTest()
    {
        MakeDirs(kClientDir);
        MakeDirs(kServerDir);
    }

    // A channel that has just sent `name`.
    static CFileTransfer Sender(const std::string& name = kSnd)
    {
        CFileTransfer channel(kTag, kConfig);
        channel.SetCurrentFile(name);
        return channel;
    }

    // Receives as such a channel, in a new buffer.
    int Receive(int size = 10)
    {
        CFileTransfer channel = Sender();
        return Receive(channel, size);
    }
    int Receive(CFileTransfer& channel, int size = 10)
    {
        buffer_ = Buffer(size);
        return channel.RecvMessage(buffer_.data(), size, 0);
    }

    Buffer buffer_{0};

    const std::string request_ = InClientDir(kSnd);
    const std::string response_ = InServerDir(kSnd);
    const std::string enter_ = Func("[ENTER] " + kRecv);
    const std::string wait_ = Info(kRecv + " wait for " + response_);
};

TEST_F(CFileTransferReceiveTest, ReadsAndDeletesTheResponse)
{
    WriteFile(response_, "answer");
    WriteFile(InServerDir("other.snd"), "for somebody else");
    CFileTransfer channel = Sender();

    EXPECT_EQ(6, Receive(channel));

    EXPECT_EQ(std::string("answer\0######", 13), buffer_.Bytes());
    EXPECT_EQ('#', buffer_.Front());
    EXPECT_EQ(Texts{"other.snd"}, ListDir(kServerDir));
    EXPECT_EQ(kSnd, CurrentFile(channel));
}

TEST_F(CFileTransferReceiveTest, TracesEachStep)
{
    WriteFile(response_, "answer");

    (void)Receive();

    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=6: " + response_), Info("\tanswer"),
                     Func("[LEAVE] " + kRecv + ", rc=6")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, DoesNotSleepForAResponseThatIsThere)
{
    WriteFile(response_, "answer");
    const CountedSleep sleep;

    EXPECT_EQ(6, Receive());

    EXPECT_EQ(0U, sleep.Count());
}

TEST_F(CFileTransferReceiveTest, IgnoresItsThirdArgument)
{
    for (const int ignored : {INT_MIN, -1, 0, 1, INT_MAX}) {
        SCOPED_TRACE(ignored);
        WriteFile(response_, "answer");
        Buffer buffer(10);
        EXPECT_EQ(6, Sender().RecvMessage(buffer.data(), buffer.size(), ignored));
    }
}

TEST_F(CFileTransferReceiveTest, PutsTheNulAfterAFullBuffer)
{
    WriteFile(response_, "answer");

    EXPECT_EQ(6, Receive(6));

    EXPECT_EQ(std::string("answer\0##", 9), buffer_.Bytes());
    EXPECT_EQ(5U, Records().size());
}

TEST_F(CFileTransferReceiveTest, CutsALongResponse)
{
    WriteFile(response_, "answer");

    EXPECT_EQ(3, Receive(3));

    EXPECT_EQ(std::string("ans\0##", 6), buffer_.Bytes());
    EXPECT_FALSE(Exists(response_));
    EXPECT_EQ((Texts{enter_, wait_, Fail(kRecv + " data read buffer is too small (3/6)"),
                     Info("- client-recv LENGTH=3: " + response_), Info("\tans"),
                     Func("[LEAVE] " + kRecv + ", rc=3")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, TracesTheTextInPieces)
{
    WriteFile(response_, std::string(1024, 'a') + std::string(1024, 'b') + "100%s");

    EXPECT_EQ(2053, Receive(4096));

    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=2053: " + response_),
                     Info("\t" + std::string(1024, 'a')), Info("\t" + std::string(1024, 'b')),
                     Info("\t100%s"), Func("[LEAVE] " + kRecv + ", rc=2053")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, TracesTheTextUpToItsFirstNul)
{
    const std::string content = std::string("ab\0cd", 5) + std::string(2000, 'e');
    WriteFile(response_, content);

    EXPECT_EQ(2005, Receive(4096));

    EXPECT_EQ(content, buffer_.Bytes().substr(0, content.size()));
    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=2005: " + response_), Info("\tab"),
                     Func("[LEAVE] " + kRecv + ", rc=2005")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, ReadsAnEmptyResponseTenTimes)
{
    WriteFile(response_, "");
    const CountedSleep sleep;

    EXPECT_EQ(0, Receive(4));

    EXPECT_EQ(std::vector<useconds_t>(10, 100000), sleep.Sleeps());
    EXPECT_EQ("#######", buffer_.Bytes());
    EXPECT_FALSE(Exists(response_));
    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=0: " + response_),
                     Func("[LEAVE] " + kRecv + ", rc=0")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, ReadsAgainUntilTheResponseHasContent)
{
    WriteFile(response_, "");
    const CountedSleep sleep([&] {
        if (sleep.Count() == 9)
            WriteFile(response_, "late");
    });

    EXPECT_EQ(4, Receive());

    EXPECT_EQ(std::vector<useconds_t>(9, 100000), sleep.Sleeps());
    EXPECT_STREQ("late", buffer_.data());
}

// A size of 0 leaves no room to read into: each of the ten tries says so.
TEST_F(CFileTransferReceiveTest, GivesUpAfterTenTriesWithoutRoom)
{
    for (const int size : {0, -1}) {
        SCOPED_TRACE(size);
        EmptyDirectory(kLogDirectory);
        WriteFile(response_, "answer");
        CFileTransfer channel = Sender();
        Buffer buffer(0);
        const CountedSleep sleep;

        EXPECT_EQ(0, channel.RecvMessage(buffer.data(), size, 0));

        EXPECT_EQ(10U, sleep.Count());
        EXPECT_EQ("###", buffer.Bytes());
        EXPECT_FALSE(Exists(response_));
        const std::string small = std::to_string(size) + "/6)";
        Texts expected(12, Fail(kRecv + " data read buffer is too small (" + small));
        expected[0] = enter_;
        expected[1] = wait_;
        expected.push_back(Info("- client-recv LENGTH=0: " + response_));
        expected.push_back(Func("[LEAVE] " + kRecv + ", rc=0"));
        EXPECT_EQ(expected, Records());
    }
}

TEST_F(CFileTransferReceiveTest, LeavesAResponseThatItCannotOpen)
{
    WriteFile(response_, "answer");
    ASSERT_EQ(0, ::chmod(response_.c_str(), 0));
    {
        const WithoutPrivileges ordinary;
        EXPECT_EQ(-1, Receive());
    }

    EXPECT_EQ("#############", buffer_.Bytes());
    EXPECT_EQ("answer", ReadFile(response_));
    EXPECT_EQ((Texts{enter_, wait_, Fail(kRecv + " failed to open recv file (Permission denied)")}),
              Records());
}

// Where no descriptor is available, only a response that is there fails to be opened.
TEST_F(CFileTransferReceiveTest, WaitsForAMissingResponseWithoutDescriptors)
{
    WriteFile(InServerDir("prepared"), "answer");
    CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
    const CountedSleep sleep([&] {
        if (sleep.Count() == 3) {
            ASSERT_EQ(0, ::rename(InServerDir("prepared").c_str(), response_.c_str()));
        }
    });
    {
        const DescriptorLimit none;
        EXPECT_EQ(-1, Receive());
    }
    CTraceUtility::Terminate(kTag);

    EXPECT_EQ(3U, sleep.Count());
    EXPECT_EQ("answer", ReadFile(response_));
    EXPECT_EQ(
        (Texts{enter_, wait_, Fail(kRecv + " failed to open recv file (Too many open files)")}),
        Records());
}

TEST_F(CFileTransferReceiveTest, FailsWhenTheResponseVanishesBetweenTries)
{
    WriteFile(response_, "");
    const CountedSleep sleep([&] { RemoveTree(response_); });

    EXPECT_EQ(-1, Receive());

    EXPECT_EQ(1U, sleep.Count());
    EXPECT_EQ((Texts{enter_, wait_,
                     Fail(kRecv + " failed to open recv file (No such file or directory)")}),
              Records());
}

// A regular file whose first byte cannot be read, nor the file be deleted (proc(5)).
TEST_F(CFileTransferReceiveTest, WritesTheNulInFrontWhenReadingFails)
{
    Configure("serverdir=/proc/self\n");
    CFileTransfer channel(kTag, kConfig);
    channel.SetCurrentFile("mem");

    EXPECT_EQ(-1, Receive(channel));

    EXPECT_EQ('\0', buffer_.Front());
    EXPECT_EQ(std::string(13, '#'), buffer_.Bytes());
    EXPECT_EQ((Texts{enter_, Info(kRecv + " wait for /proc/self/mem"),
                     Info(kRecv + " read data length failed (Input/output error, -1)"),
                     Info("- client-recv LENGTH=-1: /proc/self/mem"),
                     Info(kRecv + " failed to delete file (Operation not permitted)"),
                     Func("[LEAVE] " + kRecv + ", rc=-1")}),
              Records());
}

// Nothing but a regular file is opened: no link is followed, no FIFO waited for.
TEST_F(CFileTransferReceiveTest, LeavesAResponseThatIsNoRegularFile)
{
    WriteFile("/opt/secret", "secret");
    static const struct {
        void (*make)(const char* path);
        const char* reason;
    } cases[] = {
        {[](const char* path) { ASSERT_EQ(0, ::symlink("/opt/secret", path)); },
         "Too many levels of symbolic links"},
        {[](const char* path) { ASSERT_EQ(0, ::mkfifo(path, 0644)); }, "No such device or address"},
        {[](const char* path) { MakeDirs(path); }, "Is a directory"},
        {[](const char* path) { BindSocket(path); }, "No such device or address"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        EmptyDirectory(kLogDirectory);
        c.make(response_.c_str());

        EXPECT_EQ(-1, Receive());

        EXPECT_EQ('#', buffer_.Front());
        EXPECT_EQ("#############", buffer_.Bytes());
        EXPECT_EQ(
            (Texts{enter_, wait_,
                   Fail(kRecv + " failed to open recv file (" + std::string(c.reason) + ")")}),
            Records());
        EXPECT_TRUE(Exists(response_));
        RemoveTree(response_);
    }
}

// The response to no message is the server directory itself.
TEST_F(CFileTransferReceiveTest, FailsAsForADirectoryWhenNothingWasSent)
{
    CFileTransfer channel(kTag, kConfig);
    WriteFile(InServerDir("other.snd"), "kept");

    EXPECT_EQ(-1, Receive(channel));

    EXPECT_EQ('#', buffer_.Front());
    EXPECT_EQ(Texts{"other.snd"}, ListDir(kServerDir));
    EXPECT_EQ(Fail(kRecv + " failed to open recv file (Is a directory)"), Records().back());
}

TEST_F(CFileTransferReceiveTest, ReturnsAResponseThatItCannotDelete)
{
    SmallDisk disk(kServerDir, 64 * 1024);
    WriteFile(response_, "answer");
    disk.MakeReadOnly();

    EXPECT_EQ(6, Receive());

    EXPECT_STREQ("answer", buffer_.data());
    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=6: " + response_), Info("\tanswer"),
                     Info(kRecv + " failed to delete file (Read-only file system)"),
                     Func("[LEAVE] " + kRecv + ", rc=6")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, TimesOutAfterThirtySecondsOfSleep)
{
    static const struct {
        const char* interval;
        useconds_t microseconds;
        std::size_t polls;
    } cases[] = {
        {"10000", 10000, 3000},    {"1000000", 1000000, 30},  {"7000000", 7000000, 4},
        {"10000000", 10000000, 3}, {"15000001", 15000001, 1}, {"30000000", 30000000, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.interval);
        SetInterval(c.interval);
        WriteFile(request_, "request");
        const CountedSleep sleep;

        EXPECT_EQ(-1, Receive());

        EXPECT_EQ(std::vector<useconds_t>(c.polls, c.microseconds), sleep.Sleeps());
        EXPECT_FALSE(Exists(request_));
        EXPECT_EQ("#############", buffer_.Bytes());
    }
}

TEST_F(CFileTransferReceiveTest, TimesOutAsWellWhenTheRequestCannotBeLookedAt)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    const CountedSleep sleep;
    ASSERT_EQ(0, ::chmod(kClientDir, 0));
    {
        const WithoutPrivileges ordinary;
        EXPECT_EQ(-1, Receive());
    }

    EXPECT_EQ(3U, sleep.Count());
    EXPECT_EQ("request", ReadFile(request_));
}

TEST_F(CFileTransferReceiveTest, TracesATimeOut)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    WriteFile(InClientDir("other.snd"), "another request");
    const CountedSleep sleep;

    EXPECT_EQ(-1, Receive());

    EXPECT_EQ((Texts{enter_, wait_, Fail(kRecv + " client file timed out (" + request_ + ")")}),
              Records());
    EXPECT_EQ(Texts{"other.snd"}, ListDir(kClientDir));
}

TEST_F(CFileTransferReceiveTest, WaitsWithoutLimitOnceTheRequestIsTaken)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    const CountedSleep sleep([&] {
        if (sleep.Count() == 2)
            RemoveTree(request_);
        if (sleep.Count() == 1000)
            WriteFile(response_, "answer");
    });

    EXPECT_EQ(6, Receive());

    EXPECT_EQ(1000U, sleep.Count());
    EXPECT_STREQ("answer", buffer_.data());
}

TEST_F(CFileTransferReceiveTest, SpendsItsBudgetOnlyWhileTheRequestLies)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    const CountedSleep sleep([&] {
        if (sleep.Count() == 3)
            RemoveTree(request_);
        if (sleep.Count() == 8)
            WriteFile(request_, "put back");
    });

    EXPECT_EQ(-1, Receive());

    EXPECT_EQ(8U, sleep.Count());
}

TEST_F(CFileTransferReceiveTest, TakesAResponseWhileTheRequestLies)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    const CountedSleep sleep([&] {
        if (sleep.Count() == 2)
            WriteFile(response_, "answer");
    });

    EXPECT_EQ(6, Receive());

    EXPECT_EQ(2U, sleep.Count());
    EXPECT_EQ("request", ReadFile(request_));
}

TEST_F(CFileTransferReceiveTest, FailsWithoutAPositiveInterval)
{
    for (const char* const interval : {"0", "-100"}) {
        SCOPED_TRACE(interval);
        EmptyDirectory(kLogDirectory);
        SetInterval(interval);
        WriteFile(request_, "request");

        EXPECT_EQ(-1, Receive());

        EXPECT_EQ("request", ReadFile(request_));
        EXPECT_EQ("#############", buffer_.Bytes());
        EXPECT_EQ((Texts{enter_, wait_,
                         Fail(kRecv + " polling interval is not positive (" + interval + ")")}),
                  Records());
    }
}

TEST_F(CFileTransferReceiveTest, FailsWithoutABuffer)
{
    WriteFile(response_, "answer");
    CFileTransfer channel = Sender();

    EXPECT_EQ(-1, channel.RecvMessage(nullptr, 10, 0));

    EXPECT_EQ("answer", ReadFile(response_));
    EXPECT_EQ((Texts{enter_, Fail(kRecv + " no receive buffer")}), Records());
}

TEST_F(CFileTransferReceiveTest, CollectsTheResponseToTheLastMessageOnly)
{
    CFileTransfer channel(kTag, kConfig);
    const FrozenTime frozen({{1700000000, 42}, {1700000000, 43}});
    (void)channel.SendMessage("first");
    (void)channel.SendMessage("second");
    WriteFile(InServerDir(kSnd), "one");
    WriteFile(InServerDir("00001700000000000043som.snd"), "two");

    EXPECT_EQ(3, Receive(channel));

    EXPECT_STREQ("two", buffer_.data());
    EXPECT_EQ(Texts{kSnd}, ListDir(kServerDir));
}

// Cancellation.

TEST_F(CFileTransferReceiveTest, EndsACancelledThreadWhereItSleeps)
{
    for (const std::string& waitsFor : {request_, response_}) {
        SCOPED_TRACE(waitsFor);
        WriteFile(waitsFor, "");
        const auto run = RunCancelled([this] { (void)Receive(); });

        EXPECT_FALSE(run.returned);
        EXPECT_TRUE(run.cancelled);
        EXPECT_TRUE(Exists(waitsFor));
    }
}

TEST_F(CFileTransferReceiveTest, IsCompleteOnACancelledThreadWhenTheResponseIsThere)
{
    WriteFile(response_, "answer");

    ExpectCompleteWhenCancelled([this] { EXPECT_EQ(6, Receive()); });
    EXPECT_STREQ("answer", buffer_.data());
    EXPECT_FALSE(Exists(response_));
}

}  // namespace
}  // namespace qor::test
