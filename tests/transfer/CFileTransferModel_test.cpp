// The channel beside its model, on random spools: results, bytes, names, records, sleeps and all
// that another process sees of the two directories, in its order.
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <map>

#include "CFileTransfer.h"
#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "support/Descriptors.h"
#include "support/FrozenTime.h"
#include "support/RandomCases.h"
#include "transfer/ChannelModel.h"
#include "transfer/ChannelTest.h"
#include "transfer/CountedSleep.h"

namespace qor::test {
namespace {

const unsigned kRounds = RandomCases(10);
constexpr std::time_t kNow = 1700000000;

// What happens in the spool, as inotify(7) reports it. Closing takes the kernel its time, so there
// is one for all rounds.
class SpoolEvents
{
public:
    // From now on, in the directories that are there now.
    void Watch()
    {
        for (const char* const dir : {kClientDir, kServerDir})
            names_[::inotify_add_watch(fd_.get(), dir, IN_ALL_EVENTS)] = dir;  // -1: none
        (void)Take();
    }

    // Each as "DIRECTORY NAME MASK".
    Texts Take()
    {
        Texts events;
        alignas(inotify_event) char block[1 << 16];
        for (ssize_t size; (size = ::read(fd_.get(), block, sizeof block)) > 0;) {
            for (const char* at = block; at < block + size;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(at);
                events.push_back(names_.at(event->wd) + " " + (event->len > 0 ? event->name : "") +
                                 " " + std::to_string(event->mask));
                at += sizeof *event + event->len;
            }
        }
        return events;
    }

private:
    OwnedFd fd_{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
    std::map<int, std::string> names_;
};

// All that can be seen of one operation.
struct Outcome {
    int result = 0;
    int error = 0;
    std::string currentFile;
    std::string bytes;  // of the buffer
    Texts served;
    Texts records;
    std::vector<useconds_t> sleeps;
    Texts files;
    Texts events;
};

void ExpectAlike(const Outcome& model, const Outcome& ours)
{
    EXPECT_EQ(model.result, ours.result);
    EXPECT_EQ(model.error, ours.error);
    EXPECT_EQ(model.currentFile, ours.currentFile);
    EXPECT_EQ(model.bytes, ours.bytes);
    EXPECT_EQ(model.served, ours.served);
    EXPECT_EQ(model.records, ours.records);
    EXPECT_EQ(model.sleeps, ours.sleeps);
    EXPECT_EQ(model.files, ours.files);
    EXPECT_EQ(model.events, ours.events);
}

enum class Kind { kFile, kDirectory, kLink, kDanglingLink };

struct Entry {
    std::string path;
    Kind kind;
    std::string content;
};

void Make(const Entry& entry)
{
    RemoveTree(entry.path);
    if (entry.kind == Kind::kFile)
        WriteFile(entry.path, entry.content);
    else if (entry.kind == Kind::kDirectory)
        MakeDirs(entry.path);
    else
        ASSERT_EQ(0, ::symlink(entry.kind == Kind::kLink ? "/opt/target" : "/opt/nowhere",
                               entry.path.c_str()));
}

// A spool and what is done with it, out of a seed.
struct Scene {
    std::string tag;
    unsigned int levels = 0;
    bool initialized = false;  // else each record opens the log by itself
    int interval = 0;
    std::array<timeval, 4> moments{};  // of the clock; the last one stays
    Texts missing;                     // directories
    std::vector<Entry> entries;
    std::map<std::size_t, Entry> atSleep;            // what is made during the n-th sleep
    std::map<std::size_t, std::string> goneAtSleep;  // what is removed then
    std::string message;
    std::string currentFile;
    int size = 0;
};

class RandomScene : Chance
{
public:
    using Chance::Chance;

    Scene ForSending();
    Scene ForReceiving();
    Scene ForScanning();

private:
    template <typename T>
    T OneOf(std::initializer_list<T> values)
    {
        return Chance::OneOf(values);
    }
    Scene Any();
    std::string Bytes();
    std::string NameAt(const timeval& moment, const Scene& scene, const char* extension);
};

// No line feeds: they separate the records of a log.
std::string RandomScene::Bytes()
{
    const std::size_t length =
        OneOf<std::size_t>({0, 1, 5, 100, 1023, 1024, 1025, 2048, 3000, Below(5000)});
    std::string bytes;
    for (std::size_t i = 0; i < length; ++i)
        bytes += OneIn(2000) ? '\0' : OneIn(20) ? OneOf({'%', '\t', '\xff', 'n', 's'}) : 'a';
    return bytes;
}

Scene RandomScene::Any()
{
    Scene scene;
    scene.tag = OneOf<const char*>({"som", "cli", "um", "som.tmp", "lan", ""});
    scene.levels = OneOf({0U, 1U, 2U, 4U, 6U, 7U, 7U, 0x3FU});
    scene.initialized = OneIn(2);
    scene.interval = OneOf({1000000, 3000000, 10000000, 30000000, 40000000, 0, -5});
    for (timeval& moment : scene.moments)
        moment = {kNow, static_cast<suseconds_t>(41 + Below(4))};
    return scene;
}

std::string RandomScene::NameAt(const timeval& moment, const Scene& scene, const char* extension)
{
    return "000017000000000000" + std::to_string(moment.tv_usec) +
           scene.tag.substr(0, scene.tag.find(".tmp")) + extension;
}

Scene RandomScene::ForSending()
{
    Scene scene = Any();
    scene.message = Bytes();
    if (OneIn(10))
        scene.missing.push_back(kClientDir);
    for (std::size_t i = Below(4); i > 0; --i) {
        // Taken names; a temporary one must leave a moment that is free.
        const timeval moment = {kNow, static_cast<suseconds_t>(41 + Below(4))};
        const bool temporary = OneIn(3) && moment.tv_usec != scene.moments.back().tv_usec;
        scene.entries.push_back({InClientDir(NameAt(moment, scene, temporary ? ".tmp" : ".snd")),
                                 OneIn(4)   ? Kind::kDirectory
                                 : OneIn(4) ? Kind::kLink
                                            : Kind::kFile,
                                 "somebody else's"});
    }
    return scene;
}

Scene RandomScene::ForReceiving()
{
    Scene scene = Any();
    scene.size = OneOf({0, 1, 5, 99, 100, 101, 1024, 5000});
    scene.currentFile = OneOf<const char*>({"a.snd", "a.snd", "a.snd", ""});
    const std::string request = InClientDir("a.snd");
    const std::string response = InServerDir("a.snd");
    const auto make = [&] {
        return Entry{
            response,
            OneIn(8) ? OneOf({Kind::kDirectory, Kind::kLink, Kind::kDanglingLink}) : Kind::kFile,
            Bytes()};
    };
    if (!OneIn(3))
        scene.entries.push_back({request, Kind::kFile, "request"});
    if (OneIn(2))
        scene.entries.push_back(make());
    for (std::size_t i = 1; i <= 12; ++i) {
        if (OneIn(5))
            scene.goneAtSleep[i] = OneIn(3) ? response : request;
        else if (OneIn(6))
            scene.atSleep[i] = make();
    }
    // Once the request is gone, there must be an end.
    scene.atSleep[14] = {response, Kind::kFile, "late"};
    return scene;
}

Scene RandomScene::ForScanning()
{
    Scene scene = Any();
    if (OneIn(20))
        scene.missing.push_back(kClientDir);
    for (std::size_t i = Below(30); i > 0; --i) {
        const std::string name =
            OneOf<const char*>({"0000169982720000004", "0000170000000000004", "000000000000", "abc",
                                "9", "1", ""}) +
            std::to_string(Below(5)) + OneOf<const char*>({"som", "", "~"}) +
            OneOf<const char*>({".snd", ".snd", ".snd", ".tmp", ".snd.bak", ".SND", "."}) + "x";
        scene.entries.push_back({InClientDir(name),
                                 OneIn(6) ? OneOf({Kind::kDirectory, Kind::kLink}) : Kind::kFile,
                                 "request"});
        if (OneIn(3))
            scene.entries.push_back(
                {InServerDir(name), OneIn(6) ? Kind::kDanglingLink : Kind::kFile, "response"});
    }
    return scene;
}

class CFileTransferModelTest : public ChannelTest
{
protected:
    ~CFileTransferModelTest() override
    {
        for (const auto& [tag, level] : formerLevels_)
            CTraceUtilityCom::GetSettingInfo(tag.c_str())->traceLevel = level;
    }

    void Prepare(const Scene& scene)
    {
        CTraceUtility::Terminate(scene.tag.c_str());
        MakeLogDirectory();
        EmptyDirectory(kLogDirectory);
        Configure("polling_interval=" + std::to_string(scene.interval) + "\n");
        WriteFile("/opt/target", "a link's target");
        for (const char* const dir : {kClientDir, kServerDir}) {
            RemoveTree(dir);
            MakeDirs(dir);
        }
        for (const Entry& entry : scene.entries)
            Make(entry);
        auto& level = CTraceUtilityCom::GetSettingInfo(scene.tag.c_str())->traceLevel;
        formerLevels_.emplace(scene.tag, level);
        level = scene.levels;
        if (scene.initialized)
            CTraceUtility::Initialize(scene.tag.c_str(), CTraceUtility::WRITE_MODE_DEBUG);
    }

    // Runs `operate`, which fills in what it returns, and looks at what it left and did.
    template <typename Operate>
    Outcome Observe(const Scene& scene, Operate operate)
    {
        for (const std::string& dir : scene.missing)
            RemoveTree(dir);
        events_.Watch();

        Outcome outcome;
        const CountedSleep sleep([&] { Disturb(scene, sleep.Count()); });
        const FrozenTime frozen(
            {scene.moments[0], scene.moments[1], scene.moments[2], scene.moments[3]});
        operate(outcome);
        outcome.sleeps = sleep.Sleeps();
        outcome.events = events_.Take();
        for (const std::string dir : {kClientDir, kServerDir}) {
            for (const std::string& name : Exists(dir) ? ListDir(dir) : Texts{})
                outcome.files.push_back(Describe(dir + "/" + name));
        }
        return outcome;
    }

    static void Disturb(const Scene& scene, std::size_t sleep)
    {
        const auto made = scene.atSleep.find(sleep);
        if (made != scene.atSleep.end())
            Make(made->second);
        const auto gone = scene.goneAtSleep.find(sleep);
        if (gone != scene.goneAtSleep.end())
            RemoveTree(gone->second);
    }

    static std::string Describe(const std::string& path)
    {
        struct stat status;
        if (::lstat(path.c_str(), &status) != 0)
            return path;
        return path + " " + std::to_string(status.st_mode) +
               (S_ISREG(status.st_mode) ? ReadFile(path) : "");
    }

    template <typename Operate>
    Outcome OfTheLibrary(const Scene& scene, Operate operate)
    {
        Prepare(scene);
        CFileTransfer channel(scene.tag, kConfig);
        channel.SetCurrentFile(scene.currentFile);
        Outcome outcome = Observe(scene, [&](Outcome& out) { operate(channel, out); });
        outcome.currentFile = CurrentFile(channel);
        outcome.records = Records(scene.tag);
        CTraceUtility::Terminate(scene.tag.c_str());
        return outcome;
    }

    template <typename Operate>
    Outcome OfTheModel(const Scene& scene, Operate operate)
    {
        Prepare(scene);
        ChannelModel model(scene.tag, kClientDir, kServerDir, scene.interval, scene.levels);
        model.SetCurrentFile(scene.currentFile);
        Outcome outcome = Observe(scene, [&](Outcome& out) { operate(model, out); });
        outcome.currentFile = model.CurrentFile();
        outcome.records = model.Records();
        CTraceUtility::Terminate(scene.tag.c_str());
        return outcome;
    }

    SpoolEvents events_;
    std::map<std::string, unsigned int> formerLevels_;
};

TEST_F(CFileTransferModelTest, SendsAlike)
{
    for (unsigned seed = 1; seed <= kRounds && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const Scene scene = RandomScene(seed).ForSending();
        ExpectAlike(OfTheModel(scene,
                               [&](ChannelModel& model, Outcome& out) {
                                   out.result = model.Send(scene.message);
                                   out.error = out.result < 0 ? errno : 0;
                               }),
                    OfTheLibrary(scene, [&](CFileTransfer& channel, Outcome& out) {
                        out.result = channel.SendMessage(scene.message);
                        out.error = out.result < 0 ? errno : 0;
                    }));
    }
}

TEST_F(CFileTransferModelTest, ReceivesAlike)
{
    for (unsigned seed = 1; seed <= kRounds && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const Scene scene = RandomScene(seed).ForReceiving();
        const std::string untouched(static_cast<std::size_t>(scene.size) + 4, '#');
        ExpectAlike(OfTheModel(scene,
                               [&](ChannelModel& model, Outcome& out) {
                                   out.bytes = untouched;
                                   out.result = model.Receive(&out.bytes[1], scene.size);
                               }),
                    OfTheLibrary(scene, [&](CFileTransfer& channel, Outcome& out) {
                        out.bytes = untouched;
                        out.result = channel.RecvMessage(&out.bytes[1], scene.size, 0);
                    }));
    }
}

TEST_F(CFileTransferModelTest, ScansAlike)
{
    for (unsigned seed = 1; seed <= kRounds && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const Scene scene = RandomScene(seed).ForScanning();
        ExpectAlike(
            OfTheModel(scene, [](ChannelModel& model, Outcome& out) { out.served = model.Scan(); }),
            OfTheLibrary(scene, [](CFileTransfer& channel, Outcome& out) {
                if (channel.OpenStream())
                    out.served = ServedByScan(channel);
            }));
    }
}

}  // namespace
}  // namespace qor::test
