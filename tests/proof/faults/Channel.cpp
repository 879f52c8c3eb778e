// The channel: settings, sending, receiving, the server's scan.
#include <unistd.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "CFileTransfer.h"
#include "CTraceUtility.h"
#include "proof/faults/Operation.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kConfig[] = "/opt/velmora/qor/som/socket.conf";
constexpr char kClient[] = "/opt/velmora/qor/som/CS";
constexpr char kServer[] = "/opt/velmora/qor/som/SS";
constexpr char kMessage[] = "a request of more than fifteen bytes";  // 36
constexpr char kSend[] = "int CFileTransfer::SendMessage(std::string)";
constexpr char kReceive[] = "int CFileTransfer::RecvMessage(char*, int, int)";
constexpr char kOpen[] = "bool CFileTransfer::OpenStream()";

void LayDirectories()
{
    test::MakeLogDirectory();
    test::MakeDirs(kClient);
    test::MakeDirs(kServer);
    WriteFile(kConfig, "[filetran]\npolling_interval=1000000\n");
}

std::shared_ptr<CFileTransfer> Channel(bool initialised = true)
{
    if (initialised)
        CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG);
    return std::make_shared<CFileTransfer>("som", kConfig);
}

std::string WithFailures(const std::string& state, const char* signature)
{
    const std::string failures = Failures("som", signature);
    return failures.empty() ? state : state + "; " + failures;
}

// Each file of the client directory by its extension, and whether it holds the whole message.
std::string Spool()
{
    std::string files;
    for (const std::string& name : test::ListDir(kClient)) {
        files += (files.empty() ? "" : ", ") + name.substr(name.size() - 3) + " " +
                 Holds(std::string(kClient) + "/" + name, {{"whole", kMessage}});
    }
    return WithFailures(files.empty() ? "nothing" : files, kSend);
}

Prepared Sending(bool initialised)
{
    const auto channel = Channel(initialised);
    const auto sent = std::make_shared<int>(0);
    return {[=] { *sent = channel->SendMessage(kMessage); }, [=] { return std::to_string(*sent); }};
}

struct Receiver {
    std::shared_ptr<CFileTransfer> channel = Channel();
    char room[1 + 32 + 1] = "";  // a byte before and one behind
    int length = 0;

    void Receive()
    {
        channel->SetCurrentFile("X.snd");
        length = channel->RecvMessage(room + 1, 32, 0);
    }
    std::string Tell() const
    {
        return std::to_string(length) + (length > 0 ? std::string(" ") + (room + 1) : "");
    }
};

Prepared Receiving()
{
    const auto receiver = std::make_shared<Receiver>();
    return {[=] { receiver->Receive(); }, [=] { return receiver->Tell(); }};
}

Operations ClientOperations()
{
    const std::vector<Row> sending = {
        {"open", "/CS/", "EEXIST", {"36 | snd whole"}},
        {"open", "/CS/", "", {"-1 | nothing; file create error (%E)"}},
        {"write", "/CS/", "short", {"-1 | tmp part of whole; data write error (Success, 1)"}},
        {"write", "/CS/", "", {"-1 | tmp empty; data write error (%E, -1)"}},
        {"write", "", "EIO ENOSPC", {"36 | snd whole"}},
        {"lasting",
         "",
         "",
         {"36 | tmp whole; /opt/velmora/qor/som/CS/*som.tmp rename failed (*)",
          "-1 | tmp part of whole; a torn record", "-1 | tmp empty",
          "-1 | tmp empty; data write error (*, -1)", "-1 | nothing"}},
        {"allocation", "", "", {"bad_alloc | nothing", "bad_alloc | tmp whole", "36 | snd whole"}},
    };
    return {
        {"CFileTransfer.SendMessage", "36 | snd whole", sending, LayDirectories,
         [] { return Sending(true); }, Spool},
        {"CFileTransfer.SendMessage.uninitialised", "36 | snd whole", sending, LayDirectories,
         [] { return Sending(false); }, Spool},
        {"CFileTransfer.RecvMessage",
         "8 response | SS: ",
         {{"read", "/SS/", "EIO EINTR", {"-1 | SS: "}},
          {"read", "/SS/", "short", {"1 r | SS: "}},
          {"unlink", "", "", {"8 response | SS: X.snd"}},
          {"lasting",
           "",
           "",
           {"-1 | SS: X.snd; failed to open recv file (*)", "-1 | SS: ", "8 response | SS: X.snd",
            "8 response | SS: ; a torn record"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | SS: X.snd", "bad_alloc | SS: ", "8 response | SS: "}}},
         [] {
             LayDirectories();
             WriteFile(std::string(kServer) + "/X.snd", "response");
         },
         Receiving,
         [] { return WithFailures("SS: " + Names(kServer), kReceive); },
         nullptr},
        // Only a request that is gone costs no poll: one that cannot be looked at does.
        {"CFileTransfer.RecvMessage.timeout",
         "-1 | CS: ; client file timed out (/opt/velmora/qor/som/CS/X.snd)",
         {{"unlink",
           "",
           "",
           {"-1 | CS: X.snd; client file timed out (/opt/velmora/qor/som/CS/X.snd)"}},
          {"stat",
           "/CS/",
           "ENOENT EACCES EIO",
           {"-1 | CS: ; client file timed out (/opt/velmora/qor/som/CS/X.snd)"}},
          {"write",
           "/log/",
           "ENOSPC EIO",
           {"-1 | CS: ", "-1 | CS: ; client file timed out (/opt/velmora/qor/som/CS/X.snd)"}},
          {"lasting", "", "", {"-1 | CS: ", "-1 | CS: ; a torn record"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | CS: X.snd",
            "-1 | CS: ; client file timed out (/opt/velmora/qor/som/CS/X.snd)"}}},
         [] {
             LayDirectories();
             WriteFile(std::string(kClient) + "/X.snd", "request");
         },
         Receiving,
         [] { return WithFailures("CS: " + Names(kClient), kReceive); },
         nullptr},
    };
}

struct Scan {
    std::shared_ptr<CFileTransfer> channel = Channel();
    bool opened = false;
    int served = 0;

    void Run()
    {
        served = 0;
        opened = channel->OpenStream();
        if (!opened)
            return;
        while (!channel->IsEndStream()) {
            if (channel->IsTransFile()) {
                ++served;
                (void)::close(channel->GetFileHandle());  // read only in a server
            }
        }
        channel->CloseStream();
    }
    std::string Tell() const { return opened ? "served " + std::to_string(served) : "not opened"; }
};

std::string BothSpools()
{
    return WithFailures("CS: " + Names(kClient) + " SS: " + Names(kServer), kOpen);
}

// A constructor reads its settings and makes the directories that are missing.
Operation Constructor(const char* name, const std::function<CFileTransfer()>& make)
{
    return {
        name,
        "250 | CS SS socket.conf",
        {{"open", "socket.conf", "", {"100 | CS SS socket.conf", "250 | CS SS socket.conf"}},
         {"read", "socket.conf", "EIO end", {"100 | CS SS socket.conf", "250 | CS SS socket.conf"}},
         {"stat", "/CS", "EACCES EIO", {"250 | SS socket.conf"}},
         {"stat", "/SS", "EACCES EIO", {"250 | CS socket.conf"}},
         {"mkdir", "/CS", "", {"250 | SS socket.conf"}},
         {"mkdir", "/SS", "", {"250 | CS socket.conf"}},
         {"lasting", "", "", {"250 | socket.conf", "100 | CS SS socket.conf"}},
         {"allocation", "", "", {"bad_alloc | socket.conf"}}},
        [] { WriteFile(kConfig, "[filetran]\npolling_interval=250\n"); },
        [=] {
            const auto interval = std::make_shared<int>(0);
            return Prepared{[=] { *interval = make().Interval(); },
                            [=] { return std::to_string(*interval); }};
        },
        [] { return Names("/opt/velmora/qor/som"); }};
}

// A channel and what it is copied to, or assigned to.
struct Copies {
    CFileTransfer source{"a tag of more than fifteen bytes", "/opt/other.conf"};
    CFileTransfer target{"som", "/opt/no.conf"};

    static std::string Directories(CFileTransfer& channel)
    {
        std::string client;
        std::string server;
        channel.GetRecvDir(client);
        channel.GetSendDir(server);
        return client + " " + server;
    }
};

Operation Copying(const char* name, const char* outcome, std::vector<const char*> withoutMemory,
                  const std::function<void(Copies&)>& run)
{
    const auto current = std::make_shared<std::shared_ptr<Copies>>();
    return {name,
            outcome,
            {{"allocation", "", "", withoutMemory}},
            [] {
                test::MakeLogDirectory();
                WriteFile("/opt/other.conf",
                          "[filetran]\nclientdir=/opt/the/others/requests\n"
                          "serverdir=/opt/the/others/responses\n");
            },
            [=] {
                const auto copies = std::make_shared<Copies>();
                *current = copies;
                return Prepared{[=] { run(*copies); }, [] { return std::string("done"); }};
            },
            [=] {
                Copies& copies = **current;
                return Copies::Directories(copies.source) + " to " +
                       Copies::Directories(copies.target);
            }};
}

// Without memory for all of it, an assignment has done a part: each text is the old or the new one.
Operations CopyingOperations()
{
    static constexpr char kCopied[] =
        "done | /opt/the/others/requests /opt/the/others/responses to "
        "/opt/velmora/qor/som/CS /opt/velmora/qor/som/SS";
    static constexpr char kNotCopied[] =
        "bad_alloc | /opt/the/others/requests /opt/the/others/responses to "
        "/opt/velmora/qor/som/CS /opt/velmora/qor/som/SS";
    return {
        Copying("CFileTransfer.CFileTransfer.copy", kCopied, {kNotCopied},
                [](Copies& copies) {
                    CFileTransfer copy(copies.source);
                    if (Copies::Directories(copy) != Copies::Directories(copies.source))
                        throw std::logic_error("another channel");
                }),
        Copying("CFileTransfer.operator=",
                "done | /opt/the/others/requests /opt/the/others/responses to "
                "/opt/the/others/requests /opt/the/others/responses",
                {kNotCopied,
                 "bad_alloc | /opt/the/others/requests /opt/the/others/responses to "
                 "/opt/the/others/requests /opt/velmora/qor/som/SS"},
                [](Copies& copies) { copies.target = copies.source; }),
    };
}

Operations ServerOperations()
{
    return {
        Constructor("CFileTransfer.CFileTransfer", [] { return CFileTransfer("som", kConfig); }),
        Constructor("CFileTransfer.CFileTransfer.default", [] { return CFileTransfer(); }),
        // What cannot be removed is removed by the next scan; what cannot be opened is not served.
        {"CFileTransfer.scan",
         "served 1 | CS: Nsom.snd Nsom.tmp SS: ",
         {{"open stat",
           "/CS",
           "",
           {"not opened | CS: Nsom.snd Nsom.snd Nsom.tmp SS: Nsom.snd; opendir failed (%E : "
            "/opt/velmora/qor/som/CS)",
            "served 0 | CS: Nsom.snd Nsom.tmp SS: "}},
          {"list",
           "",
           "",
           {"served 0 | CS: Nsom.snd Nsom.snd Nsom.tmp SS: Nsom.snd",
            "served 1 | CS: Nsom.snd Nsom.tmp SS: "}},
          {"stat", "/SS", "", {"served 1 | CS: Nsom.snd Nsom.tmp SS: Nsom.snd"}},
          {"unlink", "/CS", "", {"served 1 | CS: Nsom.snd Nsom.snd Nsom.tmp SS: "}},
          {"unlink", "/SS", "", {"served 1 | CS: Nsom.snd Nsom.tmp SS: Nsom.snd"}},
          {"lasting",
           "",
           "",
           {"served 1 | CS: Nsom.snd Nsom.snd Nsom.tmp SS: Nsom.snd",
            "served 1 | CS: Nsom.snd Nsom.tmp SS: ; a torn record"}},
          {"allocation",
           "",
           "",
           {"served 1 | CS: Nsom.snd Nsom.tmp SS: ",
            "bad_alloc | CS: Nsom.snd Nsom.snd Nsom.tmp SS: Nsom.snd",
            "bad_alloc | CS: Nsom.snd Nsom.tmp SS: Nsom.snd",
            "not opened | CS: Nsom.snd Nsom.snd Nsom.tmp SS: Nsom.snd; opendir failed (%E : "
            "/opt/velmora/qor/som/CS)"}}},
         [] {
             LayDirectories();
             const std::string old = "/00000000000000000001som.snd";
             const std::string fresh = "/99999999999999999999som";
             WriteFile(kClient + old, "old");
             WriteFile(kServer + old, "old");
             WriteFile(kClient + fresh + ".snd", "fresh");
             WriteFile(kClient + fresh + ".tmp", "fresh");
         },
         [] {
             const auto scan = std::make_shared<Scan>();
             return Prepared{[=] { scan->Run(); }, [=] { return scan->Tell(); },
                             [=] { scan->channel->CloseStream(); }};
         },
         BothSpools},
    };
}

Operations NameOperations()
{
    const auto names = [](const std::function<void(CFileTransfer&, std::string&)>& run) {
        return [run] {
            const auto channel = Channel();
            const auto name = std::make_shared<std::string>();
            return Prepared{[=] {
                                name->clear();
                                run(*channel, *name);
                            },
                            [=] { return std::to_string(name->size()); }};
        };
    };
    const auto nothing = [] { return std::string(); };
    const std::vector<Row> rows = {{"allocation", "", "", {"bad_alloc | "}}};
    return {
        {"CFileTransfer.GetTmpFileName", "27 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) { channel.GetTmpFileName(out); }),
         nothing},
        {"CFileTransfer.GetSndFileName", "27 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) {
             channel.GetSndFileName("00000000000000000000som.tmp", out);
         }),
         nothing},
        {"CFileTransfer.AppendFullPath", "29 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) {
             out = "file.snd";
             channel.AppendFullPath("/a/directory/of/many", out);
         }),
         nothing},
        {"CFileTransfer.GetRecvDir", "23 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) { channel.GetRecvDir(out); }), nothing},
        {"CFileTransfer.GetSendDir", "23 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) { channel.GetSendDir(out); }), nothing},
        {"CFileTransfer.SetCurrentFile", "31 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) {
             channel.SetCurrentFile("a message's name of many bytes.");
             channel.GetTransFile(out);
         }),
         nothing},
        {"CFileTransfer.IsExpiredFile", "7 | ", rows, LayDirectories,
         names([](CFileTransfer& channel, std::string& out) {
             out = channel.IsExpiredFile("00000000000000000001som.snd") ? "expired" : "fresh";
         }),
         nothing},
        {"CFileTransfer.DeleteExpiredFile",
         "0 | CS:  SS: ",
         {{"unlink", "/CS", "", {"0 | CS: X.snd SS: "}},
          {"unlink", "/SS", "", {"0 | CS:  SS: X.snd"}},
          {"stat", "/SS", "", {"0 | CS:  SS: X.snd"}},
          {"lasting", "", "", {"0 | CS: X.snd SS: X.snd"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | CS: X.snd SS: X.snd", "bad_alloc | CS:  SS: X.snd", "0 | CS:  SS: "}}},
         [] {
             LayDirectories();
             WriteFile(std::string(kClient) + "/X.snd", "");
             WriteFile(std::string(kServer) + "/X.snd", "");
         },
         names([](CFileTransfer& channel, std::string&) { channel.DeleteExpiredFile("X.snd"); }),
         [] { return "CS: " + Names(kClient) + " SS: " + Names(kServer); }},
    };
}

}  // namespace

Operations ChannelOperations()
{
    Operations all;
    for (const Operations& some :
         {ClientOperations(), ServerOperations(), CopyingOperations(), NameOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace qor::proof
