// The channel's settings and copies.
#include "CFileTransfer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <utility>

#include "support/FrozenTime.h"
#include "transfer/ChannelTest.h"

namespace qor::test {
namespace {

std::string RecvDir(CFileTransfer& channel)
{
    std::string dir;
    channel.GetRecvDir(dir);
    return dir;
}

std::string SendDir(CFileTransfer& channel)
{
    std::string dir;
    channel.GetSendDir(dir);
    return dir;
}

// Settings.

using CFileTransferSettingsTest = ChannelTest;

TEST_F(CFileTransferSettingsTest, HaveDefaults)
{
    CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ(kClientDir, RecvDir(channel));
    EXPECT_EQ(kServerDir, SendDir(channel));
    EXPECT_EQ(100, channel.Interval());
    EXPECT_EQ("", CurrentFile(channel));
    EXPECT_EQ(-1, channel.GetFileHandle());
}

TEST_F(CFileTransferSettingsTest, ComeFromTheConfigurationFile)
{
    Configure("polling_interval = 250\nserverdir = /opt/s\nclientdir = /opt/c/\n");

    CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ("/opt/c/", RecvDir(channel));
    EXPECT_EQ("/opt/s", SendDir(channel));
    EXPECT_EQ(250, channel.Interval());
}

TEST_F(CFileTransferSettingsTest, ComeFromTheirSectionAlone)
{
    WriteFile(kConfig,
              "clientdir=/opt/a\n[other]\nserverdir=/opt/b\n[filetran]\n"
              ";polling_interval=1\nPolling_Interval=2\n[last]\npolling_interval=3\n");

    CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ(kClientDir, RecvDir(channel));
    EXPECT_EQ(kServerDir, SendDir(channel));
    EXPECT_EQ(100, channel.Interval());
}

TEST_F(CFileTransferSettingsTest, OfAPlainChannelAreThoseOfTheObjectManager)
{
    Configure("clientdir=/opt/c\npolling_interval=7\n");
    const FrozenTime frozen(1700000000, 42);

    CFileTransfer channel;

    EXPECT_EQ("/opt/c", RecvDir(channel));
    EXPECT_EQ(kServerDir, SendDir(channel));
    EXPECT_EQ(7, channel.Interval());
    std::string name;
    channel.GetTmpFileName(name);
    EXPECT_EQ(kTmp, name);
}

TEST_F(CFileTransferSettingsTest, TakeTheIntervalAsADecimalNumber)
{
    static const struct {
        const char* text;
        int interval;
    } cases[] = {
        {"1", 1},
        {"   5000", 5000},
        {"250\r", 250},
        {"250 us", 250},
        {"+9", 9},
        {"0x10", 0},
        {"abc", 0},
        {"", 0},
        {"-5", -5},
        {"4294967396", 100},           // cut to int
        {"000000000015000", 15000},    // 15 digits
        {"0000000000015000", 15000},   // 16 digits fill the room there is
        {"00000000000150007", 15000},  // the 17th does not fit
        {"0000000000000000123456789", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        SetInterval(c.text);
        EXPECT_EQ(c.interval, CFileTransfer(kTag, kConfig).Interval());
    }
}

// A line has room for 255 bytes, the key and "=" among them.
TEST_F(CFileTransferSettingsTest, TakeDirectoriesAsLongAsALine)
{
    const std::string client = "/opt/" + std::string(240, 'c');
    const std::string server = "/opt/" + std::string(240, 's');
    Configure("clientdir=" + client + "\nserverdir=" + server + "beyond\n");

    CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ(client, RecvDir(channel));
    EXPECT_EQ(server, SendDir(channel));
    EXPECT_TRUE(Exists(client));
    EXPECT_TRUE(Exists(server));
}

TEST_F(CFileTransferSettingsTest, MakeMissingDirectoriesForOwnerAndGroup)
{
    for (const auto& [mask, mode] : {std::pair<mode_t, mode_t>{022, 0750}, {0, 0770}}) {
        SCOPED_TRACE(mask);
        RemoveTree(kClientDir);
        RemoveTree(kServerDir);
        const mode_t former = ::umask(mask);
        const CFileTransfer channel(kTag, kConfig);
        (void)::umask(former);

        EXPECT_EQ(mode, FileMode(kClientDir));
        EXPECT_EQ(mode, FileMode(kServerDir));
    }
}

TEST_F(CFileTransferSettingsTest, LeaveExistingDirectoriesAsTheyAre)
{
    MakeDirs(kClientDir);
    ASSERT_EQ(0, ::chmod(kClientDir, 0711));
    WriteFile(InClientDir("a.snd"), "kept");

    const CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ(mode_t{0711}, FileMode(kClientDir));
    EXPECT_EQ("kept", ReadFile(InClientDir("a.snd")));
}

TEST_F(CFileTransferSettingsTest, MakeNoParents)
{
    Configure("clientdir=/opt/missing/CS\nserverdir=/opt/missing/SS\n");

    CFileTransfer channel(kTag, kConfig);

    EXPECT_FALSE(Exists("/opt/missing"));
    EXPECT_EQ("/opt/missing/CS", RecvDir(channel));
    EXPECT_FALSE(channel.OpenStream());
}

TEST_F(CFileTransferSettingsTest, MakeOneDirectoryWithoutTheOther)
{
    Configure("clientdir=/opt/missing/CS\nserverdir=/opt/SS\n");

    const CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ((Texts{"SS", "velmora"}), ListDir("/opt"));
}

TEST_F(CFileTransferSettingsTest, LeaveWhatIsNoDirectory)
{
    WriteFile(kClientDir, "a file");
    ASSERT_EQ(0, ::symlink("/opt/nowhere", kServerDir));

    CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ("a file", ReadFile(kClientDir));
    EXPECT_FALSE(Exists("/opt/nowhere"));
    EXPECT_EQ(-1, channel.SendMessage("text"));
}

TEST_F(CFileTransferSettingsTest, LeaveNoRecord)
{
    Configure("clientdir=/opt/missing/CS\n");
    const CFileTransfer channel(kTag, kConfig);
    EXPECT_TRUE(LogFileNames(kTag, kDebugLog).empty());
}

TEST_F(CFileTransferSettingsTest, AreReadOnce)
{
    CFileTransfer channel(kTag, kConfig);

    Configure("clientdir=/opt/c\npolling_interval=7\n");

    EXPECT_EQ(kClientDir, RecvDir(channel));
    EXPECT_EQ(100, channel.Interval());
}

// Copies.

class CFileTransferCopyTest : public ChannelTest
{
protected:
    // A channel of which no member has its default.
    static CFileTransfer Other()
    {
        Configure("clientdir=/opt/c\nserverdir=/opt/s\npolling_interval=7\n");
        CFileTransfer channel("cli", kConfig);
        channel.SetCurrentFile("a.snd");
        return channel;
    }

    static void ExpectMembersOfOther(CFileTransfer& channel)
    {
        EXPECT_EQ("/opt/c", RecvDir(channel));
        EXPECT_EQ("/opt/s", SendDir(channel));
        EXPECT_EQ(7, channel.Interval());
        EXPECT_EQ("a.snd", CurrentFile(channel));
        const FrozenTime frozen(1700000000, 42);
        std::string name;
        channel.GetTmpFileName(name);
        EXPECT_EQ("00001700000000000042cli.tmp", name);
    }
};

TEST_F(CFileTransferCopyTest, HasEveryMemberMadeOrAssigned)
{
    const CFileTransfer original = Other();
    CFileTransfer copy(original);
    CFileTransfer target(kTag, "/opt/absent");
    target = original;

    ExpectMembersOfOther(copy);
    ExpectMembersOfOther(target);
}

TEST_F(CFileTransferCopyTest, HasACurrentFileOfItsOwn)
{
    CFileTransfer original(kTag, kConfig);
    original.SetCurrentFile("a.snd");

    CFileTransfer copy(original);
    copy.SetCurrentFile("b.snd");

    EXPECT_EQ("a.snd", CurrentFile(original));
    EXPECT_EQ("b.snd", CurrentFile(copy));
}

TEST_F(CFileTransferCopyTest, OpensAScanOfItsOwnBesideTheOriginals)
{
    CFileTransfer original(kTag, kConfig);
    WriteFile(InClientDir("abc.snd"), "");
    ASSERT_TRUE(original.OpenStream());
    CFileTransfer copy(original);

    ASSERT_TRUE(copy.OpenStream());
    copy.CloseStream();

    EXPECT_FALSE(original.IsEndStream());
    original.CloseStream();
}

TEST_F(CFileTransferCopyTest, KeepsTheScanThatTheOriginalLeaves)
{
    CFileTransfer original(kTag, kConfig);
    WriteFile(InClientDir("abc.snd"), "");
    ASSERT_TRUE(original.OpenStream());
    CFileTransfer copy(original);

    ASSERT_TRUE(original.OpenStream());
    original.CloseStream();

    int entries = 0;
    while (!copy.IsEndStream())
        ++entries;
    EXPECT_EQ(3, entries);  // ".", ".." and the request
    copy.CloseStream();
}

TEST_F(CFileTransferCopyTest, EndsTheScanForBoth)
{
    CFileTransfer original(kTag, kConfig);
    ASSERT_TRUE(original.OpenStream());
    ASSERT_FALSE(original.IsEndStream());
    CFileTransfer copy(original);

    copy.CloseStream();
    EXPECT_FALSE(original.IsTransFile());
    EXPECT_TRUE(original.IsEndStream());
    original.CloseStream();
    ASSERT_TRUE(original.OpenStream());
    original.CloseStream();
}

// The destructor closes neither the scan nor the file handle: the copy goes on with both.
TEST_F(CFileTransferCopyTest, TakesOverTheScanAndTheHandle)
{
    auto original = std::make_unique<CFileTransfer>(kTag, kConfig);
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_TRUE(original->OpenStream());
    do {
        ASSERT_FALSE(original->IsEndStream());
    } while (!original->IsTransFile());

    CFileTransfer copy(*original);
    original.reset();

    EXPECT_EQ("request", ReadToEnd(copy.GetFileHandle()));
    while (!copy.IsEndStream())
        EXPECT_FALSE(copy.IsTransFile());
    copy.CloseStream();
    EXPECT_EQ(0, ::close(copy.GetFileHandle()));
}

}  // namespace
}  // namespace qor::test
