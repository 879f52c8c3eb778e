// Files behind the Windows names, the pipe stream, XML, provider libraries.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "CLibraryLoader.h"
#include "CPipeStream.h"
#include "CTraceUtility.h"
#include "IXmlReader.h"
#include "proof/faults/Operation.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/TestPaths.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kAbove[] = "/opt/w";
constexpr char kDirectory[] = "/opt/w/d";
constexpr char kFile[] = "/opt/w/d/file";
constexpr char kCopy[] = "/opt/w/d/copy";

Prepared Told(const std::function<long()>& call)
{
    const auto result = std::make_shared<long>(-99);
    return {[=] { *result = call(); }, [=] { return std::to_string(*result); }};
}

std::string Files()
{
    return Names(kDirectory);
}

void LayFile()
{
    WriteFile(kFile, "content of the file");
}

std::string Copied()
{
    return Holds(kFile, {{"source", "content of the file"}}) + ", " +
           Holds(kCopy, {{"copied", "content of the file"}, {"old", "old"}});
}

Operations FileOperations()
{
    return {
        {"_mkdir",
         "0 | d",
         {{"mkdir", "", "", {"-1 | "}}},
         [] { test::MakeDirs(kAbove); },
         [] { return Told([] { return _mkdir(kDirectory); }); },
         [] { return Names(kAbove); },
         nullptr},
        {"RemoveDirectoryA",
         "1 | ",
         {{"rmdir", "", "", {"0 | d"}}},
         [] { test::MakeDirs(kDirectory); },
         [] { return Told([] { return RemoveDirectoryA(kDirectory); }); },
         [] { return Names(kAbove); },
         nullptr},
        {"DeleteFileA",
         "1 | ",
         {{"unlink", "", "", {"0 | file"}}},
         LayFile,
         [] { return Told([] { return DeleteFileA(kFile); }); },
         Files,
         nullptr},
        {"PathIsDirectoryA",
         "1 | file",
         {{"open stat", "", "", {"0 | file"}}, {"allocation", "", "", {"0 | file"}}},
         LayFile,
         [] { return Told([] { return PathIsDirectoryA(kDirectory); }); },
         Files},
        {"GetCurrentDirectoryA",
         "1 | ",
         {{"directory", "", "", {"0 | "}}},
         [] {},
         [] {
             if (::chdir("/") != 0)
                 ::_exit(1);
             return Told([] {
                 char buffer[64];
                 return static_cast<long>(GetCurrentDirectoryA(sizeof buffer, buffer));
             });
         },
         [] { return std::string(); }},
        {"GetFileSize",
         "19 | file",
         {{"stat", "", "", {"-1 | file"}}},
         LayFile,
         [] {
             const auto file = std::make_shared<int>(::open(kFile, O_RDONLY | O_CLOEXEC));
             Prepared prepared =
                 Told([=] { return static_cast<long>(GetFileSize(file.get(), nullptr)); });
             prepared.close = [=] { (void)::close(*file); };
             return prepared;
         },
         Files,
         nullptr},
        {"closesocket",
         "0 | file",
         {{"close", "", "", {"-1 | file"}}},
         LayFile,
         [] {
             const auto file = std::make_shared<int>(::open(kFile, O_RDONLY | O_CLOEXEC));
             return Told([=] { return closesocket(*file); });
         },
         Files,
         nullptr},
        {"CopyFileA",
         "1 | source, copied",
         {{"open", "/file", "", {"0 | source, old"}},
          {"open", "/copy", "", {"0 | source, old"}},
          {"stat", "/file", "", {"0 | source, old"}},
          {"read", "", "EIO", {"0 | source, empty", "0 | source, copied"}},
          {"read", "", "end", {"0 | source, empty", "1 | source, copied"}},
          {"write", "", "EIO ENOSPC", {"0 | source, empty"}},
          {"close", "/copy", "", {"0 | source, copied"}},
          {"lasting",
           "",
           "",
           {"0 | source, old", "0 | source, empty", "0 | source, part of copied"}}},
         [] {
             LayFile();
             WriteFile(kCopy, "old");
         },
         [] { return Told([] { return CopyFileA(kFile, kCopy, 0) ? 1 : 0; }); },
         Copied},
        {"Sleep",
         "0 | ",
         {},
         [] {},
         [] {
             return Told([] {
                 Sleep(1500);
                 return 0;
             });
         },
         [] { return std::string(); },
         nullptr},
        {"Trim",
         "1 | ",
         {{"allocation", "", "", {"0 | "}}},
         [] {},
         [] {
             return Told([] {
                 char text[] = "  a text  ";
                 char* const trimmed = Trim(text);
                 const bool told = trimmed != nullptr && std::strcmp(trimmed, "a text") == 0;
                 std::free(trimmed);
                 return told ? 1 : 0;
             });
         },
         [] { return std::string(); }},
    };
}

// The child of a stream, which stays until the stream's end sends it SIGTERM; not much longer.
[[noreturn]] void BeSignalled()
{
    (void)::alarm(1);
    for (;;)
        (void)::pause();
}

// What a command prints. A stream without its pipe, or after a failed read, is bad or failed.
struct Command {
    std::string text = std::string(64, '\0');
    const char* state = "";

    void Run()
    {
        text.clear();
        const pid_t self = ::getpid();
        CPipeStream stream("echo a line of more than thirty-two bytes, so that it takes two reads");
        if (::getpid() != self)
            BeSignalled();
        char line[128] = "";
        stream.getline(line, sizeof line);
        state = stream.bad() ? "bad " : stream.fail() ? "fail " : "good ";
        text = line;
    }
};

// What the stream has when its reads fail from the first, the second and the third on; it takes 32
// bytes at a time.
constexpr char kPrinted[] =
    "good a line of more than thirty-two bytes, so that it takes two reads | ";
constexpr char kPrintedAndFailed[] =
    "fail a line of more than thirty-two bytes, so that it takes two reads | ";
constexpr char kBeginning[] = "good a line of more than thirty-two b | ";
constexpr char kBeginningAndFailed[] = "fail a line of more than thirty-two b | ";

Operations StreamOperations()
{
    return {
        // Without a process to run the command in, the program ends: the one exit there is.
        {"CPipeStream",
         kPrinted,
         {{"pipe", "", "", {"fail  | "}},
          {"fork", "", "", {"exit(1)"}},
          // The child that cannot bind its output, or not start the command, prints nothing.
          {"child-dup", "", "", {"fail  | ", kPrinted}},
          {"child-map child-fork", "", "", {"fail  | "}},
          {"read", "", "EIO EINTR", {"fail  | ", kBeginningAndFailed, kPrintedAndFailed}},
          {"read", "", "end", {"fail  | ", kBeginning, kPrinted}},
          {"allocation", "", "", {"bad_alloc | "}}},
         [] {},
         [] {
             const auto command = std::make_shared<Command>();
             return Prepared{[=] { command->Run(); },
                             [=] { return command->state + command->text; }};
         },
         [] { return std::string(); },
         "=",
         "som",
         true},
    };
}

class Reader : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return 0; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

struct Walk {
    Reader reader;
    int opened = 0;
    int nodes = 0;
    int last = 0;

    void Run()
    {
        nodes = 0;
        last = 0;
        (void)FileStream::OpenFile("/opt/w/d/a.xml", nullptr, false);
        opened = reader.SetInput(nullptr);
        if (opened != 0)
            return;
        XmlNodeType type;
        while ((last = reader.Read(&type)) == 0) {
            const char* name = nullptr;
            (void)reader.GetLocalName(&name, nullptr);
            (void)reader.GetPrefix(&name, nullptr);
            (void)reader.GetValue(&name, nullptr);
            (void)reader.IsEmptyElement();
            (void)reader.IsDefault();
            ++nodes;
            if (type != XmlNodeType_Element)
                continue;
            while (reader.MoveToNextAttribute() == 0 && nodes < 100)
                ++nodes;
            (void)reader.MoveToFirstAttribute();
            (void)reader.MoveToElement();
        }
    }
    std::string Tell() const
    {
        return opened != 0 ? "not opened"
                           : std::to_string(nodes) + " nodes, " + std::to_string(last);
    }
};

// The dynamic loader's text for what failed, in the log.
constexpr char kNotLoaded[] = "0 | /*/qor_*_plugin.so: *";

// A library is opened and asked for its entry point.
Operation Loading(const char* name, const char* library,
                  const std::function<bool(CLibraryLoader&)>& ask)
{
    const std::string plugin = test::PluginPath(library);
    return {name,
            "1 | ",
            {{"open read stat map seek close", "", "", {kNotLoaded, "1 | "}},
             {"lasting", "", "", {kNotLoaded, "1 | a torn record"}},
             {"allocation", "", "", {"bad_alloc | ", kNotLoaded, "0 | out of memory", "1 | "}}},
            [] { test::MakeLogDirectory(); },
            [=] {
                CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG);
                return Told([=] {
                    CLibraryLoader loader("som", plugin.c_str());
                    return ask(loader) ? 1 : 0;
                });
            },
            [] { return Failures("som", ""); }};
}

Operations ForeignOperations()
{
    return {
        {"IXmlReader.Read",
         "8 nodes, 1 | ",
         {{"open", "a.xml", "", {"not opened | ", "8 nodes, 1 | "}},
          {"stat", "a.xml", "", {"not opened | ", "8 nodes, 1 | "}},
          {"read", "a.xml", "", {"not opened | ", "* nodes, -1 | ", "8 nodes, 1 | "}},
          {"allocation", "", "", {"not opened | ", "* nodes, -1 | ", "8 nodes, 1 | "}}},
         [] { WriteFile("/opt/w/d/a.xml", "<a x='1' y='2'><b>text</b><c/></a>\n"); },
         [] {
             const auto walk = std::make_shared<Walk>();
             return Prepared{[=] { walk->Run(); }, [=] { return walk->Tell(); }};
         },
         [] { return std::string(); }},
        Loading("CLibraryLoader", "qor_provider_plugin",
                [](CLibraryLoader& loader) { return loader.GetPvdInstance() != nullptr; }),
        Loading("CLibraryLoader.GetVendorInstance", "qor_vendor_plugin",
                [](CLibraryLoader& loader) { return loader.GetVendorInstance() != nullptr; }),
    };
}

}  // namespace

Operations SystemOperations()
{
    Operations all;
    for (const Operations& some : {FileOperations(), StreamOperations(), ForeignOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace qor::proof
