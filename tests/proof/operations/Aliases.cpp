// Arguments that lie in what an operation gives out: in the list that it fills, in the text that it
// sets, in the object that it frees. The result is that of arguments of their own. Memory that was
// freed is overwritten, or watched by a sanitizer, so that a late look at an argument shows.
#include <cstring>
#include <list>

#include "CFileTransfer.h"
#include "CFileUtility.h"
#include "CIniFileReader.h"
#include "CIWbemUtil.h"
#include "CStringUtil.h"
#include "CTraceBase.h"
#include "CTraceRead.h"
#include "CTraceUtility.h"
#include "CTraceUtilityCom.h"
#include "IWbemClassObject.h"
#include "IWbemObjectSink.h"
#include "IXmlReader.h"
#include "proof/operations/Operation.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using List = std::list<std::string>;
using Strings = std::vector<std::string>;
using test::WriteFile;

constexpr char kDate[] = "2026/11/15 08:29:19";
constexpr char kSectionText[] =
    "[a section with a long name]\na key with a long name=a value of many bytes\n";
constexpr char kSection[] = "a section with a long name";
constexpr char kKey[] = "a key with a long name";

// What faults make of these calls is in the rows of the calls with arguments of their own.
Operation Alias()
{
    return Operation().Faults({{"open read stat list close seek map control", {"*"}},
                               {"lasting", {"*"}},
                               {"allocation", {"*"}}});
}

// use: gets a text, which is `start` at first. The result is the text that it becomes.
Operation& InText(const Table& t, const std::string& name, const std::string& outcome,
                  const std::string& start, void (*use)(std::string& text))
{
    return t.Plain(name, outcome, [start, use] {
        std::string text = start;
        use(text);
        return text;
    });
}

// The same of a list.
Operation& InList(const Table& t, const std::string& name, const std::string& outcome,
                  const char* start, void (*use)(List& list))
{
    return t.Plain(name, outcome, [start, use] {
        List list{start};
        use(list);
        return list;
    });
}

void LayLog()
{
    test::MakeLogDirectory();
    WriteFile(test::LogPath(kLog),
              "2026/11/15 08:29:18 0x00000001 info    one\n"
              "2026/11/15 08:29:19 0x00000002 info    two\n");
}

void AddLogs(const Table& table)
{
    const std::string two = "2026/11/15 08:29:19 info    two;";
    const Table t = table.With(Alias().Lay(LayLog).Component("um"));
    InList(t,
           "CTraceUtility::ReadTrace(char const*, CTraceUtility::TRACE_READ_TYPE, unsigned int, "
           "list<string>&, string*): from a date in the list",
           two, kDate, [](List& records) {
               CTraceUtility::ReadTrace("um", CTraceUtility::TRACE_READ_ALL, 10, records,
                                        &records.front());
           });
    // To which the records are added.
    InList(t,
           "CTraceRead::ReadOperationLog(unsigned int, unsigned int, list<string>&, string*): "
           "from a date in the list",
           kDate + (";" + two), kDate, [](List& records) {
               CTraceRead("um").ReadOperationLog(3, 5, records, &records.front());
           });
    InList(t, "CTraceRead::ReadLog(string, list<string>&, char const*): from a date in the list",
           kDate + std::string(";2026/11/15 08:29:19 0x00000002 info    two;"), kDate,
           [](List& lines) { CTraceRead("um").ReadLog(kLog, lines, lines.front().c_str()); });
    const std::string list = "CTraceBase::GetFileList(char const*, char const*, list<string>&): ";
    InList(t, list + "of a component in the list", "QOR_um_trc_1.log;", "um", [](List& files) {
        (void)CTraceBase("um").GetFileList(files.front().c_str(), "_trc", files);
    });
    InList(t, list + "of a kind in the list", "QOR_um_trc_1.log;", "_trc", [](List& files) {
        (void)CTraceBase("um").GetFileList("um", files.front().c_str(), files);
    });
    InText(t, "CTraceUtilityCom::GetIniFileName(char const*, string&): of a name in the text",
           "/opt/velmora/qor/um/TraceSetting.ini", "um",
           [](std::string& text) { CTraceUtilityCom::GetIniFileName(text.c_str(), text); });
    InText(t, "CTraceUtilityCom::GetMsgFileName(char const*, string&): of a name in the text",
           "/opt/velmora/qor/um/TraceSettingMsg.ini", "um",
           [](std::string& text) { CTraceUtilityCom::GetMsgFileName(text.c_str(), text); });
}

void AddIni(const Table& table)
{
    const Table t = table.With(Alias().Lay([] { WriteFile(kIni, kSectionText); }));
    const std::string r = "CIniFileReader::";
    const char* const value = "a value of many bytes";
    InText(t, r + "find_key(string, string&): the key is the value", value, kKey,
           [](std::string& text) { (void)CIniFileReader(kIni).find_key(text, text); });
    InText(t, r + "find_section(string, string, string&): the section is the value", value,
           kSection,
           [](std::string& text) { (void)CIniFileReader(kIni).find_section(text, kKey, text); });
    InText(t, r + "find_str(char const*, string const&, string&): the key is the value", value,
           kKey, [](std::string& text) {
               (void)CIniFileReader(kIni).find_str("a key with a long name=a value of many bytes",
                                                   text, text);
           });
    InText(t, r + "find_str(char const*, string const&, string&): the line is the value", value,
           "a key with a long name=a value of many bytes", [](std::string& text) {
               (void)CIniFileReader(kIni).find_str(text.c_str(), kKey, text);
           });
    const std::string profile =
        "GetPrivateProfileStringA(char const*, char const*, char const*, char*, unsigned long, "
        "char const*): ";
    t.Plain(profile + "the key is the buffer", value, [] {
        char text[64];
        std::strcpy(text, kKey);
        (void)GetPrivateProfileStringA(kSection, text, "default", text, sizeof text - 1, kIni);
        return std::string(text);
    });
    t.Plain(profile + "the default is the buffer", "the default of many bytes", [] {
        char text[64] = "the default of many bytes";
        (void)GetPrivateProfileStringA(kSection, "absent", text, text, sizeof text - 1, kIni);
        return std::string(text);
    });
}

void AddTexts(const Table& table)
{
    const Table t = table.With(Alias());
    const Table s = t.In("CStringUtil::");
    InText(s, "strReplace(string&, string const&, string const&): the text by the text", kLong,
           kLong, [](std::string& text) { CStringUtil::strReplace(text, text, text); });
    InText(s, "strTrim(string, string&): into itself", kLong, std::string(kLong) + "  ",
           [](std::string& text) { CStringUtil::strTrim(text, text); });
    s.Plain("Split(string&, string const&): at itself", "0", [] {
        std::string text = kLong;
        return CStringUtil::Split(text, text).size();
    });
    InText(s, "DllNameToSoName(string, string&): into itself", "libqorp_Provider.so",
           "Provider.dll", [](std::string& text) { CStringUtil::DllNameToSoName(text, text); });
    InText(
        t, "CFileTransfer::AppendFullPath(string, string&): the directory is the name",
        "/a/directory/of/many//a/directory/of/many", "/a/directory/of/many",
        [](std::string& text) { CFileTransfer("som", "/opt/no.conf").AppendFullPath(text, text); })
        .Files({"/opt/velmora/qor/som/"});
    InText(
        t, "CFileTransfer::GetSndFileName(string, string&): into itself",
        "00000000000000000000som.snd", "00000000000000000000som.tmp",
        [](std::string& text) { CFileTransfer("som", "/opt/no.conf").GetSndFileName(text, text); })
        .Files({"/opt/velmora/qor/som/"});
    t.Plain("CFileUtility::SearchFile(string, string, list<string>*): a directory in the list", "4",
            [] {
                List found{"/opt/velmora"};
                CFileUtility::SearchFile(found.front(), "*", &found);
                return found.size();
            });
}

struct NamedBag : IWbemClassObject {
    NamedBag() { push("a name of many bytes", std::string(kLong)); }
    NamedBag(const NamedBag&) = delete;
    NamedBag& operator=(const NamedBag&) = delete;
    ~NamedBag() { (void)Release(); }
};

void AddObjects(const Table& table)
{
    const Table t = table.With(Alias());
    const Table c = t.In("IWbemClassObject::");
    const Table u = t.In("CIWbemUtil::");
    u.On<NamedBag>(
        "getStringFromIWbemClassObject(IWbemClassObject*, char const*, string*): the "
        "name is the value",
        kLong, [](NamedBag& bag) {
            std::string text = "a name of many bytes";
            (void)CIWbemUtil::getStringFromIWbemClassObject(&bag, text.c_str(), &text);
            return text;
        });
    u.Plain(
        "getStringArrayFromIWbemClassObject(IWbemClassObject*, char const*, "
        "vector<string>*): the name is an element",
        "one;two;", [] {
            NamedBag bag;
            const Strings given{"one", "two"};
            (void)CIWbemUtil::setStringArrayToIWbemClassObject(&bag, "a long name of a list",
                                                               &given);
            Strings texts{"a long name of a list"};
            (void)CIWbemUtil::getStringArrayFromIWbemClassObject(&bag, texts[0].c_str(), &texts);
            return texts;
        });
    c.On<NamedBag>("pop(string, IWbemClassObject*) const: of itself", kLong, [](NamedBag& bag) {
        return boost::any_cast<std::string>(bag.pop("a name of many bytes", &bag));
    });
    c.Plain("push(string, boost::any): into itself", "2", [] {
        NamedBag bag;
        bag.push("itself", static_cast<IWbemClassObject*>(&bag));
        int count = 0;
        for (auto i = bag.getIterator(); bag.hasNext(i); ++i)
            ++count;
        return count;
    });
    InText(c, "GetString(string, string, string&): the record is the value",
           "a value of many bytes", "string;name;a value of many bytes;",
           [](std::string& text) { IWbemClassObject::GetString(text, "name", text); });
    c.Plain("GetStringArray(string, string, vector<string>&): the record is an element", "one;two;",
            [] {
                Strings texts{"string[];a long name of a list;one!#two;"};
                IWbemClassObject::GetStringArray(texts[0], "a long name of a list", texts);
                return texts.size() == 2 ? texts : Strings(texts.end() - 2, texts.end());
            });
    t.Plain("IWbemObjectSink::Indicate(long, IWbemClassObject**): its own object", kLong, [] {
        IWbemObjectSink sink;
        NamedBag bag;
        IWbemClassObject* object = &bag;
        (void)sink.Indicate(1, &object);
        object = sink.GetOutParam();
        (void)sink.Indicate(1, &object);
        return boost::any_cast<std::string>(sink.GetOutParam()->find("a name of many bytes"));
    });
    t.Plain("IWbemObjectSink::operator=(IWbemObjectSink const&): itself", kLong, [] {
        IWbemObjectSink sink;
        NamedBag bag;
        IWbemClassObject* object = &bag;
        (void)sink.Indicate(1, &object);
        const IWbemObjectSink& same = sink;
        sink = same;
        return boost::any_cast<std::string>(sink.GetOutParam()->find("a name of many bytes"));
    });
    t.Plain("CFileTransfer::operator=(CFileTransfer const&): itself", "/opt/velmora/qor/som/CS",
            [] {
                CFileTransfer channel("som", "/opt/no.conf");
                const CFileTransfer& same = channel;
                channel = same;
                std::string directory;
                channel.GetRecvDir(directory);
                return directory;
            })
        .Files({"/opt/velmora/qor/som/"});
}

}  // namespace

void AddAliases(const Table& table)
{
    AddLogs(table);
    AddIni(table);
    AddTexts(table);
    AddObjects(table);
}

}  // namespace qor::proof
