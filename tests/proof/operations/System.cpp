// Files by the Windows names, the pipe stream, XML, provider libraries.
#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "CLibraryLoader.h"
#include "CPipeStream.h"
#include "CTraceUtility.h"
#include "IXmlReader.h"
#include "proof/operations/Operation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/TestPaths.h"
#include "support/WaitUntil.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using test::OwnedFd;
using test::WriteFile;

constexpr char kAbove[] = "/opt/w";
constexpr char kDirectory[] = "/opt/w/d";
constexpr char kFile[] = "/opt/w/d/file";
constexpr char kCopy[] = "/opt/w/d/copy";

// ---- files

void LayNothing()
{
    test::RemoveTree(kAbove);
    test::MakeDirs(kAbove);
}

void LayDirectory()
{
    LayNothing();
    test::MakeDirs(kDirectory);
}

void LayFile()
{
    LayNothing();
    WriteFile(kFile, "content of the file");
}

struct OpenFile {
    int file = ::open(kFile, O_RDONLY | O_CLOEXEC);
};

struct OwnedFile {
    OwnedFd file{::open(kFile, O_RDONLY | O_CLOEXEC)};
};

// What rows have in common whose operations change the directory.
Operation InDirectory(void (*lay)(), const char* directory)
{
    return Operation()
        .Lay(lay)
        .State([directory] { return Names(directory); })
        .UsedUp()
        .Files({kDirectory});
}

void AddFiles(const Table& t)
{
    const std::string copyFile = "CopyFileA(char const*, char const*, int)";
    const Table made = t.With(InDirectory(LayNothing, kAbove).Faults({{"mkdir", {"-1 | "}}}));
    const Table deletes = t.With(InDirectory(LayFile, kDirectory));
    made.Plain("_mkdir(char const*)", "0 | d", [] { return _mkdir(kDirectory); });
    made.Plain("_wmkdir(wchar_t const*)", "0 | d",
               [] { return _wmkdir(reinterpret_cast<const wchar_t*>(kDirectory)); });
    t.With(InDirectory(LayDirectory, kAbove))
        .Plain("RemoveDirectoryA(char const*)", "1 | ", [] { return RemoveDirectoryA(kDirectory); })
        .Faults({{"rmdir", {"0 | d"}}});
    t.With(InDirectory(LayFile, kAbove))
        .Plain("RemoveDirectoryA(char const*): not empty", "0 | d",
               [] { return RemoveDirectoryA(kDirectory); });
    deletes.Plain("DeleteFileA(char const*)", "1 | ", [] { return DeleteFileA(kFile); })
        .Faults({{"unlink", {"0 | file"}}});
    deletes.Plain("DeleteFileA(char const*): a directory", "0 | file",
                  [] { return DeleteFileA(kDirectory); });
    t.Plain("PathIsDirectoryA(char const*)", "1", [] { return PathIsDirectoryA(kDirectory); })
        .Lay(LayFile)
        .Faults({{"open stat", {"0"}}, {"allocation", {"0"}}});
    t.Plain("PathIsDirectoryA(char const*): a file", "0", [] { return PathIsDirectoryA(kFile); })
        .Lay(LayFile)
        .Faults({{"allocation", {"0"}}});
    t.Plain("GetCurrentDirectoryA(unsigned long, char*)", "1",
            [] {
                char buffer[64];
                return GetCurrentDirectoryA(sizeof buffer, buffer);
            })
        .Lay([] {
            if (::chdir("/") != 0)
                test::ThrowErrno("chdir");
        })
        .Faults({{"directory", {"0"}}});
    t.On<OwnedFile>("GetFileSize(void*, unsigned long*)", "19",
                    [](OwnedFile& one) {
                        int file = one.file.get();
                        return static_cast<int>(GetFileSize(&file, nullptr));
                    })
        .Lay(LayFile)
        .Faults({{"stat", {"-1"}}});
    t.On<OpenFile>("closesocket(int)", "0", [](OpenFile& one) { return closesocket(one.file); })
        .Lay(LayFile)
        .UsedUp()
        .Faults({{"close", {"-1"}}});
    t.Plain(copyFile, "true | source, copied", [] { return CopyFileA(kFile, kCopy, 0) != 0; })
        .Lay([] {
            LayFile();
            WriteFile(kCopy, "old");
        })
        .State([] {
            return Holds(kFile, {{"source", "content of the file"}}) + ", " +
                   Holds(kCopy, {{"copied", "content of the file"}, {"old", "old"}});
        })
        .Faults(
            {{"open", "/file", {"false | source, old"}},
             {"open", "/copy", {"false | source, old"}},
             {"stat", "/file", {"false | source, old"}},
             {"read", "", "EIO", {"false | source, empty", "false | source, copied"}},
             {"read", "", "end", {"false | source, empty", "true | source, copied"}},
             {"write", "", "EIO ENOSPC", {"false | source, empty"}},
             {"close", "/copy", {"false | source, copied"}},
             {"lasting",
              {"false | source, old", "false | source, empty", "false | source, part of copied"}}});
    t.Plain(copyFile + ": onto itself, from and to a directory", "falsefalsefalse",
            [](Result& result) {
                Append(result, CopyFileA(kFile, kFile, 0) != 0);
                Append(result, CopyFileA(kDirectory, kCopy, 0) != 0);
                Append(result, CopyFileA(kFile, kDirectory, 0) != 0);
            })
        .Lay(LayFile);
    t.Plain("Sleep(unsigned long)", "done", [] { Sleep(2); }).Keeps({});
    t.Plain("Trim(char*)", "true", [] {
         char text[] = "  a text  ";
         char* const trimmed = Trim(text);
         const bool isRight = trimmed != nullptr && std::strcmp(trimmed, "a text") == 0;
         std::free(trimmed);
         return isRight;
     }).Faults({{"allocation", {"false"}}});
}

// ---- the pipe stream

// A command's stream comes back in the child, too, which stays until the stream's end sends it
// SIGTERM; not much longer.
void BeSignalled(pid_t self)
{
    if (::getpid() == self)
        return;
    (void)::alarm(1);
    for (;;)
        (void)::pause();
}

// As the header asks.
struct Waiter {
    Waiter() = default;
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;
    ~Waiter()
    {
        (void)::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);  // no destructor may throw
        while (::waitpid(-1, nullptr, 0) > 0) {
        }
        (void)::pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    }
};

constexpr char kPrinting[] =
    "echo a line of more than thirty-two bytes, so that it takes two reads";

// use: of a stream whose command prints a line.
template <typename Use>
Operation& Piped(const Table& t, const std::string& name, const std::string& outcome, Use use)
{
    return t
        .Plain("CPipeStream::" + name, outcome,
               [use](Result& result) {
                   const Waiter waiter;
                   const pid_t self = ::getpid();
                   CPipeStream stream(kPrinting);
                   BeSignalled(self);
                   AppendResultOf(use, result, stream);
               })
        .Command()
        .LeavesChildren();
}

constexpr char kGate[] = "/opt/gate";

// A stream that goes while its command waits at the gate, which is opened afterwards.
void LeaveRunning(OwnedFd& gate)
{
    {
        const pid_t self = ::getpid();
        CPipeStream stream("echo ready; read line < /opt/gate");
        BeSignalled(self);
        std::string line;
        (void)std::getline(stream, line);
    }
    int unread = 0;
    const auto passed = [&] { return ::ioctl(gate.get(), FIONREAD, &unread) == 0 && unread == 0; };
    if (::write(gate.get(), "\n", 1) != 1 || !test::WaitUntil(passed))
        throw std::runtime_error("the command does not end");
}

// What the stream has when its reads fail from the first, the second and the third on; it takes 32
// bytes at a time.
const std::string kPrinted = "a line of more than thirty-two bytes, so that it takes two reads";
const std::string kBeginning = "a line of more than thirty-two b";

void AddPipeStream(const Table& t)
{
    const Table p = t.In("CPipeStream::");
    // Without a process to run the command in, the program ends: the one exit there is. The child
    // that cannot bind its output, or not start the command, prints nothing.
    const std::vector<Row> rows = {
        {"pipe", {"fail "}},
        {"fork", {"exit(1)"}},
        {"child-dup", {"fail ", "good " + kPrinted}},
        {"child-map child-fork", {"fail "}},
        {"read", "", "EIO", {"fail ", "fail " + kBeginning, "fail " + kPrinted}},
        {"read", "", "end", {"fail ", "good " + kBeginning, "good " + kPrinted}}};
    const std::vector<Row> byByte = {{"pipe", {"-1"}},
                                     {"fork", {"exit(1)"}},
                                     {"child-dup", {"-1", "97"}},
                                     {"child-map child-fork", {"-1"}},
                                     {"read", "", "EIO end", {"-1"}}};
    const auto read = [](CPipeStream& stream, Result& result) {
        char line[128] = "";
        stream.getline(line, sizeof line);
        result += stream.bad() ? "bad " : stream.fail() ? "fail " : "good ";
        result += line;
    };
    Kept ends;
    ends.what = "the two ends that open closes once the command has them";
    ends.descriptors = 2;
    Kept child;
    child.what = "the child that nobody waits for";
    child.children = 1;
    Piped(t, "CPipeStream(char const*)", "good " + kPrinted, read).Faults(rows);
    Piped(t, "~CPipeStream()", "good " + kPrinted, read).Faults(rows);
    Piped(t, "underflow()", "97", [](CPipeStream& stream) {
        return stream.CPipeStream::underflow();
    }).Faults(byByte);
    Piped(t, "uflow()", "97", [](CPipeStream& stream) {
        return stream.CPipeStream::uflow();
    }).Faults(byByte);
    p.Plain("open(char const*)", "good " + kPrinted,
            [read](Result& result) {
                const Waiter waiter;
                const pid_t self = ::getpid();
                CPipeStream stream(nullptr);
                stream.open(kPrinting);
                BeSignalled(self);
                read(stream, result);
            })
        .Command()
        .LeavesChildren()
        .Faults(rows);
    // The numbers that are closed a second time belong to nobody here.
    Piped(t, "close()", "good " + kPrinted, [read](CPipeStream& stream, Result& result) {
        read(stream, result);
        stream.close();
    }).Faults(rows);
    p.Plain("init()", "done",
            [] {
                CPipeStream stream(nullptr);
                stream.init();
            })
        .Faults({{"allocation", {"bad_alloc", "done"}}})
        .Keeps(ends);
    p.Of(
         "~CPipeStream(): its command still runs", "done",
         [] { return std::make_shared<OwnedFd>(::open(kGate, O_RDWR | O_CLOEXEC)); }, LeaveRunning)
        .Lay([] {
            test::RemoveTree(kGate);
            if (::mkfifo(kGate, 0600) != 0)
                test::ThrowErrno("mkfifo");
        })
        .OnlyRepeated()
        .Keeps(child);
}

// ---- XML

// IUnknown's operations are the caller's.
template <typename Base>
struct Counted : Base {
    int QueryInterface(const void*, void**) override { return 0; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

constexpr char kXml[] = "/opt/w/d/a.xml";

void LayXml()
{
    WriteFile(kXml, "<a x='1' y='2'><b>text</b><c/></a>\n");
    WriteFile("/opt/w/d/bad.xml", "<a><b></a>");
}

// Reads the document, calling `use` at each node, until the end, 1, or an error, -1.
template <typename Use>
Operation& Walk(const Table& t, const std::string& name, const std::string& outcome, Use use)
{
    return t
        .On<Counted<IXmlReader>>("IXmlReader::" + name, outcome,
                                 [use](IXmlReader& reader, Result& result) {
                                     (void)FileStream::OpenFile(kXml, nullptr, false);
                                     if (reader.SetInput(nullptr) != 0) {
                                         result += "not opened";
                                         return;
                                     }
                                     int nodes = 0;
                                     int last = 0;
                                     XmlNodeType type;
                                     while ((last = reader.Read(&type)) == 0 && nodes < 100) {
                                         ++nodes;
                                         use(reader, type, nodes);
                                     }
                                     Append(result, nodes);
                                     result += " nodes, ";
                                     Append(result, last);
                                 })
        .Lay(LayXml)
        .Faults({{"open", "a.xml", {"not opened", outcome}},
                 {"stat", "a.xml", {"not opened", outcome}},
                 {"read", "a.xml", {"not opened", "* nodes, -1", outcome}},
                 {"allocation", {"not opened", "* nodes, -1", outcome}}});
}

void AddXmlReader(const Table& t)
{
    const Table x = t.In("IXmlReader::");
    const std::string n = "(char const**, unsigned int*)";
    const auto each = [=](const std::string& name, const auto& use) {
        Walk(t, name, "6 nodes, 1", [use](IXmlReader& reader, XmlNodeType, int&) { use(reader); });
    };
    x.Plain("IXmlReader()", "done", [] { const Counted<IXmlReader> one; });
    x.Plain("~IXmlReader()", "done", [] { delete new Counted<IXmlReader>; });
    Walk(t, "Read(XmlNodeType*)", "8 nodes, 1",
         [](IXmlReader& reader, XmlNodeType type, int& nodes) {
             while (type == XmlNodeType_Element && reader.MoveToNextAttribute() == 0 && nodes < 100)
                 ++nodes;
         });
    each("GetLocalName" + n, [](IXmlReader& reader) {
        const char* text = nullptr;
        (void)reader.GetLocalName(&text, nullptr);
    });
    each("GetPrefix" + n, [](IXmlReader& reader) {
        const char* text = nullptr;
        (void)reader.GetPrefix(&text, nullptr);
    });
    each("GetValue" + n, [](IXmlReader& reader) {
        const char* text = nullptr;
        (void)reader.GetValue(&text, nullptr);
    });
    each("IsEmptyElement()", [](IXmlReader& reader) { (void)reader.IsEmptyElement(); });
    each("IsDefault()", [](IXmlReader& reader) { (void)reader.IsDefault(); });
    each("MoveToFirstAttribute()", [](IXmlReader& reader) { (void)reader.MoveToFirstAttribute(); });
    each("MoveToNextAttribute()", [](IXmlReader& reader) {
        (void)reader.MoveToFirstAttribute();
        (void)reader.MoveToNextAttribute();
    });
    each("MoveToElement()", [](IXmlReader& reader) {
        (void)reader.MoveToFirstAttribute();
        (void)reader.MoveToElement();
    });
    // One document in progress at a time stays open: the next one closes it.
    x.On<Counted<IXmlReader>>(
         "SetInput(IUnknown*)", "done",
         [](IXmlReader& reader) {
             for (const char* const path : {kXml, "/opt/w/d/bad.xml", "/opt/absent"}) {
                 (void)FileStream::OpenFile(path, nullptr, false);
                 if (reader.SetInput(nullptr) == 0)
                     (void)reader.Read(nullptr);
             }
         })
        .Lay(LayXml)
        .Faults({{"allocation", {"bad_alloc", "done"}}});
    t.Plain("FileStream::OpenFile(char const*, IStream**, bool)", "0",
            [] { return FileStream::OpenFile(kLong, nullptr, false); });
    t.Plain("IUnknown::~IUnknown()", "done", [] { delete new Counted<IStream>; });
    t.Plain("CreateXmlReader(...)", "0", [] { return CreateXmlReader(1, 2); });
    t.Plain("CreateXmlReaderInputWithEncodingName(...)", "0",
            [] { return CreateXmlReaderInputWithEncodingName(1, 2); });
}

// ---- provider libraries

// The dynamic loader's text for what failed, in the log.
const std::string kNotLoaded = "false | /*/qor_*_plugin.so: *";

struct Log {
    Log() { CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG); }
};

// A library is opened and asked for its entry point.
template <typename Ask>
Operation& Loading(const Table& t, const std::string& name, const char* library, Ask ask)
{
    const std::string plugin = test::PluginPath(library);
    return t
        .On<Log>("CLibraryLoader::" + name, "true | ",
                 [plugin, ask](Log&) {
                     CLibraryLoader loader("som", plugin.c_str());
                     return ask(loader);
                 })
        .Lay([] { test::MakeLogDirectory(); })
        .State([] { return Failures("som", ""); })
        .Faults({{"open read stat map seek close", {kNotLoaded, "true | "}},
                 {"lasting", {kNotLoaded, "true | a torn record"}},
                 {"allocation", {"bad_alloc | ", kNotLoaded, "false | out of memory", "true | "}}});
}

void AddLoader(const Table& t)
{
    const Table l = t.In("CLibraryLoader::");
    const std::string provider = test::PluginPath("qor_provider_plugin");
    const auto absent = [] {
        CLibraryLoader loader("um", "/opt/absent.so");
        return loader.GetPvdInstance() == nullptr;
    };
    const std::vector<Row> opening = {{"allocation", {"bad_alloc", "done"}}};
    l.Plain("CLibraryLoader(string, char const*)", "done", [] {
         const CLibraryLoader loader("um", "/opt/absent.so");
     }).Faults(opening);
    l.Plain("~CLibraryLoader()", "done", [provider] {
         delete new CLibraryLoader("um", provider.c_str());
     }).Faults(opening);
    Loading(t, "GetPvdInstance()", "qor_provider_plugin",
            [](CLibraryLoader& loader) { return loader.GetPvdInstance() != nullptr; });
    Loading(t, "GetVendorInstance()", "qor_vendor_plugin",
            [](CLibraryLoader& loader) { return loader.GetVendorInstance() != nullptr; });
    l.Plain("GetPvdInstance(): no library", "true", absent)
        .Faults({{"allocation", {"bad_alloc", "true"}}});
    l.Plain("GetVendorInstance(): none in the library", "true", [provider] {
         CLibraryLoader loader("um", provider.c_str());
         return loader.GetVendorInstance() == nullptr;
     }).Faults({{"allocation", {"bad_alloc", "true"}}});
}

}  // namespace

void AddSystemOperations(const Table& t)
{
    AddFiles(t);
    AddPipeStream(t);
    AddXmlReader(t);
    AddLoader(t);
}

}  // namespace qor::proof
