// The server's half: the scan of the client directory, and the expiry of what lies there.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "CFileTransfer.h"
#include "support/Cancellation.h"
#include "support/FrozenTime.h"
#include "support/Text.h"
#include "transfer/ChannelTest.h"

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

}  // namespace

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

class CFileTransferScanTest : public ChannelTest
{
protected:
    // What a whole scan serves.
    Texts Served()
    {
        EXPECT_TRUE(channel_.OpenStream());
        return ServedByScan(channel_);
    }

    CFileTransfer channel_{kTag, kConfig};
};

TEST_F(CFileTransferScanTest, FindsNothingAndTracesNothingInAnEmptyDirectory)
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
    EXPECT_EQ(Sorted(names), Sorted(Served()));
}

// Makes one of each type that is no regular file, each with a fine name that begins as given.
void MakeOtherTypes(const std::string& begin = "")
{
    MakeDirs(InClientDir(begin + "directory.snd"));
    WriteFile("/opt/target.snd", "secret");
    ASSERT_EQ(0, ::symlink("/opt/target.snd", InClientDir(begin + "link.snd").c_str()));
    ASSERT_EQ(0, ::mkfifo(InClientDir(begin + "fifo.snd").c_str(), 0644));
    BindSocket(InClientDir(begin + "socket.snd").c_str());
}

TEST_F(CFileTransferScanTest, ServesAndSweepsRegularFilesOnly)
{
    for (const char* const begin : {"", "0"}) {  // as of a request, and of one that has expired
        SCOPED_TRACE(begin);
        EmptyDirectory(kClientDir);
        MakeOtherTypes(begin);
        const Texts names = ListDir(kClientDir);
        ASSERT_EQ(4U, names.size());
        channel_.SetCurrentFile("former.snd");

        EXPECT_TRUE(Served().empty());

        EXPECT_EQ("former.snd", CurrentFile(channel_));
        EXPECT_EQ(names, ListDir(kClientDir));
        EXPECT_TRUE(Records().empty());
    }
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
    EXPECT_EQ(Strings({"a.snd", "b.snd"}), Sorted(Served()));
}

TEST_F(CFileTransferScanTest, ForgetsTheFormerHandleAtARefusedRequest)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_EQ(Texts{"a.snd"}, Served());
    ASSERT_EQ(0, ::link(InClientDir("a.snd").c_str(), "/opt/b"));

    EXPECT_TRUE(Served().empty());

    EXPECT_EQ(-1, channel_.GetFileHandle());
}

TEST_F(CFileTransferScanTest, PassesOverAVanishedRequestAndForgetsTheFormerHandle)
{
    WriteFile(InClientDir("a.snd"), "request");
    ASSERT_EQ(Texts{"a.snd"}, Served());
    EXPECT_LE(0, channel_.GetFileHandle());
    EmptyDirectory(kLogDirectory);
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

TEST_F(CFileTransferScanTest, HasNoEntryUnlessOpen)
{
    WriteFile(InClientDir("a.snd"), "request");

    EXPECT_FALSE(channel_.IsTransFile());
    EXPECT_TRUE(channel_.IsEndStream());
    EXPECT_FALSE(channel_.IsTransFile());
}

TEST_F(CFileTransferScanTest, HasNoEntryBeforeTheFirstAndAfterTheLast)
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
TEST_F(CFileTransferScanTest, StartsOverWhenOpenedAgain)
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
    const timespec epoch[2] = {};  // of access and of modification
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, InClientDir("abc.snd").c_str(), epoch, 0));
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

TEST_F(CFileTransferScanTest, IsCompleteOnACancelledThread)
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
