// The channel within one process: settings, names, each step of a message, its records.
#include "CFileTransfer.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>

#include "CTraceUtility.h"
#include "support/Cancellation.h"
#include "support/FrozenTime.h"
#include "support/Memcheck.h"
#include "support/SmallDisk.h"
#include "support/WithoutPrivileges.h"
#include "transfer/ChannelTest.h"
#include "transfer/CountedSleep.h"

namespace {

// What happens between readdir(3) and the look at the entry that it has read.
class AfterEachEntry
{
public:
    explicit AfterEachEntry(std::function<void(dirent&)> action) : action_(std::move(action))
    {
        current_ = this;
    }
    AfterEachEntry(const AfterEachEntry&) = delete;
    AfterEachEntry& operator=(const AfterEachEntry&) = delete;
    ~AfterEachEntry() { current_ = nullptr; }

    static void Run(dirent& entry)
    {
        if (current_ != nullptr)
            current_->action_(entry);
    }

private:
    inline static AfterEachEntry* current_ = nullptr;
    std::function<void(dirent&)> action_;
};

// A file system that cannot refuse a name that is taken: EINVAL (rename(2)).
class PlainRenamesOnly
{
public:
    PlainRenamesOnly() { current_ = true; }
    PlainRenamesOnly(const PlainRenamesOnly&) = delete;
    PlainRenamesOnly& operator=(const PlainRenamesOnly&) = delete;
    ~PlainRenamesOnly() { current_ = false; }

    static bool Hold() { return current_; }

private:
    inline static bool current_ = false;
};

}  // namespace

extern "C" int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                         unsigned int flags) noexcept
{
    if (PlainRenamesOnly::Hold() && flags != 0) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, flags));
}

extern "C" dirent* readdir(DIR* stream)
{
    static auto* const next = reinterpret_cast<dirent* (*)(DIR*)>(::dlsym(RTLD_NEXT, "readdir"));
    dirent* const entry = next(stream);
    if (entry != nullptr)
        AfterEachEntry::Run(*entry);
    return entry;
}

namespace qor::test {
namespace {

using Texts = std::vector<std::string>;

const std::string kSend = "int CFileTransfer::SendMessage(std::string)";
const std::string kRecv = "int CFileTransfer::RecvMessage(char*, int, int)";
const std::string kIsTransFile = "bool CFileTransfer::IsTransFile()";
const std::string kOpenStream = "bool CFileTransfer::OpenStream()";
const std::string kDeleteExpired = "void CFileTransfer::DeleteExpiredFile(const char*)";

// The names at 1700000000.000042 seconds.
const std::string kTmp = "00001700000000000042som.tmp";
const std::string kSnd = "00001700000000000042som.snd";

std::string Func(const std::string& text)
{
    return "--FUNC-- " + text;
}

std::string Info(const std::string& text)
{
    return "--INFO-- " + text;
}

std::string Fail(const std::string& text)
{
    return "**FAIL** " + text;
}

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

TEST_F(CFileTransferSettingsTest, MakeMissingDirectories)
{
    const CFileTransfer channel(kTag, kConfig);

    EXPECT_EQ(mode_t{0750}, FileMode(kClientDir));
    EXPECT_EQ(mode_t{0750}, FileMode(kServerDir));
}

TEST_F(CFileTransferSettingsTest, MakeDirectoriesForTheGroupToo)
{
    const mode_t mask = ::umask(0);
    const CFileTransfer channel(kTag, kConfig);
    (void)::umask(mask);

    EXPECT_EQ(mode_t{0770}, FileMode(kClientDir));
    EXPECT_EQ(mode_t{0770}, FileMode(kServerDir));
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

using CFileTransferCopyTest = ChannelTest;

TEST_F(CFileTransferCopyTest, HasEveryMember)
{
    Configure("clientdir=/opt/c\nserverdir=/opt/s\npolling_interval=7\n");
    CFileTransfer original("cli", kConfig);
    original.SetCurrentFile("a.snd");

    CFileTransfer copy(original);

    EXPECT_EQ("/opt/c", RecvDir(copy));
    EXPECT_EQ("/opt/s", SendDir(copy));
    EXPECT_EQ(7, copy.Interval());
    EXPECT_EQ("a.snd", CurrentFile(copy));
    const FrozenTime frozen(1700000000, 42);
    std::string name;
    copy.GetTmpFileName(name);
    EXPECT_EQ("00001700000000000042cli.tmp", name);
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

TEST_F(CFileTransferCopyTest, IsAssignedMemberByMember)
{
    Configure("clientdir=/opt/c\nserverdir=/opt/s\npolling_interval=7\n");
    CFileTransfer original("cli", kConfig);
    original.SetCurrentFile("a.snd");
    CFileTransfer target(kTag, "/opt/absent");

    target = original;

    EXPECT_EQ("/opt/c", RecvDir(target));
    EXPECT_EQ("/opt/s", SendDir(target));
    EXPECT_EQ(7, target.Interval());
    EXPECT_EQ("a.snd", CurrentFile(target));
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
    const DescriptorMap before = OpenDescriptors();
    ASSERT_TRUE(original.OpenStream());
    ASSERT_FALSE(original.IsEndStream());
    CFileTransfer copy(original);

    copy.CloseStream();
    EXPECT_FALSE(original.IsTransFile());
    EXPECT_TRUE(original.IsEndStream());
    original.CloseStream();
    ASSERT_TRUE(original.OpenStream());
    original.CloseStream();

    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
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

// Names.

class CFileTransferNamesTest : public ChannelTest
{
protected:
    CFileTransfer channel_{kTag, kConfig};
};

TEST_F(CFileTransferNamesTest, OfTemporaryFilesAreStampTagAndExtension)
{
    static const struct {
        time_t seconds;
        suseconds_t microseconds;
        const char* tag;
        const char* name;
    } cases[] = {
        {1700000000, 42, "som", "00001700000000000042som.tmp"},
        {0, 0, "som", "00000000000000000000som.tmp"},
        {99999999999999, 999999, "cli", "99999999999999999999cli.tmp"},
        {1700000000, 999999, "", "00001700000000999999.tmp"},
        {1700000000, 42, "%s.tmp", "00001700000000000042%s.tmp.tmp"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CFileTransfer channel(c.tag, kConfig);
        const FrozenTime frozen(c.seconds, c.microseconds);
        std::string name = "replaced";
        channel.GetTmpFileName(name);
        EXPECT_EQ(c.name, name);
    }
}

TEST_F(CFileTransferNamesTest, OfMessagesAreCutBeforeTheFirstTmp)
{
    static const struct {
        const char* temporary;
        const char* message;
    } cases[] = {
        {"00001700000000000042som.tmp", "00001700000000000042som.snd"},
        {"a.tmp.tmp", "a.snd"},
        {"a.tmpb", "a.snd"},
        {".tmp", ".snd"},
        {"a", "a.snd"},
        {"a.TMP", "a.TMP.snd"},
        {"", ".snd"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.temporary);
        std::string name = "replaced";
        channel_.GetSndFileName(c.temporary, name);
        EXPECT_EQ(c.message, name);
    }
}

TEST_F(CFileTransferNamesTest, AreJoinedToDirectoriesByOneSlash)
{
    static const struct {
        const char* dir;
        const char* name;
        const char* path;
    } cases[] = {
        {"/opt/c", "a.snd", "/opt/c/a.snd"},
        {"/opt/c/", "a.snd", "/opt/c/a.snd"},
        {"/opt/c//", "a.snd", "/opt/c//a.snd"},
        {"/", "a.snd", "/a.snd"},
        {"", "a.snd", "/a.snd"},
        {"/opt/c", "", "/opt/c/"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string path = c.name;
        channel_.AppendFullPath(c.dir, path);
        EXPECT_EQ(c.path, path);
    }
}

TEST_F(CFileTransferNamesTest, OfTheCurrentFileAreSetAndTold)
{
    channel_.SetCurrentFile("a.snd");
    EXPECT_EQ("a.snd", CurrentFile(channel_));
    channel_.SetCurrentFile("");
    EXPECT_EQ("", CurrentFile(channel_));
}

// Sending.

class CFileTransferSendTest : public ChannelTest
{
protected:
    CFileTransfer channel_{kTag, kConfig};
};

TEST_F(CFileTransferSendTest, PublishesTheMessage)
{
    const FrozenTime frozen(1700000000, 42);

    EXPECT_EQ(7, channel_.SendMessage("request"));

    EXPECT_EQ(Texts{kSnd}, ListDir(kClientDir));
    EXPECT_EQ("request", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(mode_t{0750}, FileMode(InClientDir(kSnd)));
    EXPECT_EQ(kSnd, CurrentFile(channel_));
    EXPECT_TRUE(ListDir(kServerDir).empty());
}

TEST_F(CFileTransferSendTest, GivesTheFileToTheGroupToo)
{
    const mode_t mask = ::umask(0);
    EXPECT_EQ(4, channel_.SendMessage("text"));
    (void)::umask(mask);

    EXPECT_EQ(mode_t{0770}, FileMode(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, WritesAnyBytes)
{
    std::string message;
    for (int byte = 0; byte < 256; ++byte)
        message += static_cast<char>(byte);

    EXPECT_EQ(256, channel_.SendMessage(message));

    EXPECT_EQ(message, ReadFile(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, PublishesAnEmptyMessage)
{
    EXPECT_EQ(0, channel_.SendMessage(""));
    EXPECT_EQ(0U, FileSize(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, PublishesAMebibyte)
{
    const std::string message(1024 * 1024, 'm');

    EXPECT_EQ(1024 * 1024, channel_.SendMessage(message));

    EXPECT_EQ(message, ReadFile(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, TracesEachStep)
{
    const FrozenTime frozen(1700000000, 42);

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

TEST_F(CFileTransferSendTest, TracesNoPieceOfAnEmptyMessage)
{
    const FrozenTime frozen(1700000000, 42);

    (void)channel_.SendMessage("");

    EXPECT_EQ((Texts{Func("[ENTER] " + kSend), Info("- client-send LENGTH=0"),
                     Info(kSend + " send file saved to " + InClientDir(kSnd) + " (0)"),
                     Func("[LEAVE] " + kSend)}),
              Records());
}

TEST_F(CFileTransferSendTest, TracesTheBodyInPieces)
{
    static const struct {
        std::string body;
        Texts pieces;
    } cases[] = {
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

// The bytes behind a NUL are sent, but not traced; the next piece begins as ever.
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
    const FrozenTime frozen({{1700000000, 42}, {1700000000, 42}, {1700000000, 43}});

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
    const FrozenTime frozen(1700000000, 42);

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
    const FrozenTime frozen(1700000000, 42);

    EXPECT_EQ(-1, channel_.SendMessage(std::string(200 * 1024, 'm')));

    ASSERT_EQ(Texts{kTmp}, ListDir(kClientDir));
    const std::uint64_t written = FileSize(InClientDir(kTmp));
    EXPECT_LT(0U, written);
    EXPECT_EQ(Fail(kSend + " data write error (Success, " + std::to_string(written) + ")"),
              Records().back());
}

// Another client of the tag drew the same stamp and was faster.
TEST_F(CFileTransferSendTest, DrawsAFreshStampWhereTheNameIsTaken)
{
    WriteFile(InClientDir(kSnd), "the other's");
    const FrozenTime frozen({{1700000000, 42}, {1700000000, 43}});

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    const std::string name = "00001700000000000043" + std::string(kTag) + ".snd";
    EXPECT_EQ((Texts{kSnd, name}), ListDir(kClientDir));
    EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ("mine", ReadFile(InClientDir(name)));
    EXPECT_EQ(name, CurrentFile(channel_));
}

TEST_F(CFileTransferSendTest, DrawsAFreshStampWhereTheFileSystemCannotRefuseATakenName)
{
    WriteFile(InClientDir(kSnd), "the other's");
    const FrozenTime frozen({{1700000000, 42}, {1700000000, 43}});
    const PlainRenamesOnly only;
    const CountedSleep sleep;

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ("mine", ReadFile(InClientDir("00001700000000000043som.snd")));
}

// Nobody else can draw the stamp once the request is published.
TEST_F(CFileTransferSendTest, PublishesOnlyWhenTheClockHasMoved)
{
    std::vector<timeval> moments(3, {1700000000, 42});
    moments.push_back({1700000000, 142});
    const FrozenTime frozen(moments);
    const CountedSleep sleep([] { EXPECT_EQ(Texts{kTmp}, ListDir(kClientDir)); });

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ(std::vector<useconds_t>(2, 100), sleep.Sleeps());
    EXPECT_EQ(Texts{kSnd}, ListDir(kClientDir));
}

TEST_F(CFileTransferSendTest, PublishesAllTheSameWhereTheClockStandsStill)
{
    const FrozenTime frozen(1700000000, 42);
    const CountedSleep sleep;

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ(500U, sleep.Count());
    EXPECT_EQ("mine", ReadFile(InClientDir(kSnd)));
}

TEST_F(CFileTransferSendTest, FailsWhereARequestHasTheNameAndTheClockStandsStill)
{
    WriteFile(InClientDir(kSnd), "the other's");
    channel_.SetCurrentFile("former.snd");
    const FrozenTime frozen(1700000000, 42);
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
    const FrozenTime frozen(moments);
    const CountedSleep sleep;

    EXPECT_EQ(4, channel_.SendMessage("mine"));

    EXPECT_EQ("the other's", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(2U, ListDir(kClientDir).size());
    EXPECT_EQ("mine", ReadFile(InClientDir(CurrentFile(channel_))));
}

TEST_F(CFileTransferSendTest, SucceedsAlthoughTheRenameFails)
{
    MakeDirs(InClientDir(kSnd));
    const FrozenTime frozen(1700000000, 42);
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
    const FrozenTime frozen({{1700000000, 42}, {1700000000, 43}});
    (void)channel_.SendMessage("first");
    (void)channel_.SendMessage("second");

    EXPECT_EQ("00001700000000000043som.snd", CurrentFile(channel_));
    EXPECT_EQ((Texts{kSnd, "00001700000000000043som.snd"}), ListDir(kClientDir));
}

// Receiving.

void BindSocket(const char* path)
{
    const OwnedFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::string(path).copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(0, ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
}

// A buffer with one byte in front and some behind, all "#".
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

    // A channel that has just sent kSnd.
    static CFileTransfer Sender()
    {
        CFileTransfer channel(kTag, kConfig);
        channel.SetCurrentFile(kSnd);
        return channel;
    }

    static int Receive(CFileTransfer& channel, Buffer& buffer)
    {
        return channel.RecvMessage(buffer.data(), buffer.size(), 0);
    }

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
    Buffer buffer(10);

    EXPECT_EQ(6, Receive(channel, buffer));

    EXPECT_EQ(std::string("answer\0######", 13), buffer.Bytes());
    EXPECT_EQ('#', buffer.Front());
    EXPECT_EQ(Texts{"other.snd"}, ListDir(kServerDir));
    EXPECT_EQ(kSnd, CurrentFile(channel));
}

TEST_F(CFileTransferReceiveTest, TracesEachStep)
{
    WriteFile(response_, "answer");
    CFileTransfer channel = Sender();
    Buffer buffer(10);

    (void)Receive(channel, buffer);

    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=6: " + response_), Info("\tanswer"),
                     Func("[LEAVE] " + kRecv + ", rc=6")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, DoesNotSleepForAResponseThatIsThere)
{
    WriteFile(response_, "answer");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep;

    EXPECT_EQ(6, Receive(channel, buffer));

    EXPECT_EQ(0U, sleep.Count());
}

TEST_F(CFileTransferReceiveTest, IgnoresItsThirdArgument)
{
    for (const int ignored : {INT_MIN, -1, 0, 1, INT_MAX}) {
        SCOPED_TRACE(ignored);
        WriteFile(response_, "answer");
        CFileTransfer channel = Sender();
        Buffer buffer(10);
        EXPECT_EQ(6, channel.RecvMessage(buffer.data(), buffer.size(), ignored));
    }
}

TEST_F(CFileTransferReceiveTest, PutsTheNulBehindAFullBuffer)
{
    WriteFile(response_, "answer");
    CFileTransfer channel = Sender();
    Buffer buffer(6);

    EXPECT_EQ(6, Receive(channel, buffer));

    EXPECT_EQ(std::string("answer\0##", 9), buffer.Bytes());
    EXPECT_EQ(5U, Records().size());
}

TEST_F(CFileTransferReceiveTest, CutsALongResponse)
{
    WriteFile(response_, "answer");
    CFileTransfer channel = Sender();
    Buffer buffer(3);

    EXPECT_EQ(3, Receive(channel, buffer));

    EXPECT_EQ(std::string("ans\0##", 6), buffer.Bytes());
    EXPECT_FALSE(Exists(response_));
    EXPECT_EQ((Texts{enter_, wait_, Fail(kRecv + " data read buffer is too small (3/6)"),
                     Info("- client-recv LENGTH=3: " + response_), Info("\tans"),
                     Func("[LEAVE] " + kRecv + ", rc=3")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, TracesTheTextInPieces)
{
    WriteFile(response_, std::string(1024, 'a') + std::string(1024, 'b') + "100%s");
    CFileTransfer channel = Sender();
    Buffer buffer(4096);

    EXPECT_EQ(2053, Receive(channel, buffer));

    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=2053: " + response_),
                     Info("\t" + std::string(1024, 'a')), Info("\t" + std::string(1024, 'b')),
                     Info("\t100%s"), Func("[LEAVE] " + kRecv + ", rc=2053")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, TracesTheTextUpToItsFirstNul)
{
    const std::string content = std::string("ab\0cd", 5) + std::string(2000, 'e');
    WriteFile(response_, content);
    CFileTransfer channel = Sender();
    Buffer buffer(4096);

    EXPECT_EQ(2005, Receive(channel, buffer));

    EXPECT_EQ(content, buffer.Bytes().substr(0, content.size()));
    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=2005: " + response_), Info("\tab"),
                     Func("[LEAVE] " + kRecv + ", rc=2005")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, ReadsAnEmptyResponseTenTimes)
{
    WriteFile(response_, "");
    CFileTransfer channel = Sender();
    Buffer buffer(4);
    const CountedSleep sleep;

    EXPECT_EQ(0, Receive(channel, buffer));

    EXPECT_EQ(std::vector<useconds_t>(10, 100000), sleep.Sleeps());
    EXPECT_EQ("#######", buffer.Bytes());
    EXPECT_FALSE(Exists(response_));
    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=0: " + response_),
                     Func("[LEAVE] " + kRecv + ", rc=0")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, ReadsAgainUntilTheResponseHasContent)
{
    WriteFile(response_, "");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep([&] {
        if (sleep.Count() == 9)
            WriteFile(response_, "late");
    });

    EXPECT_EQ(4, Receive(channel, buffer));

    EXPECT_EQ(std::vector<useconds_t>(9, 100000), sleep.Sleeps());
    EXPECT_STREQ("late", buffer.data());
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
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    {
        const WithoutPrivileges ordinary;
        EXPECT_EQ(-1, Receive(channel, buffer));
    }

    EXPECT_EQ("#############", buffer.Bytes());
    EXPECT_EQ("answer", ReadFile(response_));
    EXPECT_EQ((Texts{enter_, wait_, Fail(kRecv + " failed to open recv file (Permission denied)")}),
              Records());
}

// Without a descriptor to be had, only a response that is there fails to be opened.
TEST_F(CFileTransferReceiveTest, WaitsForAMissingResponseWithoutDescriptors)
{
    WriteFile(InServerDir("prepared"), "answer");
    CTraceUtility::Initialize(kTag, CTraceUtility::WRITE_MODE_DEBUG);
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep([&] {
        if (sleep.Count() == 3) {
            ASSERT_EQ(0, ::rename(InServerDir("prepared").c_str(), response_.c_str()));
        }
    });
    {
        const DescriptorLimit none;
        EXPECT_EQ(-1, Receive(channel, buffer));
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
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep([&] { RemoveTree(response_); });

    EXPECT_EQ(-1, Receive(channel, buffer));

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
    Buffer buffer(10);

    EXPECT_EQ(-1, Receive(channel, buffer));

    EXPECT_EQ('\0', buffer.Front());
    EXPECT_EQ(std::string(13, '#'), buffer.Bytes());
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
        CFileTransfer channel = Sender();
        Buffer buffer(10);

        EXPECT_EQ(-1, Receive(channel, buffer));

        EXPECT_EQ('#', buffer.Front());
        EXPECT_EQ("#############", buffer.Bytes());
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
    Buffer buffer(10);

    EXPECT_EQ(-1, Receive(channel, buffer));

    EXPECT_EQ('#', buffer.Front());
    EXPECT_EQ(Texts{"other.snd"}, ListDir(kServerDir));
    EXPECT_EQ(Fail(kRecv + " failed to open recv file (Is a directory)"), Records().back());
}

TEST_F(CFileTransferReceiveTest, ReturnsAResponseThatItCannotDelete)
{
    SmallDisk disk(kServerDir, 64 * 1024);
    WriteFile(response_, "answer");
    disk.MakeReadOnly();
    CFileTransfer channel = Sender();
    Buffer buffer(10);

    EXPECT_EQ(6, Receive(channel, buffer));

    EXPECT_STREQ("answer", buffer.data());
    EXPECT_EQ((Texts{enter_, wait_, Info("- client-recv LENGTH=6: " + response_), Info("\tanswer"),
                     Info(kRecv + " failed to delete file (Read-only file system)"),
                     Func("[LEAVE] " + kRecv + ", rc=6")}),
              Records());
}

TEST_F(CFileTransferReceiveTest, TimesOutAfterThirtySecondsOfSleep)
{
    QOR_SKIP_UNDER_MEMCHECK("half a million polls");
    static const struct {
        const char* interval;
        useconds_t microseconds;
        std::size_t polls;
    } cases[] = {
        {"100", 100, 300000},      {"1000000", 1000000, 30},  {"7000000", 7000000, 4},
        {"10000000", 10000000, 3}, {"15000001", 15000001, 1}, {"30000000", 30000000, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.interval);
        SetInterval(c.interval);
        WriteFile(request_, "request");
        CFileTransfer channel = Sender();
        Buffer buffer(10);
        const CountedSleep sleep;

        EXPECT_EQ(-1, Receive(channel, buffer));

        EXPECT_EQ(std::vector<useconds_t>(c.polls, c.microseconds), sleep.Sleeps());
        EXPECT_FALSE(Exists(request_));
        EXPECT_EQ("#############", buffer.Bytes());
    }
}

TEST_F(CFileTransferReceiveTest, TimesOutAsWellWhenTheRequestCannotBeLookedAt)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep;
    ASSERT_EQ(0, ::chmod(kClientDir, 0));
    {
        const WithoutPrivileges ordinary;
        EXPECT_EQ(-1, Receive(channel, buffer));
    }

    EXPECT_EQ(3U, sleep.Count());
    EXPECT_EQ("request", ReadFile(request_));
}

TEST_F(CFileTransferReceiveTest, TracesATimeOut)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    WriteFile(InClientDir("other.snd"), "another request");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep;

    EXPECT_EQ(-1, Receive(channel, buffer));

    EXPECT_EQ((Texts{enter_, wait_, Fail(kRecv + " client file timed out (" + request_ + ")")}),
              Records());
    EXPECT_EQ(Texts{"other.snd"}, ListDir(kClientDir));
}

TEST_F(CFileTransferReceiveTest, WaitsWithoutLimitOnceTheRequestIsTaken)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep([&] {
        if (sleep.Count() == 2)
            RemoveTree(request_);
        if (sleep.Count() == 1000)
            WriteFile(response_, "answer");
    });

    EXPECT_EQ(6, Receive(channel, buffer));

    EXPECT_EQ(1000U, sleep.Count());
    EXPECT_STREQ("answer", buffer.data());
}

TEST_F(CFileTransferReceiveTest, SpendsItsBudgetOnlyWhileTheRequestLies)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep([&] {
        if (sleep.Count() == 3)
            RemoveTree(request_);
        if (sleep.Count() == 8)
            WriteFile(request_, "put back");
    });

    EXPECT_EQ(-1, Receive(channel, buffer));

    EXPECT_EQ(8U, sleep.Count());
}

TEST_F(CFileTransferReceiveTest, TakesAResponseWhileTheRequestLies)
{
    SetInterval("10000000");
    WriteFile(request_, "request");
    CFileTransfer channel = Sender();
    Buffer buffer(10);
    const CountedSleep sleep([&] {
        if (sleep.Count() == 2)
            WriteFile(response_, "answer");
    });

    EXPECT_EQ(6, Receive(channel, buffer));

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
        CFileTransfer channel = Sender();
        Buffer buffer(10);

        EXPECT_EQ(-1, Receive(channel, buffer));

        EXPECT_EQ("request", ReadFile(request_));
        EXPECT_EQ("#############", buffer.Bytes());
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
    Buffer buffer(10);

    EXPECT_EQ(3, Receive(channel, buffer));

    EXPECT_STREQ("two", buffer.data());
    EXPECT_EQ(Texts{kSnd}, ListDir(kServerDir));
}

// Scanning.

class CFileTransferScanTest : public ChannelTest
{
protected:
    // What a whole scan serves.
    Texts Served()
    {
        Texts names;
        EXPECT_TRUE(channel_.OpenStream());
        while (!channel_.IsEndStream()) {
            if (channel_.IsTransFile()) {
                names.push_back(CurrentFile(channel_));
                EXPECT_EQ(0, ::close(channel_.GetFileHandle()));
            }
        }
        channel_.CloseStream();
        return names;
    }

    CFileTransfer channel_{kTag, kConfig};
};

TEST_F(CFileTransferScanTest, FindsNothingInAnEmptyDirectory)
{
    EXPECT_TRUE(Served().empty());
    EXPECT_EQ("", CurrentFile(channel_));
    EXPECT_TRUE(Records().empty());
}

TEST_F(CFileTransferScanTest, OpensEachRequest)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_TRUE(channel_.OpenStream());
    do {
        ASSERT_FALSE(channel_.IsEndStream());
    } while (!channel_.IsTransFile());

    const int fd = channel_.GetFileHandle();
    EXPECT_EQ("a.snd", CurrentFile(channel_));
    EXPECT_EQ("request", ReadToEnd(fd));
    EXPECT_EQ(O_RDWR, ::fcntl(fd, F_GETFL) & O_ACCMODE);
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(fd, F_GETFD));
    EXPECT_EQ((Texts{Info(kIsTransFile + " processing file (" + InClientDir("a.snd") +
                          ") found (fd=" + std::to_string(fd) + ")")}),
              Records());

    EXPECT_EQ(0, ::close(fd));
    channel_.CloseStream();
}

TEST_F(CFileTransferScanTest, LeavesRequestsWhereTheyAre)
{
    WriteFile(InClientDir("a.snd"), "request");
    EXPECT_EQ(Texts{"a.snd"}, Served());
    EXPECT_EQ(Texts{"a.snd"}, Served());
    EXPECT_EQ("request", ReadFile(InClientDir("a.snd")));
}

TEST_F(CFileTransferScanTest, ServesWhatHasSndInItsName)
{
    static const struct {
        const char* name;
        bool served;
    } cases[] = {
        {"99991700000000000042som.snd", true},
        {"a.snd", true},
        {"a.snd.bak", true},
        {"a.sndb", true},
        {"a.snd.tmp", true},
        {"99991700000000000042som.tmp", false},
        {"99991700000000000042som", false},
        {"a.SND", false},
        {"asnd", false},
        {"snd", false},
        {"a.sn", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EmptyDirectory(kClientDir);
        WriteFile(InClientDir(c.name), "");
        EXPECT_EQ(c.served ? Texts{c.name} : Texts{}, Served());
        EXPECT_EQ(c.name, CurrentFile(channel_));
        EXPECT_TRUE(Exists(InClientDir(c.name)));
    }
}

TEST_F(CFileTransferScanTest, ServesAllRequests)
{
    Texts names;
    for (int i = 10; i < 60; ++i) {
        names.push_back("a" + std::to_string(i) + ".snd");
        WriteFile(InClientDir(names.back()), "");
        WriteFile(InClientDir("a" + std::to_string(i) + ".tmp"), "");
    }
    EXPECT_THAT(Served(), testing::UnorderedElementsAreArray(names));
}

// Makes one of each type that is no regular file, each with a fine name.
void MakeOtherTypes()
{
    MakeDirs(InClientDir("directory.snd"));
    WriteFile("/opt/target.snd", "secret");
    ASSERT_EQ(0, ::symlink("/opt/target.snd", InClientDir("link.snd").c_str()));
    ASSERT_EQ(0, ::mkfifo(InClientDir("fifo.snd").c_str(), 0644));
    BindSocket(InClientDir("socket.snd").c_str());
}

TEST_F(CFileTransferScanTest, ServesRegularFilesOnly)
{
    MakeOtherTypes();
    const Texts names = ListDir(kClientDir);
    ASSERT_EQ(4U, names.size());
    channel_.SetCurrentFile("former.snd");

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ("former.snd", CurrentFile(channel_));
    EXPECT_EQ(names, ListDir(kClientDir));
    EXPECT_TRUE(Records().empty());
}

TEST_F(CFileTransferScanTest, LooksAtEntriesOfUnknownType)
{
    MakeOtherTypes();
    WriteFile(InClientDir("file.snd"), "request");
    const AfterEachEntry hidden([](dirent& entry) { entry.d_type = DT_UNKNOWN; });

    EXPECT_EQ(Texts{"file.snd"}, Served());
}

// The link's name is old enough to be swept, if it were a file.
TEST_F(CFileTransferScanTest, TakesALinkOfUnknownTypeForNoFile)
{
    WriteFile("/opt/target.snd", "secret");
    ASSERT_EQ(0, ::symlink("/opt/target.snd", InClientDir("0link.snd").c_str()));
    const AfterEachEntry hidden([](dirent& entry) { entry.d_type = DT_UNKNOWN; });

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ("", CurrentFile(channel_));
    EXPECT_EQ(Texts{"0link.snd"}, ListDir(kClientDir));
}

// The file is gone, or has become a link, between the scan and the opening.
TEST_F(CFileTransferScanTest, NeverFollowsALink)
{
    WriteFile("/opt/target.snd", "secret");
    WriteFile(InClientDir("a.snd"), "request");
    const AfterEachEntry swap([](dirent& entry) {
        if (entry.d_type == DT_REG) {
            RemoveTree(InClientDir(entry.d_name));
            ASSERT_EQ(0, ::symlink("/opt/target.snd", InClientDir(entry.d_name).c_str()));
        }
    });

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ("a.snd", CurrentFile(channel_));
    EXPECT_EQ(-1, channel_.GetFileHandle());
    EXPECT_TRUE(Records().empty());
}

// Another name may be that of a file that its owner never put there.
TEST_F(CFileTransferScanTest, RefusesARequestWithAnotherName)
{
    WriteFile("/opt/elsewhere", "not a request");
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_EQ(0, ::link("/opt/elsewhere", InClientDir("b.snd").c_str()));

    EXPECT_EQ(Texts{"a.snd"}, Served());
    EXPECT_TRUE(Exists(InClientDir("b.snd")));

    RemoveTree("/opt/elsewhere");
    EXPECT_THAT(Served(), testing::UnorderedElementsAre("a.snd", "b.snd"));
}

TEST_F(CFileTransferScanTest, ForgetsTheFormerHandleAtARefusedRequest)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_EQ(Texts{"a.snd"}, Served());
    ASSERT_EQ(0, ::link(InClientDir("a.snd").c_str(), "/opt/b"));

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ(-1, channel_.GetFileHandle());
}

TEST_F(CFileTransferScanTest, PassesOverAVanishedRequest)
{
    WriteFile(InClientDir("a.snd"), "request");
    const AfterEachEntry remove([](dirent& entry) {
        if (entry.d_type == DT_REG)
            RemoveTree(InClientDir(entry.d_name));
    });

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ("a.snd", CurrentFile(channel_));
    EXPECT_EQ(-1, channel_.GetFileHandle());
    EXPECT_TRUE(Records().empty());
}

TEST_F(CFileTransferScanTest, OpensRequestsInTheDirectoryOfTheSettingsOnly)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_TRUE(channel_.OpenStream());
    ASSERT_EQ(0, ::rename(kClientDir, "/opt/moved"));
    MakeDirs(kClientDir);

    while (!channel_.IsEndStream())
        EXPECT_FALSE(channel_.IsTransFile());

    EXPECT_EQ("a.snd", CurrentFile(channel_));
    EXPECT_EQ(-1, channel_.GetFileHandle());
    channel_.CloseStream();
}

TEST_F(CFileTransferScanTest, ForgetsTheFormerHandleWhenOpeningFails)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_EQ(Texts{"a.snd"}, Served());
    EXPECT_LE(0, channel_.GetFileHandle());
    const AfterEachEntry remove([](dirent& entry) {
        if (entry.d_type == DT_REG)
            RemoveTree(InClientDir(entry.d_name));
    });

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ(-1, channel_.GetFileHandle());
}

TEST_F(CFileTransferScanTest, FailsWithoutADirectory)
{
    RemoveTree(kClientDir);

    EXPECT_FALSE(channel_.OpenStream());

    EXPECT_TRUE(channel_.IsEndStream());
    EXPECT_FALSE(channel_.IsTransFile());
    EXPECT_EQ((Texts{Fail(kOpenStream +
                          " opendir failed (No such file or directory : " + kClientDir + ")")}),
              Records());
}

TEST_F(CFileTransferScanTest, OpensWithoutARecord)
{
    EXPECT_TRUE(channel_.OpenStream());
    channel_.CloseStream();
    EXPECT_TRUE(Records().empty());
}

TEST_F(CFileTransferScanTest, HasNoEntryUnlessOpen)
{
    WriteFile(InClientDir("a.snd"), "request");

    EXPECT_FALSE(channel_.IsTransFile());
    EXPECT_TRUE(channel_.IsEndStream());
    EXPECT_FALSE(channel_.IsTransFile());
}

TEST_F(CFileTransferScanTest, HasNoEntryBeforeTheFirstAndBehindTheLast)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_TRUE(channel_.OpenStream());
    EXPECT_FALSE(channel_.IsTransFile());
    while (!channel_.IsEndStream()) {
    }

    EXPECT_FALSE(channel_.IsTransFile());
    EXPECT_TRUE(channel_.IsEndStream());
    channel_.CloseStream();
}

TEST_F(CFileTransferScanTest, EndsWithItsStream)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_TRUE(channel_.OpenStream());
    EXPECT_FALSE(channel_.IsEndStream());

    channel_.CloseStream();
    channel_.CloseStream();

    EXPECT_TRUE(channel_.IsEndStream());
    EXPECT_FALSE(channel_.IsTransFile());
}

// The fixture would report a stream that is left open.
TEST_F(CFileTransferScanTest, BeginsAnewWhenOpenedAgain)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_TRUE(channel_.OpenStream());
    while (!channel_.IsEndStream()) {
    }

    EXPECT_EQ(Texts{"a.snd"}, Served());
}

TEST_F(CFileTransferScanTest, ClosesTheFormerStreamWhenOpeningFails)
{
    ASSERT_TRUE(channel_.OpenStream());
    RemoveTree(kClientDir);

    EXPECT_FALSE(channel_.OpenStream());
    EXPECT_TRUE(channel_.IsEndStream());
}

TEST_F(CFileTransferScanTest, KeepsItsStreamFromOtherPrograms)
{
    const DescriptorMap before = OpenDescriptors();
    ASSERT_TRUE(channel_.OpenStream());
    for (const auto& [fd, target] : OpenDescriptors()) {
        if (before.count(fd) == 0) {
            EXPECT_EQ(kClientDir, target);
            EXPECT_EQ(FD_CLOEXEC, ::fcntl(fd, F_GETFD));
        }
    }
    channel_.CloseStream();
}

// Expiry.

using CFileTransferExpiryTest = CFileTransferScanTest;

// Two days before 1700000000.000042.
const std::string kLimit = "00001699827200000042";

TEST_F(CFileTransferExpiryTest, ComparesTheNameWithTheStampOfTwoDaysAgo)
{
    static const struct {
        std::string name;
        bool expired;
    } cases[] = {
        {kLimit, true},
        {kLimit + "som.snd", true},
        {kLimit + "~~~", true},
        {"00001699827200000041som.snd", true},
        {"00001699827200000043som.snd", false},
        {"00001699827199999999som.snd", true},
        {"00001699827201000000som.snd", false},
        {"00001700000000000042som.snd", false},
        {"0000169982720000004", true},  // shorter, so it sorts before
        {"0000169982720000004s", false},
        {"00000000000000000000x.snd", true},
        {"", true},
        {"0", true},
        {"0.snd", true},
        {".keep", true},
        {"-.snd", true},
        {"00002", false},
        {"1", false},
        {"99999999999999999999som.snd", false},
        {"abc.snd", false},
        {"Som.snd", false},
        {"_.snd", false},
        {"\xC3\xA4.snd", false},
    };
    const FrozenTime frozen(1700000000, 42);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.expired, channel_.IsExpiredFile(c.name.c_str()));
    }
}

TEST_F(CFileTransferExpiryTest, SubtractsFromTheSecondsAlone)
{
    const FrozenTime frozen({{1700000000, 0}, {1700000000, 999999}, {1700000000, 999999}});
    EXPECT_FALSE(channel_.IsExpiredFile("00001699827200000001a"));
    EXPECT_TRUE(channel_.IsExpiredFile("00001699827200999999a"));
    EXPECT_FALSE(channel_.IsExpiredFile("00001699827201000000a"));
}

// Two days ago there was no time to stamp.
TEST_F(CFileTransferExpiryTest, BeginsTwoDaysAfterTheEpoch)
{
    for (const std::time_t now : {-172800L, -1L, 0L, 1L, 172799L}) {
        SCOPED_TRACE(now);
        const FrozenTime frozen(now, 42);
        EXPECT_FALSE(channel_.IsExpiredFile("00000000000000000000x.snd"));
        EXPECT_FALSE(channel_.IsExpiredFile(""));
    }
    const FrozenTime frozen(172800, 42);
    EXPECT_TRUE(channel_.IsExpiredFile("00000000000000000042x.snd"));
    EXPECT_FALSE(channel_.IsExpiredFile("00000000000000000043x.snd"));
}

TEST_F(CFileTransferExpiryTest, LooksAtTheNameAndNotAtTheFile)
{
    WriteFile(InClientDir("abc.snd"), "request");
    SetMtime(InClientDir("abc.snd"), 1);
    EXPECT_EQ(Texts{"abc.snd"}, Served());
}

TEST_F(CFileTransferExpiryTest, OfNoNameIsNever)
{
    EXPECT_FALSE(channel_.IsExpiredFile(nullptr));
    channel_.DeleteExpiredFile(nullptr);
    EXPECT_TRUE(Records().empty());
}

TEST_F(CFileTransferExpiryTest, DeletesFromBothDirectories)
{
    WriteFile(InClientDir("a.snd"), "request");
    WriteFile(InServerDir("a.snd"), "response");
    WriteFile(InClientDir("b.snd"), "kept");
    WriteFile(InServerDir("b.snd"), "kept");

    channel_.DeleteExpiredFile("a.snd");

    EXPECT_EQ(Texts{"b.snd"}, ListDir(kClientDir));
    EXPECT_EQ(Texts{"b.snd"}, ListDir(kServerDir));
    EXPECT_EQ((Texts{Info(kDeleteExpired + " delete old file (" + InClientDir("a.snd") + ")"),
                     Info(kDeleteExpired + " delete old file (" + InServerDir("a.snd") + ")")}),
              Records());
}

TEST_F(CFileTransferExpiryTest, TracesTheServersFileOnlyWhenItIsThere)
{
    channel_.DeleteExpiredFile("a.snd");
    EXPECT_EQ((Texts{Info(kDeleteExpired + " delete old file (" + InClientDir("a.snd") + ")")}),
              Records());
}

TEST_F(CFileTransferExpiryTest, GoesOnAfterAFailedDeletion)
{
    MakeDirs(InClientDir("a.snd"));
    WriteFile(InServerDir("a.snd"), "response");

    channel_.DeleteExpiredFile("a.snd");

    EXPECT_EQ(Texts{"a.snd"}, ListDir(kClientDir));
    EXPECT_TRUE(ListDir(kServerDir).empty());
    EXPECT_EQ(2U, Records().size());
}

TEST_F(CFileTransferExpiryTest, SweepsEveryRegularFile)
{
    const FrozenTime frozen(1700000000, 42);
    for (const char* const name : {"00000000000000000000x.snd", "00000000000000000000x.tmp", "0"}) {
        WriteFile(InClientDir(name), "old");
        WriteFile(InServerDir(name), "old");
    }
    WriteFile(InClientDir(kTmp), "being written");
    WriteFile(InServerDir("00000000000000000001x.snd"), "without a request");

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ(Texts{kTmp}, ListDir(kClientDir));
    EXPECT_EQ(Texts{"00000000000000000001x.snd"}, ListDir(kServerDir));
    EXPECT_EQ(6U, Records().size());
}

TEST_F(CFileTransferExpiryTest, LeavesTheNameInHand)
{
    WriteFile(InClientDir("0.snd"), "old");
    EXPECT_TRUE(Served().empty());
    EXPECT_EQ("0.snd", CurrentFile(channel_));
    EXPECT_EQ(-1, channel_.GetFileHandle());
}

TEST_F(CFileTransferExpiryTest, SweepsRegularFilesOnly)
{
    WriteFile("/opt/target", "kept");
    MakeDirs(InClientDir("0directory.snd"));
    ASSERT_EQ(0, ::symlink("/opt/target", InClientDir("0link.snd").c_str()));
    ASSERT_EQ(0, ::mkfifo(InClientDir("0fifo.snd").c_str(), 0644));

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ(3U, ListDir(kClientDir).size());
    EXPECT_TRUE(Records().empty());
}

// Cancellation: a thread ends alone, and where it waits, at once.

using CFileTransferCancelTest = CFileTransferScanTest;

TEST_F(CFileTransferCancelTest, LetsASentMessageBeComplete)
{
    const FrozenTime frozen({{1700000000, 42}, {1700000000, 43}});

    const auto run = RunCancelled([&] { EXPECT_EQ(4, channel_.SendMessage("text")); });

    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ("text", ReadFile(InClientDir(kSnd)));
    EXPECT_EQ(5U, Records().size());
}

TEST_F(CFileTransferCancelTest, EndsAClientThatWaits)
{
    WriteFile(InClientDir("a.snd"), "request");
    channel_.SetCurrentFile("a.snd");

    const auto run = RunCancelled([&] {
        Buffer buffer(10);
        (void)channel_.RecvMessage(buffer.data(), buffer.size(), 0);
    });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_TRUE(Exists(InClientDir("a.snd")));
}

TEST_F(CFileTransferCancelTest, EndsAClientOfAnEmptyResponse)
{
    WriteFile(InServerDir("a.snd"), "");
    channel_.SetCurrentFile("a.snd");

    const auto run = RunCancelled([&] {
        Buffer buffer(10);
        (void)channel_.RecvMessage(buffer.data(), buffer.size(), 0);
    });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_TRUE(Exists(InServerDir("a.snd")));
}

TEST_F(CFileTransferCancelTest, LetsAResponseThatIsThereBeRead)
{
    WriteFile(InServerDir("a.snd"), "answer");
    channel_.SetCurrentFile("a.snd");
    Buffer buffer(10);

    const auto run =
        RunCancelled([&] { EXPECT_EQ(6, channel_.RecvMessage(buffer.data(), buffer.size(), 0)); });

    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_STREQ("answer", buffer.data());
    EXPECT_FALSE(Exists(InServerDir("a.snd")));
}

TEST_F(CFileTransferCancelTest, LetsAScanBeComplete)
{
    WriteFile(InClientDir("a.snd"), "request");
    WriteFile(InClientDir("0.snd"), "old");

    int requests = 0;
    const auto run = RunCancelled([&] {
        EXPECT_TRUE(channel_.OpenStream());
        while (!channel_.IsEndStream())
            requests += channel_.IsTransFile() ? 1 : 0;
        channel_.CloseStream();
    });
    EXPECT_EQ(0, ::close(channel_.GetFileHandle()));
    EXPECT_EQ(1, requests);

    EXPECT_TRUE(run.returned);
    EXPECT_TRUE(run.cancelled);
}

}  // namespace
}  // namespace qor::test
