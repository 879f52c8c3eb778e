// A request and its answer between two processes: the channel, the same by bare system calls, and,
// as references, a Unix socket and a message bus.
//
// The server is another process and the client sleeps between its looks, so the wall clock is
// measured.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "CFileTransfer.h"
#include "channel_limit.h"
#include "channel_peers.h"
#include "channel_spool.h"
#include "median_time.h"
#include "support/Processes.h"

namespace {

using namespace qor::bench;
using namespace qor::test;

constexpr std::size_t kTrips = 31;  // of which one measurement tells the median

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

int ServeOurs()
{
    CFileTransfer channel(kSilent, kConfig);
    for (std::string name;; (void)::usleep(kInterval)) {
        if (!channel.OpenStream())
            return 1;
        while (!channel.IsEndStream()) {
            if (channel.IsTransFile()) {
                channel.GetTransFile(name);
                AnswerFile(channel.GetFileHandle(), name);
            }
        }
        channel.CloseStream();
    }
}

int ServeBare()
{
    const BareChannel channel(kSilent, kClientDir, kServerDir, nullptr);
    while (channel.Scan(AnswerFile))
        (void)::usleep(kInterval);
    return 1;
}

class Ours : public Client
{
public:
    int Ask(const std::string& request, std::vector<char>& answer) override
    {
        return channel_.SendMessage(request) < 0
                   ? -1
                   : channel_.RecvMessage(answer.data(), static_cast<int>(answer.size()) - 1, 0);
    }

private:
    CFileTransfer channel_{kSilent, kConfig};
    ChildProcess server_{ServeOurs};
};

class Bare : public Client
{
public:
    int Ask(const std::string& request, std::vector<char>& answer) override
    {
        return channel_.Send(request) < 0
                   ? -1
                   : channel_.Receive(answer.data(), static_cast<int>(answer.size()) - 1,
                                      kInterval);
    }

private:
    BareChannel channel_{kSilent, kClientDir, kServerDir, nullptr};
    ChildProcess server_{ServeBare};
};

using MakeClient = std::unique_ptr<Client> (*)();

std::unique_ptr<Client> MakeOurs()
{
    return std::make_unique<Ours>();
}

std::unique_ptr<Client> MakeBare()
{
    return std::make_unique<Bare>();
}

void Trip(benchmark::State& state, MakeClient makeClient, int size)
{
    PrepareSpool();
    const std::string request = TypicalMessage(size);
    std::vector<char> answer(request.size() + 1);
    const AheadOfOthers ahead;
    const std::unique_ptr<Client> client = makeClient();
    if (client->Ask(request, answer) != size ||
        request.compare(0, request.size(), answer.data(), request.size()) != 0) {
        state.SkipWithError("the answer is not the request");
        return;
    }
    // Client and server sleep by turns: a trip may begin at any time of the server's.
    std::minstd_rand random;
    const auto pause = [&random] {
        (void)::usleep(static_cast<useconds_t>(random() % (3 * kInterval)));
    };
    const auto trip = [&] { (void)client->Ask(request, answer); };
    for (auto _ : state)
        state.SetIterationTime(MedianSeconds(kTrips, trip, pause));
}

constexpr struct {
    const char* name;
    MakeClient make;
} kClients[] = {
    {"ours", MakeOurs}, {"limit", MakeBare}, {"Unix socket", MakeUnixSocket}, {"D-Bus", MakeBus}};

void Register()
{
    for (const int size : {64, 65536, kLongestRequest}) {
        for (const auto& client : kClients) {
            const std::string name = "channel.trip." + std::to_string(size) + "/" + client.name;
            benchmark::RegisterBenchmark(name.c_str(), Trip, client.make, size)
                ->Iterations(5)
                ->UseManualTime();
        }
    }
}

[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
