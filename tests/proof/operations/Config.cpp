// INI files: reading, writing, the profile-string functions, and the readers that derive from them.
#include <cstring>
#include <list>

#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "CMofReader.h"
#include "CVcFacReader.h"
#include "proof/operations/Operation.h"
#include "support/Files.h"
#include "winapi.h"

namespace qor::proof {
namespace {

constexpr char kText[] =
    "[first]\nk=one\n[second]\nk=two\nlong=a value of more bytes than fifteen\n";

std::function<void()> Laid(const std::string& text)
{
    return [text] { test::WriteFile(kIni, text); };
}

struct Reader {
    CIniFileReader reader{kIni};
    std::string value;
    std::list<std::string> names;
};

// A query that sets a text and reports whether it did.
template <typename Query>
Operation& Queried(const Table& t, const std::string& name, const std::string& outcome, Query query)
{
    return t
        .On<Reader>(name, outcome,
                    [query](Reader& r, Result& result) {
                        r.value = "untouched";
                        Append(result, query(r.reader, r.value));
                        result += " " + r.value;
                    })
        .Lay(Laid(kText))
        .State([] {
            return Holds(kIni, {{"as before", kText}});
        });
}

void AddReader(const Table& t)
{
    const Table r = t.In("CIniFileReader::");
    const std::vector<Row> unread = {{"open", {"false untouched | as before"}},
                                     {"read", "", "EIO end", {"false untouched | as before"}}};
    const char* const found = "true a value of more bytes than fifteen | as before";
    r.Plain("CIniFileReader(string const&)", "done", [] { const CIniFileReader one(kIni); });
    r.Plain("~CIniFileReader()", "done", [] { delete new CIniFileReader(kIni); });
    r.On<Reader>("isOpen() const", "true",
                 [](Reader& one) {
                     (void)one.reader.find_key("k", one.value);
                     return one.reader.isOpen();
                 })
        .Lay(Laid(kText))
        .Faults({{"open", {"false"}}, {"read", "", "EIO end", {"false", "true"}}});
    r.On<Reader>("checkfile(string&)", "/a/file/with/a/long/path", [](Reader& one) {
        std::string path = "\\a\\file\\with\\a\\long\\path";
        one.reader.checkfile(path);
        return path;
    });
    r.On<Reader>("get_section_len(string, int)", "60", [](Reader& one) {
        return one.reader.get_section_len(std::string(kLong) + "]", 99);
    });
    r.On<Reader>("find_str(char const*, string const&, string&)", "a long value for the heap",
                 [](Reader& one) {
                     std::string value;
                     (void)one.reader.find_str("key=a long value for the heap", "key", value);
                     return value;
                 });
    Queried(r, "find_key(string, string&)", found, [](CIniFileReader& reader, std::string& value) {
        return reader.find_key("long", value);
    }).Faults(unread);
    Queried(r, "find_key(string, string&): absent", "false untouched | as before",
            [](CIniFileReader& reader, std::string& value) {
                return reader.find_key("absent", value);
            });
    Queried(r, "find_section(string, string, string&)", found,
            [](CIniFileReader& reader, std::string& value) {
                return reader.find_section("second", "long", value);
            })
        .Faults(unread);
    Queried(r, "find_section(string, string, string&): absent", "false untouched | as before",
            [](CIniFileReader& reader, std::string& value) {
                return reader.find_section("second", "absent", value);
            });
    r.Plain("find_section(string, string, string&): no file", "false", [] {
        std::string value;
        return CIniFileReader("/opt/absent").find_section("one", "key", value);
    });
    r.On<Reader>("list_section(list<string>&)", "first;second;",
                 [](Reader& one, Result& result) {
                     one.names.assign(1, "old");
                     one.reader.list_section(one.names);
                     Append(result, one.names);
                 })
        .Lay(Laid(kText))
        .Faults({{"open", {""}}, {"read", "", "EIO end", {"", "first;second;"}}});
}

// An update of the file in one of its ways. What is read in part or not at all counts as nothing to
// keep: the file is then replaced by the new section alone. layout: "" for no file.
template <typename Write>
Operation& Update(const Table& t, const std::string& name, const std::string& section,
                  const std::string& key, const std::string& updated, const std::string& layout,
                  Write write, const std::string& unread = "true | replaced by the section")
{
    const std::string alone = "[" + section + "]\n" + key + "=v\n";
    std::vector<Row> rows = {{"open", "for writing", {"false | absent"}},
                             {"write", "", "short", {"false | part of updated"}},
                             {"write", {"false | empty"}},
                             {"allocation", {"bad_alloc | absent"}}};
    if (!layout.empty()) {
        rows[0].outcomes = {"false | as before"};
        rows[3].outcomes = {"bad_alloc | as before", unread};
        rows.push_back({"open stat read", {unread}});
    }
    return t.Plain(name, "true | updated", write)
        .Faults(rows)
        .Lay([layout] {
            if (layout.empty())
                test::RemoveTree(kIni);
            else
                test::WriteFile(kIni, layout);
        })
        .UsedUp()
        .Files({kIni})
        .State([=] {
            return Holds(
                kIni,
                {{"updated", updated}, {"as before", layout}, {"replaced by the section", alone}});
        });
}

template <typename Use>
Operation& OnWriter(const Table& t, const std::string& name, const std::string& outcome, Use use)
{
    return t
        .Plain("CIniFileWriter::" + name, outcome,
               [use] {
                   CIniFileWriter writer(kIni);
                   return use(writer);
               })
        .Lay(Laid(kText));
}

void AddIniWriter(const Table& t)
{
    const std::string text4 = "(char const*, char const*, char const*, char const*)";
    const std::string a = "WritePrivateProfileStringA" + text4 + ": ";
    const Table w = t.In("CIniFileWriter::");
    const std::string replaced =
        "[first]\nk=one\n[second]\nk=v\nlong=a value of more bytes than fifteen\n";
    const std::string added =
        "[first]\nk=one\nn=v\n[second]\nk=two\nlong=a value of more bytes than fifteen\n";
    const std::string appended = std::string(kText) + "[third]\nk=v\n";
    const auto profile = [](const char* section, const char* key) {
        return [=] { return WritePrivateProfileStringA(section, key, "v", kIni) != 0; };
    };
    const std::vector<Row> unread = {{"open stat read", {"false"}},
                                     {"allocation", {"bad_alloc", "false"}}};
    Update(t, a + "a known key", "second", "k", replaced, kText, profile("second", "k"));
    Update(t, a + "a new key", "first", "n", added, kText, profile("first", "n"));
    Update(t, a + "a new section", "third", "k", appended, kText, profile("third", "k"));
    Update(t, a + "no file", "third", "k", "[third]\nk=v\n", "", profile("third", "k"));
    t.Plain(a + "no directory", "false",
            [] { return WritePrivateProfileStringA("s", "k", "v", "/opt/absent/a.ini") != 0; });
    Update(t, "WritePrivateProfileStringW" + text4, "second", "k", replaced, kText,
           [] { return WritePrivateProfileStringW("second", "k", "v", kIni) != 0; });
    w.Plain("CIniFileWriter(string const&)", "done", [] { const CIniFileWriter one(kIni); });
    w.Plain("~CIniFileWriter()", "done", [] { delete new CIniFileWriter(kIni); });
    Update(w, "append(string, string, string)", "second", "k", replaced, kText,
           [] { return CIniFileWriter(kIni).append("second", "k", "v"); });
    OnWriter(t, "getSectionPos(char const*)", "true", [](CIniFileWriter& writer) {
        return writer.getSectionPos("second") != nullptr;
    }).Faults(unread);
    OnWriter(t, "getKeyPos(char*, char const*)", "true", [](CIniFileWriter& writer) {
        return writer.getKeyPos(writer.getSectionPos("second"), "long") != nullptr;
    }).Faults(unread);
    OnWriter(t, "getNextLine(char*)", "true", [](CIniFileWriter& writer) {
        return writer.getNextLine(writer.getSectionPos("first")) != nullptr;
    }).Faults(unread);
    Update(
        w, "replaceKey(char*, string, string)", "second", "k", replaced, kText,
        [] {
            CIniFileWriter writer(kIni);
            char* const key = writer.getKeyPos(writer.getSectionPos("second"), "k");
            return key != nullptr && writer.replaceKey(key, "k", "v");
        },
        "false | as before");
    Update(
        w, "appendKey(char*, string, string)", "first", "n", added, kText,
        [] {
            CIniFileWriter writer(kIni);
            char* const section = writer.getSectionPos("first");
            return section != nullptr && writer.appendKey(section, "n", "v");
        },
        "false | as before");
    Update(w, "appendSection(string, string, string)", "third", "k", appended, kText, [] {
        CIniFileWriter writer(kIni);
        (void)writer.getSectionPos("third");  // reads the file
        return writer.appendSection("third", "k", "v");
    });
    Update(w, "createFile(string, string, string)", "third", "k", "[third]\nk=v\n", "",
           [] { return CIniFileWriter(kIni).createFile("third", "k", "v"); });
    Update(
        w, "writeFile(char*)", "third", "k", "[third]\nk=v\n", kText,
        [] {
            CIniFileWriter writer(kIni);
            char* const text = new char[sizeof "[third]\nk=v\n"];
            std::strcpy(text, "[third]\nk=v\n");
            return writer.writeFile(text);  // and frees it
        },
        "true | updated");
}

void AddProfile(const Table& t)
{
    const std::string text5 =
        "(char const*, char const*, char const*, char*, unsigned long, char const*)";
    const std::string number = "(char const*, char const*, int, char const*)";
    const auto lay = Laid("[s]\ntext=found\nnumber=42\n");
    const std::vector<Row> texts = {{"open", {"0 default"}},
                                    {"read", "", "EIO end", {"0 default"}}};
    const std::vector<Row> numbers = {{"open", {"7"}}, {"read", "", "EIO end", {"7"}}};
    t.Plain("GetPrivateProfileStringA" + text5, "0 found",
            [](Result& result) {
                char out[16] = "";
                Append(result, GetPrivateProfileStringA("s", "text", "default", out, 16, kIni));
                result.append(" ").append(out);
            })
        .Lay(lay)
        .Faults(texts);
    t.Plain("GetPrivateProfileStringW" + text5, "0 found",
            [](Result& result) {
                wchar_t out[16] = L"";
                Append(result, GetPrivateProfileStringW("s", "text", "default",
                                                        reinterpret_cast<char*>(out), 16, kIni));
                result += " ";
                for (const wchar_t* c = out; *c != L'\0'; ++c)
                    result += static_cast<char>(*c);
            })
        .Lay(lay)
        .Faults(texts);
    t.Plain("GetPrivateProfileIntA" + number, "42",
            [] { return GetPrivateProfileIntA("s", "number", 7, kIni); })
        .Lay(lay)
        .Faults(numbers);
    t.Plain("GetPrivateProfileIntW" + number, "42",
            [] { return GetPrivateProfileIntW("s", "number", 7, kIni); })
        .Lay(lay)
        .Faults(numbers);
}

constexpr char kProviders[] =
    "[Common]\nNumProvider=2\n"
    "[Provider1]\nProviderKind=k\nLibName=a library with a long name\nClassName=A\n"
    "ClassKind=VELMORA_DevService\nClassMode=FIXED_DEV\nSpecificFile=f\nMethodNum=2\n"
    "Method1=m1\nMethod2=m2\n"
    "[Provider2]\nProviderKind=k\nLibName=l\nClassName=B\nClassKind=x\nClassMode=y\n"
    "SpecificFile=f\n";

// A reader that has read its file before the call.
struct Parsed : CMofReader {
    Parsed() : CMofReader(kIni) { (void)ParseContents(); }
};

std::string ClassesOf(const CMofReader& reader)
{
    std::vector<CMofContents> records;
    reader.GetMofContents(records);
    std::string text;
    for (const CMofContents& record : records) {
        text += (text.empty() ? "" : " ") + record.className + "(";
        for (const std::string& method : record.methodNames)
            text += method;
        text += ")";
    }
    return text;
}

// Runs `use`; the text of the exception that it throws for a missing key.
template <typename Use>
void AppendAnswer(Result& result, Use use)
{
    try {
        use();
    } catch (CTraceException* exception) {
        result += exception->CException::what();
        delete exception;
    }
}

void AddMofReader(const Table& t)
{
    const Table m = t.In("CMofReader::");
    // Each look-up opens the file again: what one of them misses is a missing key.
    std::vector<std::string> missed = {" | ", " | A() B()", " | A(m1m2) B()",
                                       "Method1 Not Found | ", "Method2 Not Found | "};
    for (const char* const key :
         {"ProviderKind", "LibName", "ClassName", "ClassKind", "ClassMode", "SpecificFile"}) {
        missed.push_back(std::string(key) + " Not Found | ");
        missed.push_back(std::string(key) + " Not Found | A(m1m2)");
    }
    const auto parsed = [] { return std::make_shared<CMofReader>(kIni); };
    const auto lay = Laid(kProviders);
    m.Plain("CMofReader(string const&)", "done", [] { const CMofReader one(kIni); });
    m.Plain("~CMofReader()", "done", [] { delete new CMofReader(kIni); });
    m.Of(
         "ParseContents()", " | A(m1m2) B()", parsed,
         [](CMofReader& one, Result& result) {
             AppendAnswer(result, [&] { (void)one.ParseContents(); });
         },
         ClassesOf)
        .Lay(lay)
        .UsedUp()
        .Faults({{"open", "", "", missed},
                 {"read", "", "EIO end", missed},
                 {"lasting", {"ProviderKind Not Found | A()"}},
                 {"allocation", {"bad_alloc | ", "bad_alloc | A(m1m2)"}}});
    m.On<Parsed>("GetProviderCount()", "2", [](Parsed& one) { return one.GetProviderCount(); })
        .Lay(lay)
        .Faults({{"open", {"0"}}, {"read", "", "EIO end", {"0", "2"}}});
    m.On<Parsed>("GetItem(string, string, string&)", "a library with a long name",
                 [](Parsed& one, Result& result) {
                     std::string value;
                     AppendAnswer(result, [&] { one.GetItem("Provider1", "LibName", value); });
                     result += value;
                 })
        .Lay(lay)
        .Faults({{"open", {"LibName Not Found"}}, {"read", "", "EIO end", {"LibName Not Found"}}});
    m.On<Parsed>("GetItem(string, string, string&): a missing key", "Absent Not Found",
                 [](Parsed& one, Result& result) {
                     std::string value;
                     AppendAnswer(result, [&] { one.GetItem("Provider1", "Absent", value); });
                 })
        .Lay(lay)
        .Faults({{"allocation", {"bad_alloc", "Absent Not Found"}}})
        .Keeps(OneSymbolText());
    m.On<Parsed>("GetMethodNames(string, vector<string>&)", "m1;m2;",
                 [](Parsed& one, Result& result) {
                     std::vector<std::string> names;
                     AppendAnswer(result, [&] { one.GetMethodNames("Provider1", names); });
                     Append(result, names);
                 })
        .Lay(lay)
        .Faults({{"open", {"", "Method1 Not Found", "Method2 Not Foundm1;"}},
                 {"read", "", "EIO end", {"", "Method1 Not Found", "Method2 Not Foundm1;"}}});
    m.On<Parsed>("GetProviderInfo(string, CMofContents&) const", "a library with a long name",
                 [](Parsed& one) {
                     CMofContents contents;
                     (void)one.GetProviderInfo("A", contents);
                     return contents.libName;
                 })
        .Lay(lay);
    m.On<Parsed>("GetMofContents(vector<CMofContents>&) const", "2", [](Parsed& one) {
         std::vector<CMofContents> records;
         one.GetMofContents(records);
         return records.size();
     }).Lay(lay);
}

std::string VendorsOf(CVcFacReader& reader)
{
    std::string text;
    for (auto i = reader.getIterator(); reader.hasNext(i); ++i)
        text += (text.empty() ? "" : " ") + i->first + "=" + i->second->dllName + "/" +
                i->second->className;
    return text;
}

struct Vendors : CVcFacReader {
    Vendors() : CVcFacReader(kIni) { parse(); }
};

void AddVcFacReader(const Table& t)
{
    const Table v = t.In("CVcFacReader::");
    const auto lay = Laid(
        "[SuportDevice]\nSuportDeviceNum=2\n[x]\nDllName=libx\nClassName=X\n"
        "[y]\nDllName=liby\nClassName=Y\n");
    const auto unparsed = [] { return std::make_shared<CVcFacReader>(kIni); };
    // Without the index, what is found is read as the layout of a single device.
    const std::vector<std::string> parts = {"done | ", "done | SuportDevice=libx/X",
                                            "done | x=libx/X", "done | x=libx/X y=liby/Y",
                                            "done | y=liby/Y"};
    const std::vector<Row> rows = {{"open", "", "", parts},
                                   {"read", "", "EIO end", parts},
                                   {"allocation", {"bad_alloc | ", "bad_alloc | x=libx/X"}}};
    v.Plain("CVcFacReader(string)", "done", [] { const CVcFacReader one(kIni); });
    v.Plain("~CVcFacReader()", "done", [] { delete new Vendors; })
        .Lay(lay)
        .Faults({{"open read", {"done"}}});
    v.Of(
         "parse()", "done | x=libx/X y=liby/Y", unparsed, [](CVcFacReader& one) { one.parse(); },
         VendorsOf)
        .Lay(lay)
        .UsedUp()
        .Faults(rows);
    v.Of(
         "parseSimpleDeviceFile(string)", "done | x=libx/X y=libx/X", unparsed,
         [](CVcFacReader& one) {
             one.parseSimpleDeviceFile("x");
             one.parseSimpleDeviceFile("x");  // is there: the new entry is freed
             one.parseSimpleDeviceFile("y");
         },
         VendorsOf)
        .Lay(lay)
        .UsedUp()
        .Faults({{"open", {"done | *"}},
                 {"read", "", "EIO end", {"done | *"}},
                 {"allocation", {"bad_alloc | ", "bad_alloc | x=libx/X"}}});
    v.Of(
         "parseMultiDeviceFile(int, list<string>&)", "done | x=libx/X y=liby/Y", unparsed,
         [](CVcFacReader& one) {
             std::list<std::string> sections{"SuportDevice", "x", "y", "absent"};
             one.parseMultiDeviceFile(2, sections);
         },
         VendorsOf)
        .Lay(lay)
        .UsedUp()
        .Faults(rows);
    v.On<Vendors>("find(string const&)", "liby", [](Vendors& one) {
         return one.find("y")->second->dllName;
     }).Lay(lay);
    v.On<Vendors>("isExist(string const&) const", "true", [](Vendors& one) {
         return one.isExist("y");
     }).Lay(lay);
    v.On<Vendors>("getIterator()", "x", [](Vendors& one) {
         return one.getIterator()->first;
     }).Lay(lay);
    v.On<Vendors>("hasNext(_Rb_tree_iterator<pair<string const, SVendorInfo*>>) const", "2",
                  [](Vendors& one) {
                      int count = 0;
                      for (auto i = one.getIterator(); one.hasNext(i); ++i)
                          ++count;
                      return count;
                  })
        .Lay(lay);
}

}  // namespace

void AddConfigOperations(const Table& t)
{
    AddReader(t);
    AddIniWriter(t);
    AddProfile(t);
    AddMofReader(t);
    AddVcFacReader(t);
}

}  // namespace qor::proof
