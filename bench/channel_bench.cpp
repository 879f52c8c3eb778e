// The channel: sending, receiving and scanning the spool within one process; a request and its
// answer between two, beside a Unix socket and a message bus.
#include <fcntl.h>
#include <unistd.h>

#include <deque>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "CFileTransfer.h"
#include "channel_limit.h"
#include "channel_spool.h"
#include "CTraceUtility.h"
#include "support/Engine.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/Processes.h"

namespace {

using namespace qor::bench;
using namespace qor::test;

constexpr char kConfig[] = "/opt/velmora/qor/som/socket.conf";
constexpr std::size_t kMebibyte = 1 << 20;

// Tags: the trace level of one rejects all records, that of the other none.
constexpr char kSilent[] = "som";
constexpr char kTraced[] = "cli";

constexpr std::size_t kBatch = 64;  // messages between two clean-ups
constexpr std::size_t kTrips = 31;  // of which one measurement is the median

// Few long ones, or they would fill the memory.
int BatchOf(const std::string& message)
{
    return message.size() > 65536 ? 4 : kBatch;
}

// Empties spool directories and logs, and opens the logs of both tags.
void PrepareSpool()
{
    MakeLogDirectory();
    EmptyDirectory(kLogDirectory);
    WriteFile("/opt/velmora/qor/som/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=0\n");
    WriteFile("/opt/velmora/qor/cli/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=3F\n");
    for (const char* const tag : {kSilent, kTraced}) {
        CTraceUtility::Terminate(tag);
        CTraceUtility::Initialize(tag, CTraceUtility::WRITE_MODE_DEBUG);
    }
    for (const char* const directory : {kClientDir, kServerDir}) {
        MakeDirs(directory);
        EmptyDirectory(directory);
    }
}

// As long as asked for, and without a NUL.
std::string TypicalMessage(std::size_t length)
{
    std::string message;
    for (int i = 0; message.size() < length; ++i)
        message += "item " + std::to_string(i) + ";";
    message.resize(length);
    return message;
}

std::string Name(std::size_t number)
{
    return "99990000000000" + std::to_string(100000 + number) + "som.snd";
}

// The library's channel in the words of BareChannel.
class OurChannel
{
public:
    OurChannel(const char* tag, BareLog*) : channel_(tag, kConfig) {}

    int Send(const std::string& message) { return channel_.SendMessage(message); }
    int Receive(char* buffer, int size) { return channel_.RecvMessage(buffer, size, 0); }
    void SetCurrentFile(const std::string& name) { channel_.SetCurrentFile(name); }
    std::string CurrentFile()
    {
        std::string name;
        channel_.GetTransFile(name);
        return name;
    }
    // The name is asked for where it is wanted.
    template <typename Serve>
    bool Scan(const Serve& serve)
    {
        if (!channel_.OpenStream())
            return false;
        while (!channel_.IsEndStream()) {
            if (!channel_.IsTransFile())
                continue;
            if constexpr (std::is_invocable_v<Serve, int>)
                serve(channel_.GetFileHandle());
            else
                serve(channel_.GetFileHandle(), CurrentFile().c_str());
        }
        channel_.CloseStream();
        return true;
    }

private:
    CFileTransfer channel_;
};

// Levels and texts, the names of files blotted out.
std::vector<std::string> RecordsIn(const std::string& log, const std::string& name)
{
    std::vector<std::string> records;
    for (DebugLine& line : ParseDebugLog(log)) {
        const std::size_t found = line.text.find(name);
        if (found != std::string::npos)
            line.text.replace(found, name.size(), "NAME");
        records.push_back(line.level + " " + line.text);
    }
    return records;
}

// Sends one message, which must lie in the client directory alone. What is left in the log, or
// nothing when the request is not as it should be.
template <typename Channel>
std::vector<std::string> Outcome(Channel& channel, const std::string& message,
                                 const std::function<std::string()>& log)
{
    EmptyDirectory(kClientDir);
    if (channel.Send(message) != static_cast<int>(message.size()))
        return {};
    const std::string name = channel.CurrentFile();
    if (ListDir(kClientDir) != std::vector<std::string>{name} ||
        ReadFile(std::string(kClientDir) + "/" + name) != message)
        return {};
    std::vector<std::string> records = RecordsIn(log(), name);
    records.push_back("a request of " + std::to_string(name.size()) + " characters");
    return records;
}

bool SendsAlike(const std::string& message, const char* tag)
{
    PrepareSpool();
    BareLog log(LogPath("bare"));
    BareChannel bare(tag, tag == kTraced ? &log : nullptr);
    OurChannel ours(tag, nullptr);
    const auto expected = Outcome(bare, message, [] { return ReadFile(LogPath("bare")); });
    return !expected.empty() &&
           Outcome(ours, message, [&] { return ReadNewestLog(tag, kDebugLog); }) == expected;
}

template <typename Channel>
void Send(benchmark::State& state, std::size_t size, const char* tag)
{
    const std::string message = TypicalMessage(size);
    const bool isRight = SendsAlike(message, tag);
    PrepareSpool();
    BareLog log(LogPath("bare"));
    Channel channel(tag, tag == kTraced ? &log : nullptr);
    Measure(
        state, [&] { benchmark::DoNotOptimize(channel.Send(message)); }, [&] { return isRight; },
        [] { EmptyDirectory(kClientDir); }, BatchOf(message));
}

// One channel for each response, so that no request needs to be named in between.
template <typename Channel>
void Receive(benchmark::State& state, std::size_t size)
{
    PrepareSpool();
    const std::string response = TypicalMessage(size);
    std::deque<Channel> channels;
    for (std::size_t i = 0; i < kBatch; ++i)
        channels.emplace_back(kSilent, nullptr).SetCurrentFile(Name(i));
    const int batch = BatchOf(response);
    std::vector<char> buffer(response.size() + 2, '#');
    int length = 0;
    Measure(
        state,
        [&](int number) {
            length = channels[static_cast<std::size_t>(number)].Receive(
                buffer.data(), static_cast<int>(buffer.size()) - 1);
            benchmark::DoNotOptimize(length);
        },
        [&] {
            return length == static_cast<int>(response.size()) && response == buffer.data() &&
                   !Exists(std::string(kServerDir) + "/" + Name(0));
        },
        [&] {
            for (int i = 0; i < batch; ++i)
                WriteFile(std::string(kServerDir) + "/" + Name(static_cast<std::size_t>(i)),
                          response);
        },
        batch);
}

// Requests that nobody takes: each scan opens them all.
template <typename Channel>
void Scan(benchmark::State& state, std::size_t entries)
{
    PrepareSpool();
    for (std::size_t i = 0; i < entries; ++i)
        WriteFile(std::string(kClientDir) + "/" + Name(i), "request");
    Channel channel(kSilent, nullptr);
    std::size_t served = 0;
    const auto scan = [&] {
        served = 0;
        (void)channel.Scan([&served](int fd, auto&&...) {
            (void)::close(fd);
            ++served;
        });
        benchmark::DoNotOptimize(served);
    };
    Measure(state, scan, [&] { return served == entries; });
}

// The service's own part, the same for both channels: takes the request, sends it back.
void AnswerFile(int fd, const std::string& name)
{
    static std::vector<char> message(kLongestRequest);
    const std::string request = std::string(kClientDir) + "/" + name;
    const std::string response = std::string(kServerDir) + "/" + name;
    const std::string unfinished = response + ".part";

    const ssize_t length = ::read(fd, message.data(), message.size());
    (void)::close(fd);
    (void)::unlink(request.c_str());
    const int out = ::open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    (void)!::write(out, message.data(), static_cast<std::size_t>(length));
    (void)::close(out);
    (void)::rename(unfinished.c_str(), response.c_str());
}

template <typename Channel>
class ChannelClient : public Client
{
public:
    int Ask(const std::string& request, std::vector<char>& answer) override
    {
        return channel_.Send(request) < 0
                   ? -1
                   : channel_.Receive(answer.data(), static_cast<int>(answer.size()) - 1);
    }

private:
    static int Serve()
    {
        Channel channel(kSilent, nullptr);
        while (channel.Scan(AnswerFile))
            (void)::usleep(kInterval);
        return 1;
    }

    Channel channel_{kSilent, nullptr};
    ChildProcess server_{Serve};
};

using MakeClient = std::unique_ptr<Client> (*)();

template <typename Channel>
std::unique_ptr<Client> MakeChannelClient()
{
    return std::make_unique<ChannelClient<Channel>>();
}

void Trip(benchmark::State& state, MakeClient makeClient, std::size_t size)
{
    PrepareSpool();
    const std::string request = TypicalMessage(size);
    std::vector<char> answer(request.size() + 1);
    int length = 0;
    const std::unique_ptr<Client> client = makeClient();
    // Client and server sleep by turns: a trip may begin at any time of the server's.
    std::minstd_rand random;
    MeasureByWallClock(
        state, kTrips, [&] { length = client->Ask(request, answer); },
        [&] {
            return length == static_cast<int>(size) &&
                   request.compare(0, request.size(), answer.data(), request.size()) == 0;
        },
        [&random] { (void)::usleep(static_cast<useconds_t>(random() % (3 * kInterval))); });
}

template <typename Channel>
void AddChannel(const char* who)
{
    for (const std::size_t size :
         {std::size_t{64}, std::size_t{4096}, std::size_t{65536}, kMebibyte}) {
        Add("channel.send." + std::to_string(size), who,
            [=](auto& state) { Send<Channel>(state, size, kSilent); });
        Add("channel.receive." + std::to_string(size), who,
            [=](auto& state) { Receive<Channel>(state, size); });
    }
    Add("channel.send.traced", who, [](auto& state) { Send<Channel>(state, 64, kTraced); });
    for (const std::size_t entries : {10U, 100U, 1000U, 10000U})
        Add("channel.scan." + std::to_string(entries), who,
            [=](auto& state) { Scan<Channel>(state, entries); });
}

[[maybe_unused]] const bool kRegistered = [] {
    AddChannel<OurChannel>("ours");
    AddChannel<BareChannel>("limit");
    constexpr struct {
        const char* name;
        MakeClient make;
    } clients[] = {{"ours", MakeChannelClient<OurChannel>},
                   {"limit", MakeChannelClient<BareChannel>},
                   {"Unix socket", MakeUnixSocket},
                   {"D-Bus", MakeBus}};
    for (const std::size_t size : {std::size_t{64}, std::size_t{65536}, kMebibyte}) {
        for (const auto& client : clients)
            AddByWallClock("channel.trip." + std::to_string(size), client.name,
                           [=](auto& state) { Trip(state, client.make, size); });
    }
    return true;
}();

}  // namespace
