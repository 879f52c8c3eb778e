// INI files: reading, writing, the profile-string functions, and the readers that derive from them.
#include <list>
#include <memory>

#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "CMofReader.h"
#include "CVcFacReader.h"
#include "proof/faults/Operation.h"
#include "support/Files.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kIni[] = "/opt/demo.ini";
constexpr char kText[] =
    "[first]\nk=one\n[second]\nk=two\nlong=a value of more bytes than fifteen\n";

void Lay()
{
    WriteFile(kIni, kText);
}

std::string Kept()
{
    return Holds(kIni, {{"as before", kText}});
}

// A query that sets a text and tells whether it did.
template <typename Query>
Prepared Queried(Query query)
{
    const auto reader = std::make_shared<CIniFileReader>(kIni);
    const auto found = std::make_shared<bool>(false);
    const auto value = std::make_shared<std::string>("untouched");
    return {[=] {
                *value = "untouched";
                *found = false;
                *found = query(*reader, *value);
            },
            [=] { return std::string(*found ? "true " : "false ") + *value; }};
}

Operations ReadingOperations()
{
    const std::vector<Row> rows = {
        {"open", "", "", {"false untouched | as before"}},
        {"read", "", "EIO end", {"false untouched | as before"}},
        {"allocation", "", "", {"bad_alloc | as before"}},
    };
    return {
        {"CIniFileReader.find_section", "true a value of more bytes than fifteen | as before", rows,
         Lay,
         [] {
             return Queried([](CIniFileReader& reader, std::string& value) {
                 return reader.find_section("second", "long", value);
             });
         },
         Kept},
        {"CIniFileReader.find_key", "true a value of more bytes than fifteen | as before", rows,
         Lay,
         [] {
             return Queried([](CIniFileReader& reader, std::string& value) {
                 return reader.find_key("long", value);
             });
         },
         Kept},
        {"CIniFileReader.list_section",
         "first second | as before",
         {{"open", "", "", {" | as before"}},
          {"read", "", "EIO end", {" | as before", "first second | as before"}},
          {"allocation", "", "", {"bad_alloc | as before"}}},
         Lay,
         [] {
             const auto reader = std::make_shared<CIniFileReader>(kIni);
             const auto names = std::make_shared<std::list<std::string>>(1, "old");
             return Prepared{[=] { reader->list_section(*names); },
                             [=] {
                                 std::string text;
                                 for (const std::string& name : *names)
                                     text += (text.empty() ? "" : " ") + name;
                                 return text;
                             }};
         },
         Kept},
    };
}

// An update of the file in one of its four ways. What is read in part or not at all counts as
// nothing to keep: the file is then replaced by the new section alone.
Operation Update(const char* name, const char* section, const char* key, std::string updated,
                 const char* layout)
{
    const std::string alone = std::string("[") + section + "]\n" + key + "=v\n";
    const std::string before = layout;
    const bool present = !before.empty();
    std::vector<Row> rows;
    if (present) {
        rows = {
            {"open", "for writing", "", {"false | as before"}},
            {"open", "", "", {"true | replaced by the section"}},
            {"stat read", "", "", {"true | replaced by the section"}},
            {"write", "", "short", {"false | part of updated"}},
            {"write", "", "", {"false | empty"}},
            {"allocation", "", "", {"bad_alloc | as before", "true | replaced by the section"}}};
    } else {
        rows = {{"open", "for writing", "", {"false | absent"}},
                {"write", "", "short", {"false | part of updated"}},
                {"write", "", "", {"false | empty"}},
                {"allocation", "", "", {"bad_alloc | absent"}}};
    }
    return {name,
            "true | updated",
            rows,
            [=] {
                if (present)
                    WriteFile(kIni, before);
            },
            [=] {
                const auto written = std::make_shared<bool>(false);
                return Prepared{[=] {
                                    *written = false;
                                    *written = WritePrivateProfileStringA(section, key, "v", kIni);
                                },
                                [=] { return std::string(*written ? "true" : "false"); }};
            },
            [=] {
                return Holds(kIni, {{"updated", updated},
                                    {"as before", before},
                                    {"replaced by the section", alone}});
            }};
}

Operations WritingOperations()
{
    return {
        Update("WritePrivateProfileStringA.replaceKey", "second", "k",
               "[first]\nk=one\n[second]\nk=v\nlong=a value of more bytes than fifteen\n", kText),
        Update("WritePrivateProfileStringA.appendKey", "first", "n",
               "[first]\nk=one\nn=v\n[second]\nk=two\nlong=a value of more bytes than fifteen\n",
               kText),
        Update("WritePrivateProfileStringA.appendSection", "third", "k",
               std::string(kText) + "[third]\nk=v\n", kText),
        Update("WritePrivateProfileStringA.createFile", "third", "k", "[third]\nk=v\n", ""),
        {"CIniFileWriter.writeFile",
         "true | text",
         {{"open", "for writing", "", {"false | as before"}},
          {"write", "", "short", {"false | part of text"}},
          {"write", "", "", {"false | empty"}},
          {"allocation", "", "", {"bad_alloc | as before"}}},
         Lay,
         [] {
             const auto writer = std::make_shared<CIniFileWriter>(kIni);
             const auto written = std::make_shared<bool>(false);
             return Prepared{[=] {
                                 *written = false;
                                 const std::string text = "[new]\nk=v\n";
                                 char* const owned = new char[text.size() + 1];
                                 (void)text.copy(owned, text.size());
                                 owned[text.size()] = '\0';
                                 *written = writer->writeFile(owned);  // and frees it
                             },
                             [=] { return std::string(*written ? "true" : "false"); }};
         },
         [] {
             return Holds(kIni, {{"text", "[new]\nk=v\n"}, {"as before", kText}});
         }},
        {"WritePrivateProfileStringW",
         "true | updated",
         {{"open", "for writing", "", {"false | as before"}},
          {"open stat read", "", "", {"true | alone"}},
          {"write", "", "short", {"false | part of updated"}},
          {"write", "", "", {"false | empty"}},
          {"allocation", "", "", {"bad_alloc | as before", "true | alone"}}},
         Lay,
         [] {
             const auto written = std::make_shared<bool>(false);
             return Prepared{
                 [=] { *written = WritePrivateProfileStringW("second", "k", "v", kIni); },
                 [=] { return std::string(*written ? "true" : "false"); }};
         },
         [] {
             return Holds(kIni, {{"updated",
                                  "[first]\nk=one\n[second]\nk=v\nlong=a value of more "
                                  "bytes than fifteen\n"},
                                 {"as before", kText},
                                 {"alone", "[second]\nk=v\n"}});
         }},
    };
}

Operations ProfileOperations()
{
    const std::vector<Row> rows = {
        {"open", "", "", {"0 default | as before"}},
        {"read", "", "EIO end", {"0 default | as before"}},
        {"allocation", "", "", {"bad_alloc | as before"}},
    };
    const std::vector<Row> numbers = {
        {"open", "", "", {"7 | as before"}},
        {"read", "", "EIO end", {"7 | as before"}},
        {"allocation", "", "", {"bad_alloc | as before"}},
    };
    const auto lay = [] { WriteFile(kIni, "[s]\ntext=found\nnumber=42\n"); };
    const auto kept = [] { return Holds(kIni, {{"as before", "[s]\ntext=found\nnumber=42\n"}}); };
    const auto number = [](int (*get)(const char*, const char*, int, const char*)) {
        return [get] {
            const auto value = std::make_shared<int>(0);
            return Prepared{[=] { *value = get("s", "number", 7, kIni); },
                            [=] { return std::to_string(*value); }};
        };
    };
    return {
        {"GetPrivateProfileStringA", "0 found | as before", rows, lay,
         [] {
             const auto buffer = std::make_shared<std::string>(16, '\0');
             const auto result = std::make_shared<unsigned long>(1);
             return Prepared{[=] {
                                 *result = GetPrivateProfileStringA("s", "text", "default",
                                                                    buffer->data(), 16, kIni);
                             },
                             [=] { return std::to_string(*result) + " " + buffer->c_str(); }};
         },
         kept},
        {"GetPrivateProfileStringW", "0 found | as before", rows, lay,
         [] {
             const auto buffer = std::make_shared<std::vector<wchar_t>>(16);
             const auto result = std::make_shared<unsigned long>(1);
             return Prepared{[=] {
                                 *result = GetPrivateProfileStringW(
                                     "s", "text", "default",
                                     reinterpret_cast<char*>(buffer->data()), 16, kIni);
                             },
                             [=] {
                                 std::string text;
                                 for (const wchar_t* c = buffer->data(); *c != L'\0'; ++c)
                                     text += static_cast<char>(*c);
                                 return std::to_string(*result) + " " + text;
                             }};
         },
         kept},
        {"GetPrivateProfileIntA", "42 | as before", numbers, lay, number(GetPrivateProfileIntA),
         kept},
        {"GetPrivateProfileIntW", "42 | as before", numbers, lay, number(GetPrivateProfileIntW),
         kept},
    };
}

constexpr char kProviders[] =
    "[Common]\nNumProvider=2\n"
    "[Provider1]\nProviderKind=k\nLibName=a library with a long name\nClassName=A\n"
    "ClassKind=VELMORA_DevService\nClassMode=FIXED_DEV\nSpecificFile=f\nMethodNum=2\n"
    "Method1=m1\nMethod2=m2\n"
    "[Provider2]\nProviderKind=k\nLibName=l\nClassName=B\nClassKind=x\nClassMode=y\n"
    "SpecificFile=f\n";

struct Parsed {
    CMofReader reader{kIni};
    std::string ending;
    char thrown[64] = "";

    void Parse()
    {
        thrown[0] = '\0';
        try {
            (void)reader.ParseContents();
            std::vector<CMofContents> records;
            reader.GetMofContents(records);
            CMofContents record;
            (void)reader.GetProviderInfo("A", record);
        } catch (CTraceException* exception) {
            (void)strcpy_s(thrown, sizeof thrown - 1, exception->CException::what());
            delete exception;
        }
    }

    std::string Tell() const
    {
        std::vector<CMofContents> records;
        reader.GetMofContents(records);
        std::string text = thrown;
        for (const CMofContents& record : records) {
            text += (text.empty() ? "" : " ") + record.className + "(";
            for (const std::string& method : record.methodNames)
                text += method;
            text += ")";
        }
        return text;
    }
};

Operations ReaderOperations()
{
    const std::vector<const char*> missed = {" | as before",
                                             "ProviderKind Not Found | as before",
                                             "LibName Not Found | as before",
                                             "ClassName Not Found | as before",
                                             "ClassKind Not Found | as before",
                                             "ClassMode Not Found | as before",
                                             "SpecificFile Not Found | as before",
                                             "Method1 Not Found | as before",
                                             "Method2 Not Found | as before",
                                             "ProviderKind Not Found A(m1m2) | as before",
                                             "LibName Not Found A(m1m2) | as before",
                                             "ClassName Not Found A(m1m2) | as before",
                                             "ClassKind Not Found A(m1m2) | as before",
                                             "ClassMode Not Found A(m1m2) | as before",
                                             "SpecificFile Not Found A(m1m2) | as before",
                                             "A() B() | as before",
                                             "A(m1m2) B() | as before"};
    return {
        // Each look-up opens the file anew: what one of them misses is a missing key.
        {"CMofReader.ParseContents",
         "A(m1m2) B() | as before",
         {{"open", "", "", missed},
          {"read", "", "EIO end", missed},
          {"lasting", "", "", {"ProviderKind Not Found A() | as before"}},
          {"allocation", "", "", {"bad_alloc | as before"}}},
         [] { WriteFile(kIni, kProviders); },
         [] {
             const auto parsed = std::make_shared<Parsed>();
             return Prepared{[=] { parsed->Parse(); }, [=] { return parsed->Tell(); }};
         },
         [] {
             return Holds(kIni, {{"as before", kProviders}});
         },
         nullptr},
        // Without the index, what is found is read as the layout of a single device.
        {"CVcFacReader.parse",
         "x=libx/X y=liby/Y | as before",
         {{"open",
           "",
           "",
           {" | as before", "SuportDevice=libx/X | as before", "x=libx/X | as before"}},
          {"read",
           "",
           "EIO end",
           {" | as before", "SuportDevice=libx/X | as before", "x=libx/X | as before",
            "x=libx/X y=liby/Y | as before"}},
          {"allocation", "", "", {"bad_alloc | as before"}}},
         [] {
             WriteFile(kIni,
                       "[SuportDevice]\nSuportDeviceNum=2\n[x]\nDllName=libx\nClassName=X\n"
                       "[y]\nDllName=liby\nClassName=Y\n");
         },
         [] {
             const auto reader = std::make_shared<CVcFacReader>(kIni);
             return Prepared{[=] {
                                 reader->parse();
                                 if (reader->isExist("x"))
                                     (void)reader->find("x");
                             },
                             [=] {
                                 std::string text;
                                 for (auto i = reader->getIterator(); reader->hasNext(i); ++i)
                                     text += (text.empty() ? "" : " ") + i->first + "=" +
                                             i->second->dllName + "/" + i->second->className;
                                 return text;
                             }};
         },
         [] {
             return Holds(kIni, {{"as before",
                                  "[SuportDevice]\nSuportDeviceNum=2\n[x]\nDllName=libx\n"
                                  "ClassName=X\n[y]\nDllName=liby\nClassName=Y\n"}});
         },
         nullptr},
    };
}

}  // namespace

Operations ConfigurationOperations()
{
    Operations all;
    for (const Operations& some :
         {ReadingOperations(), WritingOperations(), ProfileOperations(), ReaderOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace qor::proof
