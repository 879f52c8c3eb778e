// The channel between real processes: one server, clients that come and go.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>

#include "CFileTransfer.h"
#include "support/FrozenTime.h"
#include "support/Processes.h"
#include "support/Text.h"
#include "support/WaitUntil.h"
#include "transfer/ChannelTest.h"
#include "transfer/CountedSleep.h"

namespace qor::test {
namespace {

using Answer = std::function<std::string(const std::string& request)>;

constexpr char kStopFile[] = "/opt/stop";
constexpr int kMebibyte = 1024 * 1024;
constexpr int kTwoDays = 172800;  // seconds

std::string Echo(const std::string& request)
{
    return "answer to " + request;
}

// Takes the request in hand and publishes the answer, as CFileTransfer.h asks for.
void Serve(CFileTransfer& channel, const Answer& answer)
{
    std::string request = CurrentFile(channel);
    std::string response = request;
    std::string dir;
    channel.GetRecvDir(dir);
    channel.AppendFullPath(dir, request);
    channel.GetSendDir(dir);
    channel.AppendFullPath(dir, response);

    const OwnedFd fd(channel.GetFileHandle());
    const std::string text = ReadToEnd(fd.get());
    ASSERT_EQ(0, ::unlink(request.c_str()));
    WriteFile(response + ".part", answer(text));
    ASSERT_EQ(0, ::rename((response + ".part").c_str(), response.c_str()));
}

void Scan(CFileTransfer& channel, const Answer& answer)
{
    ASSERT_TRUE(channel.OpenStream());
    while (!channel.IsEndStream()) {
        if (channel.IsTransFile())
            Serve(channel, answer);
    }
    channel.CloseStream();
}

// The server process: until the stop file is there, and without leaving a descriptor open.
int RunServer(const Answer& answer)
{
    CFileTransfer channel(kTag, kConfig);
    const DescriptorMap before = OpenDescriptors();
    const bool stopped = WaitUntil(
        [&] {
            Scan(channel, answer);
            return Exists(kStopFile);
        },
        std::chrono::seconds(100));
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
    return stopped ? 0 : 1;
}

// Sends a request; the answer, or "failed" and the result.
std::string Ask(CFileTransfer& channel, const std::string& request, int size = 2 * kMebibyte)
{
    std::vector<char> buffer(static_cast<std::size_t>(size) + 1);
    const int sent = channel.SendMessage(request);
    if (sent != static_cast<int>(request.size()))
        return "failed to send";
    const int length = channel.RecvMessage(buffer.data(), size, 0);
    return length < 0 ? "failed " + std::to_string(length)
                      : std::string(buffer.data(), static_cast<std::size_t>(length));
}

// Names of the published requests.
Strings Requests()
{
    Strings names;
    for (const std::string& name : ListDir(kClientDir)) {
        if (name.find(".snd") != std::string::npos)
            names.push_back(name);
    }
    return names;
}

class CFileTransferProcessesTest : public ChannelTest
{
protected:
    CFileTransferProcessesTest()
    {
        MakeDirs(kClientDir);
        MakeDirs(kServerDir);
        SetInterval("1000");
    }

    static void Stop(ChildProcess& server)
    {
        WriteFile(kStopFile, "");
        EXPECT_EQ(0, server.Wait());
    }

    static void ExpectEmptySpool()
    {
        EXPECT_TRUE(ListDir(kClientDir).empty());
        EXPECT_TRUE(ListDir(kServerDir).empty());
    }
};

TEST_F(CFileTransferProcessesTest, AnswerInTime)
{
    ChildProcess server([] { return RunServer(Echo); });
    CFileTransfer client(kTag, kConfig);

    EXPECT_EQ("answer to request", Ask(client, "request"));

    Stop(server);
    ExpectEmptySpool();
}

TEST_F(CFileTransferProcessesTest, AnswerAClientThatWasFirst)
{
    ChildProcess client([] {
        CFileTransfer channel(kTag, kConfig);
        return Ask(channel, "request") == "answer to request" ? 0 : 1;
    });
    ASSERT_TRUE(WaitUntil([] { return !Requests().empty(); }));

    ChildProcess server([] { return RunServer(Echo); });

    EXPECT_EQ(0, client.Wait());
    Stop(server);
}

TEST_F(CFileTransferProcessesTest, PassAMebibyteBothWays)
{
    std::string request;
    for (unsigned i = 0; request.size() < kMebibyte; ++i)
        request += static_cast<char>('a' + (i % 23) * (i % 23) % 23);
    ChildProcess server([] {
        return RunServer(
            [](const std::string& text) { return std::string(text.rbegin(), text.rend()); });
    });
    CFileTransfer client(kTag, kConfig);

    EXPECT_TRUE(std::string(request.rbegin(), request.rend()) == Ask(client, request, kMebibyte));

    Stop(server);
    ExpectEmptySpool();
}

TEST_F(CFileTransferProcessesTest, CutTheAnswerToAShortBuffer)
{
    ChildProcess server([] { return RunServer(Echo); });
    CFileTransfer client(kTag, kConfig);

    EXPECT_EQ("answer t", Ask(client, "request", 8));
    EXPECT_EQ("answer to again", Ask(client, "again"));

    Stop(server);
    ExpectEmptySpool();
}

TEST_F(CFileTransferProcessesTest, PassEmptyMessages)
{
    ChildProcess server(
        [] { return RunServer([](const std::string& request) { return request; }); });
    CFileTransfer client(kTag, kConfig);
    const CountedSleep sleep;

    EXPECT_EQ("", Ask(client, ""));

    Stop(server);
    ExpectEmptySpool();
}

TEST_F(CFileTransferProcessesTest, TimeOutWithoutAServer)
{
    SetInterval("1000000");

    const int status = InChild([] {
        const CountedSleep sleep;
        CFileTransfer channel(kTag, kConfig);
        EXPECT_EQ("failed -1", Ask(channel, "request"));
        EXPECT_EQ(30U, sleep.Count());
        return 0;
    });

    EXPECT_EQ(0, status);
    ExpectEmptySpool();
}

TEST_F(CFileTransferProcessesTest, WaitForASlowServerBeyondTheLimit)
{
    SetInterval("1000000");
    void* const page = ::mmap(nullptr, sizeof(std::atomic<std::size_t>), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, page);
    auto* const polls = new (page) std::atomic<std::size_t>(0);
    ChildProcess server([polls] {
        return RunServer([polls](const std::string& request) {
            EXPECT_TRUE(WaitUntil([polls] { return *polls > 1000; }));
            return Echo(request);
        });
    });
    CFileTransfer client(kTag, kConfig);
    const CountedSleep sleep([&] {
        *polls = sleep.Count();
        // The first poll lasts until the server has taken the request.
        if (sleep.Count() == 1) {
            ASSERT_TRUE(WaitUntil([] { return ListDir(kClientDir).empty(); }));
        }
    });

    EXPECT_EQ("answer to request", Ask(client, "request"));

    EXPECT_LT(1000U, sleep.Count());
    Stop(server);
    EXPECT_EQ(0, ::munmap(page, sizeof *polls));
}

// A client that asks `request` and waits for the answer.
int RunClient(const std::string& request)
{
    CFileTransfer channel(kTag, kConfig);
    return Ask(channel, request) == Echo(request) ? 0 : 1;
}

TEST_F(CFileTransferProcessesTest, SweepWhatAKilledClientLeft)
{
    ChildProcess client([] { return RunClient("lost"); });
    ASSERT_TRUE(WaitUntil([] { return !Requests().empty(); }));
    client.Kill(SIGKILL);
    ASSERT_EQ(128 + SIGKILL, client.Wait());
    const std::string name = ListDir(kClientDir).at(0);
    WriteFile(InServerDir(name), "answered, but not taken");
    CFileTransfer server(kTag, kConfig);
    const auto unexpected = [](const std::string& request) {
        ADD_FAILURE() << "served " << request;
        return request;
    };

    const FrozenTime frozen(std::stol(name.substr(0, 14)) + kTwoDays + 1);
    Scan(server, unexpected);

    ExpectEmptySpool();
}

TEST_F(CFileTransferProcessesTest, OutliveAKilledClient)
{
    ChildProcess lost([] { return RunClient("lost"); });
    ASSERT_TRUE(WaitUntil([] { return !Requests().empty(); }));
    const pid_t pid = lost.pid();
    ChildProcess server([pid] {
        return RunServer([pid](const std::string& request) {
            if (request == "lost") {
                (void)::kill(pid, SIGKILL);
                EXPECT_TRUE(WaitUntil([] { return Exists("/opt/reaped"); }));
            }
            return Echo(request);
        });
    });
    ASSERT_EQ(128 + SIGKILL, lost.Wait());
    WriteFile("/opt/reaped", "");

    CFileTransfer client(kTag, kConfig);
    EXPECT_EQ("answer to request", Ask(client, "request"));

    Stop(server);
    EXPECT_TRUE(ListDir(kClientDir).empty());
    const auto left = ListDir(kServerDir);
    ASSERT_EQ(1U, left.size());
    EXPECT_EQ("answer to lost", ReadFile(InServerDir(left[0])));
}

// A client that asks many questions of various lengths.
int RunBusyClient(const std::string& tag)
{
    CFileTransfer channel(tag, kConfig);
    for (unsigned i = 0; i < 50; ++i) {
        const std::string request = tag + " " + std::to_string(::getpid()) + " " +
                                    std::to_string(i) + std::string(i * 7 % 300, '.');
        EXPECT_EQ(Echo(request), Ask(channel, request, 4096));
    }
    return 0;
}

// Of one tag, too, where names differ by their stamps alone.
TEST_F(CFileTransferProcessesTest, KeepClientsApart)
{
    SetInterval("100");
    ChildProcess first([] { return RunBusyClient("um"); });
    ChildProcess second([] { return RunBusyClient("cli"); });
    ChildProcess third([] { return RunBusyClient("cli"); });
    ChildProcess server([] { return RunServer(Echo); });

    for (ChildProcess* const client : {&first, &second, &third})
        EXPECT_EQ(0, client->Wait());

    Stop(server);
    ExpectEmptySpool();
}

// Several clients that are answered in another order than they asked.
TEST_F(CFileTransferProcessesTest, FindTheirAnswersInAnyOrder)
{
    const Strings requests{"a", "b", "c", "d"};
    std::vector<std::unique_ptr<ChildProcess>> clients;
    for (const std::string& request : requests) {
        clients.push_back(
            std::make_unique<ChildProcess>([&request] { return RunClient(request); }));
        ASSERT_TRUE(WaitUntil([&] { return Requests().size() == clients.size(); }));
    }

    auto names = Requests();
    std::reverse(names.begin(), names.end());
    for (const std::string& name : names) {
        const std::string request = ReadFile(InClientDir(name));
        RemoveTree(InClientDir(name));
        WriteFile("/opt/answer", Echo(request));
        ASSERT_EQ(0, ::rename("/opt/answer", InServerDir(name).c_str()));
    }

    for (const auto& client : clients)
        EXPECT_EQ(0, client->Wait());
    ExpectEmptySpool();
}

}  // namespace
}  // namespace qor::test
