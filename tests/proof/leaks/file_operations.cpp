// What reads and writes files: CIniFileReader.h, CIniFileWriter.h, CMofReader.h, CVcFacReader.h,
// CLibraryLoader.h, CFileTransfer.h, IXmlReader.h, and the files of winapi.h.
#include <dirent.h>
#include <unistd.h>

#include <cstring>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CFileTransfer.h"
#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "CLibraryLoader.h"
#include "CMofReader.h"
#include "CVcFacReader.h"
#include "IXmlReader.h"
#include "leaks/Operations.h"
#include "support/Files.h"
#include "support/TestPaths.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using test::WriteFile;

const char kText[] = "a text that is too long for a string to keep it inside itself";

const char kIni[] = "/opt/work/a.ini";
const char kIniText[] =
    "[one]\nkey=a value that is too long for a string to keep it inside itself\nnumber=42\n"
    "[two]\nkey=b\n";

void MakeIni()
{
    WriteFile(kIni, kIniText);
}

// body: what is to be called again and again, once the INI file is there.
void AddIni(Operations& table, const std::string& name, Body body)
{
    Add(table, name, [body = std::move(body)] {
        MakeIni();
        return body;
    });
}

void AddIniReader(Operations& table)
{
    const std::string r = "CIniFileReader::";
    AddIni(table, r + "CIniFileReader(string const&)", [] { const CIniFileReader reader(kIni); });
    AddIni(table, r + "~CIniFileReader()", [] { delete new CIniFileReader(kIni); });
    AddIni(table, r + "isOpen() const", [] { (void)CIniFileReader(kIni).isOpen(); });
    AddIni(table, r + "checkfile(string&)", [] {
        std::string path = "C:\\a\\file\\with\\a\\path\\that\\is\\long";
        CIniFileReader(kIni).checkfile(path);
    });
    AddIni(table, r + "get_section_len(string, int)",
           [] { (void)CIniFileReader(kIni).get_section_len(std::string("[") + kText + "]", 99); });
    AddIni(table, r + "find_str(char const*, string const&, string&)", [] {
        std::string value;
        (void)CIniFileReader(kIni).find_str((std::string("key=") + kText).c_str(), "key", value);
    });
    AddIni(table, r + "find_key(string, string&)", [] {
        std::string value;
        CIniFileReader reader(kIni);
        (void)reader.find_key("number", value);
        (void)reader.find_key("absent", value);
    });
    AddIni(table, r + "find_section(string, string, string&)", [] {
        std::string value;
        CIniFileReader reader(kIni);
        (void)reader.find_section("one", "key", value);
        (void)reader.find_section("two", "absent", value);
        (void)CIniFileReader("/opt/absent").find_section("one", "key", value);
    });
    AddIni(table, r + "list_section(list<string>&)", [] {
        std::list<std::string> names;
        CIniFileReader(kIni).list_section(names);
    });
}

void AddIniWriter(Operations& table)
{
    const std::string w = "CIniFileWriter::";
    AddIni(table, w + "CIniFileWriter(string const&)", [] { const CIniFileWriter writer(kIni); });
    AddIni(table, w + "~CIniFileWriter()", [] { delete new CIniFileWriter(kIni); });
    AddIni(table, w + "append(string, string, string)",
           [] { (void)CIniFileWriter(kIni).append("one", "number", "43"); });
    AddIni(table, w + "getSectionPos(char const*)",
           [] { (void)CIniFileWriter(kIni).getSectionPos("two"); });
    AddIni(table, w + "getKeyPos(char*, char const*)", [] {
        CIniFileWriter writer(kIni);
        (void)writer.getKeyPos(writer.getSectionPos("one"), "number");
    });
    AddIni(table, w + "getNextLine(char*)", [] {
        CIniFileWriter writer(kIni);
        (void)writer.getNextLine(writer.getSectionPos("one"));
    });
    AddIni(table, w + "replaceKey(char*, string, string)", [] {
        CIniFileWriter writer(kIni);
        char* const key = writer.getKeyPos(writer.getSectionPos("one"), "number");
        (void)writer.replaceKey(key, "number", "44");
    });
    // The file is put back: it would grow.
    AddIni(table, w + "appendKey(char*, string, string)", [] {
        MakeIni();
        CIniFileWriter writer(kIni);
        (void)writer.appendKey(writer.getSectionPos("one"), "new", kText);
    });
    AddIni(table, w + "appendSection(string, string, string)", [] {
        MakeIni();
        (void)CIniFileWriter(kIni).appendSection("new", "key", kText);
    });
    AddIni(table, w + "createFile(string, string, string)",
           [] { (void)CIniFileWriter(kIni).createFile("new", "key", kText); });
    AddIni(table, w + "writeFile(char*)", [] {
        char* const text = new char[sizeof kIniText];
        std::memcpy(text, kIniText, sizeof kIniText);
        CIniFileWriter writer(kIni);
        (void)writer.writeFile(text);
        (void)CIniFileWriter("/opt/absent/a.ini").append("s", "k", "v");
    });
}

void AddProfile(Operations& table)
{
    const std::string text5 =
        "(char const*, char const*, char const*, char*, unsigned long, char const*)";
    AddIni(table, "GetPrivateProfileStringA" + text5, [] {
        char out[256];
        (void)GetPrivateProfileStringA("one", "key", "d", out, sizeof out, kIni);
    });
    AddIni(table, "GetPrivateProfileStringW" + text5, [] {
        wchar_t out[256];
        (void)GetPrivateProfileStringW("one", "key", "d", reinterpret_cast<char*>(out), 256, kIni);
    });
    const std::string number = "(char const*, char const*, int, char const*)";
    AddIni(table, "GetPrivateProfileIntA" + number,
           [] { (void)GetPrivateProfileIntA("one", "number", 1, kIni); });
    AddIni(table, "GetPrivateProfileIntW" + number,
           [] { (void)GetPrivateProfileIntW("one", "number", 1, kIni); });
    const std::string text4 = "(char const*, char const*, char const*, char const*)";
    AddIni(table, "WritePrivateProfileStringA" + text4,
           [] { (void)WritePrivateProfileStringA("one", "number", "43", kIni); });
    AddIni(table, "WritePrivateProfileStringW" + text4,
           [] { (void)WritePrivateProfileStringW("one", "number", "44", kIni); });
}

void AddWindowsFiles(Operations& table)
{
    AddIni(table, "closesocket(int)", [] { (void)closesocket(::dup(0)); });
    AddIni(table, "_mkdir(char const*)", [] {
        (void)_mkdir("/opt/work/made");
        (void)::rmdir("/opt/work/made");
    });
    AddIni(table, "_wmkdir(wchar_t const*)", [] {
        (void)_wmkdir(reinterpret_cast<const wchar_t*>("/opt/work/made"));
        (void)::rmdir("/opt/work/made");
    });
    AddIni(table, "RemoveDirectoryA(char const*)", [] {
        (void)_mkdir("/opt/work/made");
        (void)RemoveDirectoryA("/opt/work/made");
        (void)RemoveDirectoryA("/opt/work");
    });
    AddIni(table, "DeleteFileA(char const*)", [] {
        (void)CopyFileA(kIni, "/opt/work/copy", 0);
        (void)DeleteFileA("/opt/work/copy");
        (void)DeleteFileA("/opt/work");
    });
    AddIni(table, "PathIsDirectoryA(char const*)", [] {
        (void)PathIsDirectoryA("/opt/work");
        (void)PathIsDirectoryA(kIni);
    });
    AddIni(table, "GetCurrentDirectoryA(unsigned long, char*)", [] {
        char out[4096];
        (void)GetCurrentDirectoryA(sizeof out, out);
    });
    AddIni(table, "GetFileSize(void*, unsigned long*)", [] {
        int input = 0;
        (void)GetFileSize(&input, nullptr);
    });
    AddIni(table, "CopyFileA(char const*, char const*, int)", [] {
        (void)CopyFileA(kIni, "/opt/work/copy", 0);
        (void)CopyFileA(kIni, kIni, 0);
        (void)CopyFileA("/opt/work", "/opt/work/copy", 0);
        (void)CopyFileA(kIni, "/opt/work", 0);
        (void)::unlink("/opt/work/copy");
    });
}

const char kDefinition[] = "/opt/work/providers.ini";

void MakeDefinition()
{
    WriteFile(kDefinition,
              "[Common]\nNumProvider=1\n[Provider1]\nProviderKind=Device\n"
              "LibName=a library with a name that is long enough\nClassName=Disks\n"
              "ClassKind=VELMORA_DevService\nClassMode=FIXED_DEV\nSpecificFile=disks.ini\n"
              "MethodNum=2\nMethod1=Start\nMethod2=Stop\n");
}

void AddMof(Operations& table, const std::string& name, std::function<void(CMofReader&)> use)
{
    Add(table, "CMofReader::" + name, [use = std::move(use)] {
        MakeDefinition();
        return [use] {
            CMofReader reader(kDefinition);
            (void)reader.ParseContents();
            use(reader);
        };
    });
}

void AddMofReader(Operations& table)
{
    AddMof(table, "CMofReader(string const&)", [](CMofReader&) {});
    AddMof(table, "~CMofReader()", [](CMofReader&) { delete new CMofReader(kDefinition); });
    AddMof(table, "ParseContents()", [](CMofReader& reader) { (void)reader.ParseContents(); });
    AddMof(table, "GetProviderCount()",
           [](CMofReader& reader) { (void)reader.GetProviderCount(); });
    AddMof(table, "GetItem(string, string, string&)", [](CMofReader& reader) {
        std::string value;
        reader.GetItem("Provider1", "ClassName", value);
    });
    AddMof(table, "GetMethodNames(string, vector<string>&)", [](CMofReader& reader) {
        std::vector<std::string> names;
        reader.GetMethodNames("Provider1", names);
    });
    AddMof(table, "GetProviderInfo(string, CMofContents&) const", [](CMofReader& reader) {
        CMofContents contents;
        (void)reader.GetProviderInfo("Disks", contents);
    });
    AddMof(table, "GetMofContents(vector<CMofContents>&) const", [](CMofReader& reader) {
        std::vector<CMofContents> records;
        reader.GetMofContents(records);
    });

    Kept symbols;
    symbols.what = "the symbol texts of the exception that its catcher deletes";
    symbols.heap = [](long) { return SymbolTexts(); };
    AddKeeping(
        table, "kept: symbol texts of the exception for a missing key", {},
        [] {
            MakeDefinition();
            return [] {
                std::string value;
                try {
                    CMofReader(kDefinition).GetItem("Provider1", "Absent", value);
                } catch (CTraceException* e) {
                    delete e;
                }
            };
        },
        symbols);
}

const char kVendors[] = "/opt/work/vendors.ini";

void AddVendor(Operations& table, const std::string& name, std::function<void(CVcFacReader&)> use)
{
    Add(table, "CVcFacReader::" + name, [use = std::move(use)] {
        WriteFile(kVendors,
                  "[SuportDevice]\nSuportDeviceNum=2\n"
                  "[a device with a name that is long enough]\nDllName=one\nClassName=One\n"
                  "[other]\nDllName=two\nClassName=Two\n");
        return [use] {
            CVcFacReader reader(kVendors);
            reader.parse();
            use(reader);
        };
    });
}

void AddVcFacReader(Operations& table)
{
    AddVendor(table, "CVcFacReader(string)", [](CVcFacReader&) {});
    AddVendor(table, "~CVcFacReader()", [](CVcFacReader&) { delete new CVcFacReader(kVendors); });
    AddVendor(table, "parse()", [](CVcFacReader& reader) { reader.parse(); });
    AddVendor(table, "parseSimpleDeviceFile(string)", [](CVcFacReader& reader) {
        reader.parseSimpleDeviceFile("other");  // a name that is there: the new entry is freed
        reader.parseSimpleDeviceFile("third");
    });
    AddVendor(table, "parseMultiDeviceFile(int, list<string>&)", [](CVcFacReader& reader) {
        std::list<std::string> sections{"SuportDevice", "other", "absent"};
        reader.parseMultiDeviceFile(2, sections);
    });
    AddVendor(table, "find(string const&)",
              [](CVcFacReader& reader) { (void)reader.find("other"); });
    AddVendor(table, "isExist(string const&) const",
              [](CVcFacReader& reader) { (void)reader.isExist("other"); });
    AddVendor(table, "getIterator()", [](CVcFacReader& reader) { (void)reader.getIterator(); });
    AddVendor(table, "hasNext(_Rb_tree_iterator<pair<string const, SVendorInfo*>>) const",
              [](CVcFacReader& reader) {
                  for (auto vendor = reader.getIterator(); reader.hasNext(vendor);)
                      ++vendor;
              });
}

void AddLoader(Operations& table)
{
    const std::string l = "CLibraryLoader::";
    const std::string provider = test::PluginPath("qor_provider_plugin");
    const std::string vendor = test::PluginPath("qor_vendor_plugin");
    AddPlain(table, l + "CLibraryLoader(string, char const*)",
             [] { const CLibraryLoader loader("um", "/opt/absent.so"); });
    AddPlain(table, l + "~CLibraryLoader()",
             [provider] { delete new CLibraryLoader("um", provider.c_str()); });
    AddPlain(table, l + "GetPvdInstance()", [provider] {
        CLibraryLoader loader("um", provider.c_str());
        if (loader.GetPvdInstance() == nullptr)
            throw std::runtime_error("no entry point in " + provider);
        CLibraryLoader absent("um", "/opt/absent.so");
        (void)absent.GetPvdInstance();
    });
    AddPlain(table, l + "GetVendorInstance()", [vendor] {
        CLibraryLoader loader("um", vendor.c_str());
        if (loader.GetVendorInstance() == nullptr)
            throw std::runtime_error("no entry point in " + vendor);
        (void)loader.GetPvdInstance();  // has none
    });
}

const char kChannelDir[] = "/opt/velmora/qor/som";

// A message from the client to the server and back.
void AddChannel(Operations& table, const std::string& name, std::function<void(CFileTransfer&)> use)
{
    Add(table, "CFileTransfer::" + name, [use = std::move(use)] {
        test::MakeDirs(kChannelDir);
        auto channel = std::make_shared<CFileTransfer>();
        return [use, channel] { use(*channel); };
    });
}

std::string NameIn(void (CFileTransfer::*directory)(std::string&), CFileTransfer& channel)
{
    std::string path;
    std::string name;
    (channel.*directory)(path);
    channel.GetTransFile(name);
    return path + "/" + name;
}

// Moves the request to where the response is expected.
void Answer(CFileTransfer& channel)
{
    const std::string request = NameIn(&CFileTransfer::GetRecvDir, channel);
    if (::rename(request.c_str(), NameIn(&CFileTransfer::GetSendDir, channel).c_str()) != 0)
        throw std::runtime_error("cannot rename " + request);
}

void Withdraw(CFileTransfer& channel)
{
    std::string name;
    channel.GetTransFile(name);
    channel.DeleteExpiredFile(name.c_str());
}

// Scans the client directory, closing what the header says is the caller's.
void Scan(CFileTransfer& channel)
{
    if (!channel.OpenStream())
        throw std::runtime_error("no client directory");
    while (!channel.IsEndStream()) {
        if (channel.IsTransFile())
            (void)::close(channel.GetFileHandle());
    }
    channel.CloseStream();
}

void AddTransferOfMessages(Operations& table)
{
    AddChannel(table, "SendMessage(string)", [](CFileTransfer& channel) {
        (void)channel.SendMessage(kText);
        Withdraw(channel);
    });
    AddChannel(table, "RecvMessage(char*, int, int)", [](CFileTransfer& channel) {
        char buffer[128 + 1];
        (void)channel.SendMessage(kText);
        Answer(channel);
        if (channel.RecvMessage(buffer, 128, 0) != static_cast<int>(sizeof kText - 1))
            throw std::runtime_error("no response");
    });
    AddChannel(table, "IsTransFile()", [](CFileTransfer& channel) {
        (void)channel.SendMessage(kText);
        Scan(channel);
        Withdraw(channel);
    });
    AddChannel(table, "DeleteExpiredFile(char const*)", [](CFileTransfer& channel) {
        (void)channel.SendMessage(kText);
        Answer(channel);
        Withdraw(channel);
    });
    AddChannel(table, "OpenStream()", [](CFileTransfer& channel) {
        (void)channel.OpenStream();
        (void)channel.OpenStream();  // closes the first
        channel.CloseStream();
    });
    AddChannel(table, "IsEndStream()", [](CFileTransfer& channel) {
        (void)channel.OpenStream();
        (void)channel.IsEndStream();
        channel.CloseStream();
    });
    AddChannel(table, "CloseStream()", [](CFileTransfer& channel) {
        (void)channel.OpenStream();
        channel.CloseStream();
        channel.CloseStream();
    });
}

void AddTransferRest(Operations& table)
{
    AddChannel(table, "CFileTransfer()", [](CFileTransfer&) { const CFileTransfer other; });
    AddChannel(table, "CFileTransfer(string, string)",
               [](CFileTransfer&) { const CFileTransfer other(kText, "/opt/absent"); });
    AddChannel(table, "CFileTransfer(CFileTransfer const&)",
               [](CFileTransfer& channel) { const CFileTransfer other(channel); });
    AddChannel(table, "operator=(CFileTransfer const&)", [](CFileTransfer& channel) {
        CFileTransfer other(kText, "/opt/absent");
        other = channel;
    });
    AddChannel(table, "~CFileTransfer()",
               [](CFileTransfer& channel) { delete new CFileTransfer(channel); });
    AddChannel(table, "IsExpiredFile(char const*)",
               [](CFileTransfer& channel) { (void)channel.IsExpiredFile("0"); });
    AddChannel(table, "GetTmpFileName(string&)", [](CFileTransfer& channel) {
        std::string name;
        channel.GetTmpFileName(name);
    });
    AddChannel(table, "GetSndFileName(string, string&)", [](CFileTransfer& channel) {
        std::string name;
        channel.GetSndFileName(std::string(kText) + ".tmp", name);
    });
    AddChannel(table, "AppendFullPath(string, string&)", [](CFileTransfer& channel) {
        std::string path = kText;
        channel.AppendFullPath("/opt", path);
    });
    AddChannel(table, "GetRecvDir(string&)", [](CFileTransfer& channel) {
        std::string path;
        channel.GetRecvDir(path);
    });
    AddChannel(table, "GetSendDir(string&)", [](CFileTransfer& channel) {
        std::string path;
        channel.GetSendDir(path);
    });
    AddChannel(table, "GetTransFile(string&)", [](CFileTransfer& channel) {
        std::string name;
        channel.GetTransFile(name);
    });
    AddChannel(table, "SetCurrentFile(string)",
               [](CFileTransfer& channel) { channel.SetCurrentFile(kText); });
    AddChannel(table, "GetFileHandle()",
               [](CFileTransfer& channel) { (void)channel.GetFileHandle(); });
    AddChannel(table, "Interval()", [](CFileTransfer& channel) { (void)channel.Interval(); });

    // One scan of a channel that is then forgotten.
    Kept kept;
    kept.what = "the open scan and the request's descriptor";
    kept.descriptors = 2;
    kept.heap = [](long calls) {
        // What opendir(3) takes.
        DIR* scan = nullptr;
        const Heap one = HeapOf([&] { scan = ::opendir("/opt"); });
        (void)::closedir(scan);
        return one * calls;
    };
    AddKeeping(
        table, "kept: the scan and the descriptor of a channel that goes without closing them", {},
        [] {
            test::MakeDirs(kChannelDir);
            (void)CFileTransfer().SendMessage(kText);
            return [] {
                CFileTransfer channel;
                (void)channel.OpenStream();
                while (!channel.IsEndStream() && !channel.IsTransFile()) {
                }
            };
        },
        kept);
}

const char kXml[] = "/opt/work/a.xml";

// IUnknown's operations are the caller's.
template <typename Base>
struct Counted : Base {
    int QueryInterface(const void*, void**) override { return 0; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

// Reads the document, calling `use` at each node.
void Walk(const std::function<void(IXmlReader&)>& use)
{
    (void)FileStream::OpenFile(kXml, nullptr, false);
    Counted<IXmlReader> reader;
    if (reader.SetInput(nullptr) != 0)
        throw std::runtime_error("no document");
    while (reader.Read(nullptr) == 0)
        use(reader);
}

void AddXml(Operations& table, const std::string& name, std::function<void(IXmlReader&)> use)
{
    Add(table, name, [use = std::move(use)] {
        WriteFile(kXml, "<a p='1' q='2'>text<p:b xmlns:p='u'/></a>");
        return [use] { Walk(use); };
    });
}

void AddXmlReader(Operations& table)
{
    const std::string x = "IXmlReader::";
    AddXml(table, x + "IXmlReader()", [](IXmlReader&) { const Counted<IXmlReader> other; });
    AddXml(table, x + "~IXmlReader()", [](IXmlReader&) { delete new Counted<IXmlReader>; });
    AddXml(table, x + "Read(XmlNodeType*)", [](IXmlReader&) {});
    AddXml(table, x + "GetLocalName(char const**, unsigned int*)", [](IXmlReader& reader) {
        const char* text = nullptr;
        (void)reader.GetLocalName(&text, nullptr);
    });
    AddXml(table, x + "GetPrefix(char const**, unsigned int*)", [](IXmlReader& reader) {
        const char* text = nullptr;
        (void)reader.GetPrefix(&text, nullptr);
    });
    AddXml(table, x + "GetValue(char const**, unsigned int*)", [](IXmlReader& reader) {
        const char* text = nullptr;
        (void)reader.GetValue(&text, nullptr);
    });
    AddXml(table, x + "IsEmptyElement()",
           [](IXmlReader& reader) { (void)reader.IsEmptyElement(); });
    AddXml(table, x + "IsDefault()", [](IXmlReader& reader) { (void)reader.IsDefault(); });
    AddXml(table, x + "MoveToFirstAttribute()",
           [](IXmlReader& reader) { (void)reader.MoveToFirstAttribute(); });
    AddXml(table, x + "MoveToNextAttribute()", [](IXmlReader& reader) {
        (void)reader.MoveToFirstAttribute();
        (void)reader.MoveToNextAttribute();
    });
    AddXml(table, x + "MoveToElement()", [](IXmlReader& reader) {
        (void)reader.MoveToFirstAttribute();
        (void)reader.MoveToElement();
    });

    // One document in progress at a time stays open: the next one closes it. Not well-formed ones
    // and missing ones are closed by themselves.
    Add(table, x + "SetInput(IUnknown*)", [] {
        WriteFile(kXml, "<a><b/></a>");
        WriteFile("/opt/work/bad.xml", "<a><b></a>");
        return [] {
            Counted<IXmlReader> reader;
            for (const char* path : {"/opt/work/bad.xml", "/opt/absent", kXml}) {
                (void)FileStream::OpenFile(path, nullptr, false);
                if (reader.SetInput(nullptr) == 0)
                    (void)reader.Read(nullptr);
            }
        };
    });
    AddPlain(table, "FileStream::OpenFile(char const*, IStream**, bool)",
             [] { (void)FileStream::OpenFile(kText, nullptr, false); });
    AddPlain(table, "IUnknown::~IUnknown()", [] { delete new Counted<IStream>; });
    AddPlain(table, "CreateXmlReader(...)", [] { (void)CreateXmlReader(1, 2); });
    AddPlain(table, "CreateXmlReaderInputWithEncodingName(...)",
             [] { (void)CreateXmlReaderInputWithEncodingName(1, 2); });
}

}  // namespace

void AddFileOperations(Operations& table)
{
    AddIniReader(table);
    AddIniWriter(table);
    AddProfile(table);
    AddWindowsFiles(table);
    AddMofReader(table);
    AddVcFacReader(table);
    AddLoader(table);
    AddTransferOfMessages(table);
    AddTransferRest(table);
    AddXmlReader(table);
}

}  // namespace qor::proof
