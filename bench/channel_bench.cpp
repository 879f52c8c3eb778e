// Messages of the channel within one process: sending, receiving, scanning the spool.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <deque>
#include <string>
#include <vector>

#include "CFileTransfer.h"
#include "channel_limit.h"
#include "channel_spool.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace {

using namespace qor::bench;
using namespace qor::test;

constexpr int kMebibyte = 1 << 20;  // bytes

// Messages between two clean-ups, which are not measured; few long ones, or they would fill the
// memory.
constexpr int kBatch = 64;

int BatchOf(const std::string& message)
{
    return message.size() > 65536 ? 4 : kBatch;
}

std::string Name(int number)
{
    return "99990000000000" + std::to_string(100000 + number) + "som.snd";
}

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

// The request that lies in the client directory alone, once it is looked at.
std::string TakeOnlyRequest(const std::string& name)
{
    const std::vector<std::string> names = ListDir(kClientDir);
    std::string content = names == std::vector<std::string>{name}
                              ? ReadFile(std::string(kClientDir) + "/" + name)
                              : "not as it should be";
    EmptyDirectory(kClientDir);
    return content;
}

bool SendsAlike(CFileTransfer& ours, BareChannel& bare, const std::string& message)
{
    bool alike = ours.SendMessage(message) == static_cast<int>(message.size());
    std::string name;
    ours.GetTransFile(name);
    alike = alike && TakeOnlyRequest(name) == message;
    alike = alike && bare.Send(message) == static_cast<int>(message.size());
    return alike && bare.CurrentFile().size() == name.size() &&
           TakeOnlyRequest(bare.CurrentFile()) == message;
}

template <typename Channel, typename Send>
void MeasureSend(benchmark::State& state, Channel& channel, Send send, const std::string& message)
{
    const int batch = BatchOf(message);
    while (state.KeepRunningBatch(batch)) {
        for (int i = 0; i < batch; ++i)
            benchmark::DoNotOptimize(send(channel, message));
        state.PauseTiming();
        EmptyDirectory(kClientDir);
        state.ResumeTiming();
    }
}

int SendOurs(CFileTransfer& channel, const std::string& message)
{
    return channel.SendMessage(message);
}

int SendBare(BareChannel& channel, const std::string& message)
{
    return channel.Send(message);
}

void Send(benchmark::State& state, bool measuresOurs, int size, const char* tag)
{
    PrepareSpool();
    const std::string message = TypicalMessage(size);
    CFileTransfer ours(tag, kConfig);
    BareLog log(LogPath("bare"));
    BareChannel bare(tag, kClientDir, kServerDir, tag == kTraced ? &log : nullptr);

    std::string name;
    const bool sent = SendsAlike(ours, bare, message);
    ours.GetTransFile(name);
    if (!sent || RecordsIn(ReadNewestLog(tag, kDebugLog), name) !=
                     RecordsIn(ReadFile(LogPath("bare")), bare.CurrentFile())) {
        state.SkipWithError("requests or records differ");
        return;
    }
    if (measuresOurs)
        MeasureSend(state, ours, SendOurs, message);
    else
        MeasureSend(state, bare, SendBare, message);
}

// One channel for each response, so that no request needs to be named in between.
struct Receivers {
    std::deque<CFileTransfer> ours;
    std::deque<BareChannel> bare;
};

Receivers MakeReceivers()
{
    Receivers receivers;
    for (int i = 0; i < kBatch; ++i) {
        receivers.ours.emplace_back(kSilent, kConfig);
        receivers.ours.back().SetCurrentFile(Name(i));
        receivers.bare.emplace_back(kSilent, kClientDir, kServerDir, nullptr);
        receivers.bare.back().SetCurrentFile(Name(i));
    }
    return receivers;
}

void PutResponses(const std::string& text, int count)
{
    for (int i = 0; i < count; ++i)
        WriteFile(std::string(kServerDir) + "/" + Name(i), text);
}

int ReceiveOurs(CFileTransfer& channel, std::vector<char>& buffer)
{
    return channel.RecvMessage(buffer.data(), static_cast<int>(buffer.size()) - 1, 0);
}

int ReceiveBare(BareChannel& channel, std::vector<char>& buffer)
{
    return channel.Receive(buffer.data(), static_cast<int>(buffer.size()) - 1, kInterval);
}

template <typename Channel, typename Receive>
bool Receives(Channel& channel, Receive receive, const std::string& response)
{
    PutResponses(response, 1);
    std::vector<char> buffer(response.size() + 2, '#');
    const int length = receive(channel, buffer);
    return length == static_cast<int>(response.size()) && response == buffer.data() &&
           ListDir(kServerDir).empty();
}

template <typename Channels, typename Receive>
void MeasureReceive(benchmark::State& state, Channels& channels, Receive receive,
                    const std::string& response)
{
    const int batch = BatchOf(response);
    std::vector<char> buffer(response.size() + 2);
    while (state.KeepRunningBatch(batch)) {
        state.PauseTiming();
        PutResponses(response, batch);
        state.ResumeTiming();
        for (int i = 0; i < batch; ++i)
            benchmark::DoNotOptimize(receive(channels[static_cast<std::size_t>(i)], buffer));
    }
}

void Receive(benchmark::State& state, bool measuresOurs, int size)
{
    PrepareSpool();
    const std::string response = TypicalMessage(size);
    Receivers receivers = MakeReceivers();
    if (!Receives(receivers.ours[0], ReceiveOurs, response) ||
        !Receives(receivers.bare[0], ReceiveBare, response)) {
        state.SkipWithError("the response was not received");
        return;
    }
    if (measuresOurs)
        MeasureReceive(state, receivers.ours, ReceiveOurs, response);
    else
        MeasureReceive(state, receivers.bare, ReceiveBare, response);
}

int ScanOurs(CFileTransfer& channel)
{
    int served = 0;
    if (!channel.OpenStream())
        return -1;
    while (!channel.IsEndStream()) {
        if (channel.IsTransFile()) {
            (void)::close(channel.GetFileHandle());
            ++served;
        }
    }
    channel.CloseStream();
    return served;
}

int ScanBare(const BareChannel& channel)
{
    int served = 0;
    const bool scanned = channel.Scan([&served](int fd, const char*) {
        (void)::close(fd);
        ++served;
    });
    return scanned ? served : -1;
}

// Requests that nobody takes: each scan opens them all.
void Scan(benchmark::State& state, bool measuresOurs, int entries)
{
    PrepareSpool();
    for (int i = 0; i < entries; ++i)
        WriteFile(std::string(kClientDir) + "/" + Name(i), "request");
    CFileTransfer ours(kSilent, kConfig);
    const BareChannel bare(kSilent, kClientDir, kServerDir, nullptr);
    if (ScanOurs(ours) != entries || ScanBare(bare) != entries) {
        state.SkipWithError("the scan missed requests");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(measuresOurs ? ScanOurs(ours) : ScanBare(bare));
}

const char* Who(bool ours)
{
    return ours ? "/ours" : "/limit";
}

void Register()
{
    for (const bool ours : {true, false}) {
        const auto add = [ours](const std::string& operation, auto measure) {
            benchmark::RegisterBenchmark((operation + Who(ours)).c_str(), measure);
        };
        for (const int size : {64, 4096, 65536, kMebibyte}) {
            add("channel.send." + std::to_string(size),
                [=](benchmark::State& state) { Send(state, ours, size, kSilent); });
            add("channel.receive." + std::to_string(size),
                [=](benchmark::State& state) { Receive(state, ours, size); });
        }
        add("channel.send.traced",
            [=](benchmark::State& state) { Send(state, ours, 64, kTraced); });
        for (const int entries : {10, 100, 1000, 10000})
            add("channel.scan." + std::to_string(entries),
                [=](benchmark::State& state) { Scan(state, ours, entries); });
    }
}

[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
