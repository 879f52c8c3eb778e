// The channel: settings, sending, receiving, the server's scan.
#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "CFileTransfer.h"
#include "CTraceUtility.h"
#include "proof/operations/Operation.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kConfig[] = "/opt/velmora/qor/som/socket.conf";
const std::string kClient = "/opt/velmora/qor/som/CS";
const std::string kServer = "/opt/velmora/qor/som/SS";
constexpr char kMessage[] = "a request of more than fifteen bytes";  // 36
constexpr char kSend[] = "int CFileTransfer::SendMessage(std::string)";
constexpr char kReceive[] = "int CFileTransfer::RecvMessage(char*, int, int)";
constexpr char kOpen[] = "bool CFileTransfer::OpenStream()";

void LayDirectories()
{
    test::MakeLogDirectory();
    test::MakeDirs(kClient);
    test::MakeDirs(kServer);
    test::EmptyDirectory(kClient);
    test::EmptyDirectory(kServer);
    WriteFile(kConfig, "[filetran]\npolling_interval=1000000\n");
}

// Empty directories, but for these files below /opt/velmora/qor/som.
std::function<void()> Laid(const std::vector<std::string>& files)
{
    return [files] {
        LayDirectories();
        for (const std::string& file : files)
            WriteFile("/opt/velmora/qor/som/" + file, "response");
    };
}

struct Channel : CFileTransfer {
    Channel() : CFileTransfer("som", kConfig) {}
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel() { CloseStream(); }
};

struct Logging {
    Logging() { CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG); }
};

struct LoggingChannel : Logging, Channel {
    char room[1 + 32 + 1] = "";  // a byte before and one after
};

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
                 Holds(kClient + "/" + name, {{"whole", kMessage}});
    }
    return WithFailures(files.empty() ? "nothing" : files, kSend);
}

// signature: of the operation whose failures belong to the state.
std::function<std::string()> Spools(const char* signature)
{
    return [signature] {
        return WithFailures("CS: " + Names(kClient) + " SS: " + Names(kServer), signature);
    };
}

void Receive(LoggingChannel& channel, Result& result)
{
    channel.SetCurrentFile("X.snd");
    const int length = channel.RecvMessage(channel.room + 1, 32, 0);
    Append(result, length);
    if (length > 0)
        result.append(" ").append(channel.room + 1);
}

void AddClient(const Table& t)
{
    const std::string send = "CFileTransfer::SendMessage(string)";
    const std::string receive = "CFileTransfer::RecvMessage(char*, int, int)";
    const std::string late = "; client file timed out (/opt/velmora/qor/som/CS/X.snd)";
    const std::vector<Row> sending = {
        {"open", "/CS/", "EEXIST", {"36 | snd whole"}},
        {"open", "/CS/", {"-1 | nothing; file create error (%E)"}},
        {"write", "/CS/", "short", {"-1 | tmp part of whole; data write error (Success, 1)"}},
        {"write", "/CS/", {"-1 | tmp empty; data write error (%E, -1)"}},
        {"write", "", "EIO ENOSPC", {"36 | snd whole"}},
        {"lasting",
         {"36 | tmp whole; /opt/velmora/qor/som/CS/*som.tmp rename failed (*)",
          "-1 | tmp part of whole; a torn record", "-1 | tmp empty",
          "-1 | tmp empty; data write error (*, -1)", "-1 | nothing"}},
        // "tmp empty": the tracer held the first draft up, and another one is begun.
        {"allocation",
         {"bad_alloc | nothing", "bad_alloc | tmp empty", "bad_alloc | tmp whole",
          "36 | snd whole"}}};
    const auto sent = [](Channel& channel) { return channel.SendMessage(kMessage); };
    const Table sends = t.With(
        Operation().Lay(Laid({})).UsedUp().State(Spool).Files({kClient + "/"}).Faults(sending));
    sends.On<LoggingChannel>(send, "36 | snd whole", sent);
    sends.On<Channel>(send + ": nobody initialised", "36 | snd whole", sent);
    const Table receives = t.With(Operation().UsedUp().State(Spools(kReceive)));
    receives.On<LoggingChannel>(receive, "8 response | CS:  SS: ", Receive)
        .Lay(Laid({"SS/X.snd"}))
        .Faults(
            {{"open stat",
              "/SS/",
              {"-1 | CS:  SS: X.snd; failed to open recv file (%E)", "8 response | CS:  SS: "}},
             {"read", "/SS/", "EIO EINTR", {"-1 | CS:  SS: "}},
             {"read", "/SS/", "short", {"1 r | CS:  SS: "}},
             {"unlink", {"8 response | CS:  SS: X.snd"}},
             {"lasting",
              {"-1 | CS:  SS: X.snd; failed to open recv file (*)", "-1 | CS:  SS: X.snd" + late,
               "-1 | CS:  SS: ", "8 response | CS:  SS: X.snd",
               "8 response | CS:  SS: ; a torn record"}},
             {"allocation",
              {"bad_alloc | CS:  SS: X.snd", "bad_alloc | CS:  SS: ", "8 response | CS:  SS: "}}});
    // Only a request that is gone costs no poll: one that cannot be looked at does.
    receives.On<LoggingChannel>(receive + ": untaken", "-1 | CS:  SS: " + late, Receive)
        .Lay(Laid({"CS/X.snd"}))
        .Faults({{"unlink", {"-1 | CS: X.snd SS: " + late}},
                 {"write", "/log/", "ENOSPC EIO", {"-1 | CS:  SS: ", "-1 | CS:  SS: " + late}},
                 {"lasting", {"-1 | CS:  SS: ", "-1 | CS:  SS: ; a torn record"}},
                 {"allocation", {"bad_alloc | CS: X.snd SS: ", "-1 | CS:  SS: " + late}}})
        .SleepsLong();
}

// ---- the scan

void Scan(LoggingChannel& channel, Result& result)
{
    if (!channel.OpenStream()) {
        result += "not opened";
        return;
    }
    int served = 0;
    while (!channel.IsEndStream()) {
        if (channel.IsTransFile()) {
            ++served;
            (void)::syscall(SYS_close, channel.GetFileHandle());  // also when being cancelled
        }
    }
    channel.CloseStream();
    result += "served ";
    Append(result, served);
}

// One scan of a channel that goes without closing it.
Kept ForgottenScan()
{
    Kept kept;
    kept.what = "the open scan and the request's descriptor";
    kept.descriptors = 2;
    kept.heap = [](long calls) {
        DIR* scan = nullptr;
        const Heap one = HeapOf([&] { scan = ::opendir("/opt"); });  // what opendir(3) takes
        (void)::closedir(scan);
        return one * calls;
    };
    return kept;
}

void AddScan(const Table& table)
{
    const Table t = table.In("CFileTransfer::");
    const std::string notOpened = "; opendir failed (%E : /opt/velmora/qor/som/CS)";
    const std::string all = "CS: Nsom.snd Nsom.snd Nsom.tmp SS: Nsom.snd";
    const std::string swept = "CS: Nsom.snd Nsom.tmp SS: ";
    const std::vector<Row> opening = {{"open stat", "/CS", {"false", "true"}},
                                      {"lasting", {"false"}},
                                      {"allocation", {"false", "bad_alloc", "true"}}};
    const Table laid = t.With(Operation().Lay(LayDirectories));
    // What cannot be removed is removed by the next scan; what cannot be opened is not
    // served.
    t.On<LoggingChannel>("IsTransFile()", "served 1 | " + swept, Scan)
        .Lay(Laid({"CS/00000000000000000001som.snd", "SS/00000000000000000001som.snd",
                   "CS/99999999999999999999som.snd", "CS/99999999999999999999som.tmp"}))
        .UsedUp()
        .State(Spools(kOpen))
        .Faults({{"open stat", "/CS", {"not opened | " + all + notOpened, "served 0 | " + swept}},
                 {"list", {"served 0 | " + all, "served 1 | " + swept}},
                 {"stat", "/SS", {"served 1 | " + swept + "Nsom.snd"}},
                 {"unlink", "/CS", {"served 1 | CS: Nsom.snd Nsom.snd Nsom.tmp SS: "}},
                 {"unlink", "/SS", {"served 1 | " + swept + "Nsom.snd"}},
                 {"lasting",
                  {"served 1 | " + all, "served 0 | " + swept + "Nsom.snd",
                   "served 1 | " + swept + "; a torn record"}},
                 {"allocation",
                  {"served 1 | " + swept, "bad_alloc | " + all, "bad_alloc | " + swept + "Nsom.snd",
                   "not opened | " + all + notOpened}}});
    laid.On<Channel>("OpenStream()", "true",
                     [](Channel& one) {
                         return one.OpenStream();  // closes a former one
                     })
        .Faults(opening);
    laid.On<Channel>("IsEndStream()", "true",
                     [](Channel& one) {
                         (void)one.OpenStream();
                         while (!one.IsEndStream()) {
                         }
                         return one.IsEndStream();
                     })
        .Faults({{"list", {"false", "true"}}, {"allocation", {"true", "bad_alloc"}}});
    laid.On<Channel>("CloseStream()", "done",
                     [](Channel& one) {
                         (void)one.OpenStream();
                         one.CloseStream();
                         one.CloseStream();
                     })
        .Faults({{"allocation", {"done", "bad_alloc"}}});
    t.Plain("IsTransFile(): a scan that nobody closes", "done",
            [] {
                CFileTransfer channel("som", kConfig);
                (void)channel.OpenStream();
                while (!channel.IsEndStream() && !channel.IsTransFile()) {
                }
            })
        .Lay(Laid({"CS/99999999999999999999som.snd"}))
        .Faults({{"allocation", {"done", "bad_alloc"}}})
        .Keeps(ForgottenScan());
}

// ---- making and copying

// A constructor reads its settings and makes the directories that are missing.
template <typename Make>
Operation& Making(const Table& t, const std::string& name, Make make)
{
    const std::string whole = "CS SS socket.conf";
    return t.Plain(name, "250 | " + whole, [make] { return make().Interval(); })
        .Lay([] {
            test::RemoveTree("/opt/velmora/qor/som");
            WriteFile(kConfig, "[filetran]\npolling_interval=250\n");
        })
        .Files({kClient, kServer})
        .State([] { return Names("/opt/velmora/qor/som"); })
        .Faults({{"open", "socket.conf", {"100 | " + whole, "250 | " + whole}},
                 {"read", "socket.conf", "EIO end", {"100 | " + whole, "250 | " + whole}},
                 {"stat", "/CS", "EACCES EIO", {"250 | SS socket.conf"}},
                 {"stat", "/SS", "EACCES EIO", {"250 | CS socket.conf"}},
                 {"mkdir", "/CS", {"250 | SS socket.conf"}},
                 {"mkdir", "/SS", {"250 | CS socket.conf"}},
                 {"lasting", {"250 | socket.conf", "100 | " + whole}},
                 {"allocation", {"bad_alloc | socket.conf"}}});
}

// A channel and what it is assigned to.
struct Copies {
    CFileTransfer source{"a tag of more than fifteen bytes", "/opt/other.conf"};
    CFileTransfer target{"som", "/opt/no.conf"};
};

std::string Directories(CFileTransfer& channel)
{
    std::string client;
    std::string server;
    channel.GetRecvDir(client);
    channel.GetSendDir(server);
    return client + " " + server;
}

void AddCopying(const Table& table)
{
    const Table t = table.In("CFileTransfer::");
    const Table laid = t.With(Operation().Lay([] {
        test::MakeLogDirectory();
        WriteFile("/opt/other.conf",
                  "[filetran]\nclientdir=/opt/the/others/requests\n"
                  "serverdir=/opt/the/others/responses\n");
    }));
    Making(t, "CFileTransfer()", [] { return CFileTransfer(); });
    Making(t, "CFileTransfer(string, string)", [] { return CFileTransfer("som", kConfig); });
    laid.On<Copies>("CFileTransfer(CFileTransfer const&)",
                    "/opt/the/others/requests /opt/the/others/responses", [](Copies& both) {
                        CFileTransfer copy(both.source);
                        return Directories(copy);
                    });
    // Without memory for all of it a part is done: each text is the old or the new one.
    laid.On<Copies>(
            "operator=(CFileTransfer const&)",
            "done | /opt/the/others/requests /opt/the/others/responses",
            [](Copies& both) { both.target = both.source; },
            [](Copies& both) { return Directories(both.target); })
        .UsedUp()
        .Faults({{"allocation",
                  {"bad_alloc | /opt/velmora/qor/som/CS /opt/velmora/qor/som/SS",
                   "bad_alloc | /opt/the/others/requests /opt/velmora/qor/som/SS"}}});
    laid.On<Copies>("~CFileTransfer()", "done",
                    [](Copies& both) { delete new CFileTransfer(both.source); });
}

// ---- names

template <typename Use>
Operation& OnChannel(const Table& t, const std::string& name, const std::string& outcome, Use use)
{
    return t
        .On<Channel>(name, outcome,
                     [use](Channel& channel) {
                         std::string out;
                         use(channel, out);
                         return out.size();
                     })
        .Lay(LayDirectories);
}

void AddNames(const Table& table)
{
    const Table t = table.In("CFileTransfer::");
    OnChannel(t, "GetTmpFileName(string&)", "27",
              [](Channel& one, std::string& out) { one.GetTmpFileName(out); });
    OnChannel(t, "GetSndFileName(string, string&)", "27", [](Channel& one, std::string& out) {
        one.GetSndFileName("00000000000000000000som.tmp", out);
    });
    OnChannel(t, "AppendFullPath(string, string&)", "29", [](Channel& one, std::string& out) {
        out = "file.snd";
        one.AppendFullPath("/a/directory/of/many", out);
    });
    OnChannel(t, "GetRecvDir(string&)", "23",
              [](Channel& one, std::string& out) { one.GetRecvDir(out); });
    OnChannel(t, "GetSendDir(string&)", "23",
              [](Channel& one, std::string& out) { one.GetSendDir(out); });
    OnChannel(t, "SetCurrentFile(string)", "31", [](Channel& one, std::string& out) {
        one.SetCurrentFile("a message's name of many bytes.");
        one.GetTransFile(out);
    });
    OnChannel(t, "GetTransFile(string&)", "0",
              [](Channel& one, std::string& out) { one.GetTransFile(out); });
    OnChannel(t, "GetFileHandle()", "2", [](Channel& one, std::string& out) {
        Append(out, one.GetFileHandle());  // -1
    });
    OnChannel(t, "Interval()", "7",
              [](Channel& one, std::string& out) { Append(out, one.Interval()); });
    OnChannel(t, "IsExpiredFile(char const*)", "4", [](Channel& one, std::string& out) {
        Append(out, one.IsExpiredFile("00000000000000000001som.snd"));
    });
    t.On<LoggingChannel>("DeleteExpiredFile(char const*)", "done | CS:  SS: ",
                         [](LoggingChannel& one) { one.DeleteExpiredFile("X.snd"); })
        .Lay(Laid({"CS/X.snd", "SS/X.snd"}))
        .State(Spools(kOpen))
        .UsedUp()
        .Faults({{"unlink", "/CS", {"done | CS: X.snd SS: "}},
                 {"unlink", "/SS", {"done | CS:  SS: X.snd"}},
                 {"stat", "/SS", {"done | CS:  SS: X.snd"}},
                 {"lasting", {"done | CS: X.snd SS: X.snd", "done | CS:  SS: ; a torn record"}},
                 {"allocation",
                  {"bad_alloc | CS: X.snd SS: X.snd", "bad_alloc | CS:  SS: X.snd",
                   "done | CS:  SS: "}}});
}

}  // namespace

void AddChannelOperations(const Table& t)
{
    AddClient(t);
    AddScan(t);
    AddCopying(t);
    AddNames(t);
}

}  // namespace qor::proof
