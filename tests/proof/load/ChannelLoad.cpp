// The channel under load.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "CFileTransfer.h"
#include "CTraceUtility.h"
#include "proof/engine/Channel.h"
#include "proof/engine/Proof.h"
#include "proof/load/Load.h"
#include "support/Files.h"
#include "support/FrozenTime.h"
#include "support/LogFiles.h"
#include "transfer/CountedSleep.h"

namespace qor::proof {
namespace {

using namespace test;

constexpr unsigned kClients = 8;
constexpr unsigned kMostMessages = 5000;
constexpr std::size_t kMebibyte = 1024 * 1024;
constexpr unsigned kPatience = 600;  // seconds for all of a run
constexpr std::size_t kNameSize = 64;

// A request that has room for it begins with this, an answer always.
struct Head {
    char magic[8];
    std::uint32_t client;
    std::uint32_t number;
    std::uint32_t answerSize;  // of a request: bytes wanted; kEmptyAnswer: none
    std::uint32_t size;        // of the request, in both
    std::uint64_t request;     // of an answer: the request's checksum
    std::uint64_t body;        // checksum of what follows
};
constexpr char kRequestMagic[8] = {'r', 'e', 'q', 'u', 'e', 's', 't', '\0'};
constexpr char kAnswerMagic[8] = {'a', 'n', 's', 'w', 'e', 'r', ' ', '\0'};
constexpr std::uint32_t kEmptyAnswer = 0xFFFFFFFF;

// What all processes see.
struct Shared {
    std::atomic<bool> stop;
    std::atomic<unsigned> served[kClients];                     // by tag
    std::atomic<unsigned char> taken[kClients][kMostMessages];  // requests with a head
    std::atomic<std::uint64_t> bytes;
    std::atomic<unsigned> mixed;  // with one tag
    std::atomic<unsigned> lost;
    std::atomic<bool> wrong[kClients][kMostMessages];  // mixed up or lost
    char names[kClients][kMostMessages][kNameSize];    // with one tag
};

class SharedPage
{
public:
    SharedPage()
        : page_(::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0))
    {
        if (page_ == MAP_FAILED)
            ThrowErrno("mmap");
        shared_ = new (page_) Shared();
    }
    SharedPage(const SharedPage&) = delete;
    SharedPage& operator=(const SharedPage&) = delete;
    ~SharedPage() { (void)::munmap(page_, sizeof(Shared)); }

    Shared* operator->() const { return shared_; }
    Shared& operator*() const { return *shared_; }

private:
    void* page_;
    Shared* shared_ = nullptr;
};

std::string Bytes(std::uint64_t seed, std::size_t size)
{
    std::string bytes(size, '\0');
    Numbers numbers(seed);
    for (std::size_t at = 0; at < size; at += sizeof(std::uint64_t)) {
        const std::uint64_t word = numbers.Next();
        std::memcpy(&bytes[at], &word, std::min(sizeof word, size - at));
    }
    return bytes;
}

std::string WithHead(Head head, const std::string& body)
{
    head.body = Checksum(body.data(), body.size());
    std::string message(sizeof head, '\0');
    std::memcpy(&message[0], &head, sizeof head);
    return message + body;
}

// Of a message that begins with a head.
bool IsWhole(const std::string& message)
{
    Head head;
    if (message.size() < sizeof head)
        return false;
    std::memcpy(&head, message.data(), sizeof head);
    return head.body == Checksum(message.data() + sizeof head, message.size() - sizeof head);
}

// Nothing unless the message begins with a head of that kind. Throws when its body is not whole.
std::optional<Head> HeadOf(const std::string& message, const char (&magic)[8])
{
    Head head;
    if (message.size() < sizeof head || std::memcmp(message.data(), magic, sizeof magic) != 0)
        return {};
    std::memcpy(&head, message.data(), sizeof head);
    Require(IsWhole(message), "a torn message");
    return head;
}

// 0 and 1 MiB now and then, all between on a scale of powers.
std::size_t SizeOf(Numbers& numbers)
{
    switch (numbers.Below(32)) {
        case 0:
            return 0;
        case 1:
            return numbers.Below(8) == 0 ? kMebibyte : 1;
        default: {
            const std::size_t limit = std::size_t{1} << (1 + numbers.Below(20));
            return limit / 2 + numbers.Below(limit / 2 + 1);
        }
    }
}

std::string MakeRequest(unsigned client, unsigned number, bool wantsEmptyAnswer = false)
{
    const std::uint64_t seed = client * 1000003 + number + 1;
    Numbers numbers(seed);
    const std::size_t size = wantsEmptyAnswer ? sizeof(Head) : SizeOf(numbers);
    if (size < sizeof(Head))
        return Bytes(seed, size);
    Head head = {};
    std::memcpy(head.magic, kRequestMagic, sizeof head.magic);
    head.client = client;
    head.number = number;
    head.size = static_cast<std::uint32_t>(size);
    const auto answerSize = static_cast<std::uint32_t>(std::max(SizeOf(numbers), sizeof(Head)));
    head.answerSize = wantsEmptyAnswer ? kEmptyAnswer : answerSize;
    return WithHead(head, Bytes(seed, size - sizeof head));
}

std::string MakeAnswer(const std::string& request)
{
    const std::optional<Head> asked = HeadOf(request, kRequestMagic);
    if (asked)
        Require(asked->size == request.size(), "a request of another length");
    if (asked && asked->answerSize == kEmptyAnswer)
        return "";
    Head head = {};
    std::memcpy(head.magic, kAnswerMagic, sizeof head.magic);
    if (asked) {
        head.client = asked->client;
        head.number = asked->number;
    }
    head.size = static_cast<std::uint32_t>(request.size());
    head.request = Checksum(request.data(), request.size());
    const std::size_t size = asked ? asked->answerSize : 300;
    return WithHead(head, Bytes(head.request, size - sizeof head));
}

// The answer to this very request and no other, whole.
bool Answers(const std::string& answer, const std::string& request)
{
    return answer == MakeAnswer(request);
}

// An answer that begins as it should and has lost or changed a byte after that.
bool IsTorn(const std::string& answer)
{
    return answer.compare(0, sizeof kAnswerMagic, kAnswerMagic, sizeof kAnswerMagic) == 0 &&
           !IsWhole(answer);
}

std::string TagOf(unsigned client)
{
    return "c" + std::to_string(client);
}

void Initialize(const std::string& tag)
{
    CTraceUtility::Initialize(tag.c_str(), CTraceUtility::WRITE_MODE_DEBUG);
}

// ---- the service

class Service
{
public:
    Service(Shared& shared, Fault fault) : shared_(shared), fault_(fault), channel_("som", kConfig)
    {
    }

    void Run()
    {
        Initialize("som");
        // Once more after the end is announced: what is there then is not to be there.
        for (bool last = false; !last;) {
            last = shared_.stop;
            if (Scan() == 0 && !last)
                (void)::usleep(200);
        }
    }

private:
    unsigned Scan()
    {
        unsigned count = 0;
        ScanRequests(channel_, [&](const std::string& name, const std::string& request) {
            Require(::unlink((kClientDir + name).c_str()) == 0, "a request is gone: " + name);
            Note(name, request);
            const std::string answer = Spoil(MakeAnswer(request));
            Publish(name, answer);
            shared_.bytes += answer.size();
            ++count;
        });
        return count;
    }

    void Note(const std::string& name, const std::string& request)
    {
        shared_.bytes += request.size();
        const std::string tag = name.substr(20, name.size() - 24);
        for (unsigned client = 0; client < kClients; ++client)
            shared_.served[client] += tag == TagOf(client) ? 1 : 0;
        const auto head = HeadOf(request, kRequestMagic);
        if (!head)
            return;
        Require(head->client < kClients && head->number < kMostMessages, "a strange request");
        Require(shared_.taken[head->client][head->number]++ == 0, "a request came twice");
    }

    // Of the deliberate faults, one in a few answers.
    std::string Spoil(std::string answer)
    {
        if (++answers_ % 7 != 0 || fault_ == Fault::None)
            return answer;
        if (fault_ == Fault::DropByte)
            answer.erase(answer.size() / 2, 1);
        else
            std::swap(answer, kept_);
        return answer;
    }

    Shared& shared_;
    Fault fault_;
    CFileTransfer channel_;
    unsigned answers_ = 0;
    std::string kept_ = MakeAnswer("another request");
};

// ---- the clients

class Client
{
public:
    Client(unsigned number, const std::string& tag)
        : number_(number), channel_(tag, kConfig), buffer_(kMebibyte + 2)
    {
        Initialize(tag);
    }

    void Send(const std::string& request)
    {
        Require(channel_.SendMessage(request) == static_cast<int>(request.size()), "not sent");
    }

    std::string Receive()
    {
        const int length = channel_.RecvMessage(buffer_.data() + 1, kMebibyte, 0);
        Require(length >= 0, "no answer");
        return std::string(buffer_.data() + 1, static_cast<std::size_t>(length));
    }

    std::string Name()
    {
        std::string name;
        channel_.GetTransFile(name);
        return name;
    }

    unsigned Number() const { return number_; }

private:
    unsigned number_;
    CFileTransfer channel_;
    std::vector<char> buffer_;
};

// The last message is answered by an empty file: ten reads, a second.
void RunClient(unsigned number, unsigned messages)
{
    Client client(number, TagOf(number));
    for (unsigned i = 0; i < messages; ++i) {
        const bool last = i + 1 == messages;
        const std::string request = MakeRequest(number, i, last);
        client.Send(request);
        const std::string answer = client.Receive();
        const std::string where =
            "client " + std::to_string(number) + ", message " + std::to_string(i);
        Require(!IsTorn(answer), where + kTornAnswer);
        Require(Answers(answer, request), where + kAnotherAnswer);
    }
}

struct Lost {
};

// Waits five seconds at most for an answer that may have gone to another.
std::string ReceiveOrLose(Client& client)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    const CountedSleep sleep([end] {
        const timespec span = {0, 100000};
        (void)::nanosleep(&span, nullptr);
        if (std::chrono::steady_clock::now() > end)
            throw Lost();
    });
    return client.Receive();
}

void RunClientOfOneTag(unsigned number, unsigned messages, Shared& shared)
{
    Client client(number, "cli");
    for (unsigned i = 0; i < messages; ++i) {
        const std::string request = MakeRequest(number, i);
        client.Send(request);
        (void)std::snprintf(shared.names[number][i], kNameSize, "%s", client.Name().c_str());
        bool right = false;
        try {
            right = Answers(ReceiveOrLose(client), request);
            shared.mixed += right ? 0 : 1;
        } catch (const Lost&) {
            ++shared.lost;
        }
        shared.wrong[number][i] = !right;
    }
}

// ---- runs

void PrepareSpool()
{
    EmptyDirectory("/opt");
    MakeLogDirectory();
    MakeDirs(kClientDir);
    MakeDirs(kServerDir);
    WriteFile(kConfig, "[filetran]\npolling_interval=200\n");
    // Failures only: none is expected.
    for (const char* const directory : {"som", "cli", "provider"})
        WriteFile(std::string("/opt/velmora/qor/") + directory + "/TraceSetting.ini",
                  "[APP_SETTING]\nTraceLevel=2\n");
}

// Runs the clients to their end, then ends the service. Returns the first failure.
template <typename Run>
std::string RunAll(Shared& shared, Fault fault, Run run)
{
    Worker service([&shared, fault] { Service(shared, fault).Run(); }, kPatience);
    std::vector<std::unique_ptr<Worker>> clients;
    for (unsigned number = 0; number < kClients; ++number)
        clients.push_back(std::make_unique<Worker>([&run, number] { run(number); }, kPatience));
    std::string failure;
    for (const auto& client : clients) {
        const std::string text = client->Wait().Failure();
        if (failure.empty())
            failure = text;
    }
    shared.stop = true;
    const std::string text = service.Wait().Failure();
    return failure.empty() ? text : failure;
}

}  // namespace

std::string ChannelUnderLoad(unsigned messages, Fault fault)
{
    PrepareSpool();
    const SharedPage shared;
    const std::string failure =
        RunAll(*shared, fault, [messages](unsigned number) { RunClient(number, messages); });
    Require(failure.empty(), failure);
    for (unsigned number = 0; number < kClients; ++number)
        Require(shared->served[number] == messages, "client " + std::to_string(number) + ": " +
                                                        std::to_string(shared->served[number]) +
                                                        " requests served");
    Require(ListDir(kClientDir).empty(), "files are left in the client directory");
    Require(ListDir(kServerDir).empty(), "files are left in the server directory");
    for (const std::string& name : ListDir(kLogDirectory))
        Require(FileSize(LogPath(name)) == 0, "failures are logged in " + name);
    return std::to_string(kClients) + " x " + std::to_string(messages) + " messages, " +
           std::to_string(shared->bytes / kMebibyte) +
           " MiB both ways: none lost, doubled, torn or mixed up; spool empty";
}

std::string ChannelWithOneTag(unsigned messages)
{
    PrepareSpool();
    const SharedPage shared;
    const std::string failure = RunAll(*shared, Fault::None, [&](unsigned number) {
        RunClientOfOneTag(number, messages, *shared);
    });
    Require(failure.empty(), failure);

    std::map<std::string, unsigned> uses;
    for (unsigned number = 0; number < kClients; ++number) {
        for (unsigned i = 0; i < messages; ++i)
            ++uses[shared->names[number][i]];
    }
    for (unsigned number = 0; number < kClients; ++number) {
        for (unsigned i = 0; i < messages; ++i)
            Require(!shared->wrong[number][i] || uses[shared->names[number][i]] > 1,
                    std::string("lost or mixed up, with a name of its own: ") +
                        shared->names[number][i]);
    }
    const auto sharedNames =
        std::count_if(uses.begin(), uses.end(), [](const auto& entry) { return entry.second > 1; });
    for (const std::string& name : ListDir(kServerDir))
        Require(uses[name] > 1, "an answer is left: " + name);
    Require(ListDir(kClientDir).empty(), "files are left in the client directory");
    return std::to_string(kClients) + " x " + std::to_string(messages) +
           " messages of one tag: " + std::to_string(sharedNames) + " names used twice, " +
           std::to_string(shared->mixed) + " answers mixed up, " + std::to_string(shared->lost) +
           " lost, all among those names";
}

std::string ChannelWithinOneMicrosecond()
{
    PrepareSpool();
    const auto take = [] {
        CFileTransfer server("som", kConfig);
        std::string last;
        ScanRequests(server, [&](const std::string& name, const std::string&) {
            (void)::unlink((kClientDir + name).c_str());
            last = name;
        });
        return last;
    };
    const auto ask = [](const std::string& tag, const std::string& request) {
        CFileTransfer client(tag, kConfig);
        Require(client.SendMessage(request) >= 0, "not sent");
        std::string name;
        client.GetTransFile(name);
        return name;
    };
    const std::time_t now = ::time(nullptr);

    // Untaken, the first request keeps the second one from its name.
    {
        const FrozenTime clock({{now, 1}, {now, 1}, {now, 2}});
        Require(ask("cli", "first") != ask("cli", "second"), "one name for two requests");
    }
    (void)take();
    const FrozenTime clock(now, 7);
    const std::string first = ask("cli", "first");
    Require(take() == first, "another request is taken");
    Require(ask("cli", "second") == first, "a taken request's name is not free");
    Require(ask("c1", "third") != first, "one name for two tags");
    return "one tag: apart while untaken, one name for both once the first is taken; two tags: "
           "apart";
}

}  // namespace qor::proof
