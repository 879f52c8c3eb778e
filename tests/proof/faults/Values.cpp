// Operations that make a value: texts, times, answers from a file. Without memory they throw, and
// what the caller has stays as it was.
#include <cstdio>
#include <ctime>
#include <list>
#include <memory>
#include <stdexcept>

#include "CDateTimeUtil.h"
#include "CException.h"
#include "CFileTransfer.h"
#include "CFileUtility.h"
#include "CIniFileReader.h"
#include "CIWbemUtil.h"
#include "COsInfo.h"
#include "CStringUtil.h"
#include "CTraceBase.h"
#include "CTraceRead.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"
#include "IWbemClassObject.h"
#include "IWbemObjectSink.h"
#include "proof/faults/Operation.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using test::WriteFile;

constexpr char kLong[] = "a text of more than fifteen bytes";
constexpr char kNotImplemented[] = "CFileUtility::ReadConfigString is not implemented | ";
constexpr std::time_t kWhen = 1731659358;

std::string Nothing()
{
    return "";
}

// A text that `make` puts together. outcome: the text and " | ".
Operation Value(
    const char* name, const char* outcome, const std::function<void(std::string&)>& make,
    std::vector<Row> rows = {}, const std::function<void()>& lay = [] {})
{
    rows.push_back({"allocation", "", "", {"bad_alloc | "}});
    return {name,
            outcome,
            rows,
            lay,
            [make] {
                const auto out = std::make_shared<std::string>();
                return Prepared{[=] {
                                    std::string text;
                                    make(text);
                                    *out = text;
                                },
                                [=] { return *out; }};
            },
            Nothing};
}

std::string Flag(bool value)
{
    return value ? "true" : "false";
}

std::string Length(const std::string& text)
{
    return std::to_string(text.size());
}

// Where the C library has no memory for the time zone, or cannot read it, times are told in UTC.
Operation Time(const char* name, const char* outcome, const std::function<void(std::string&)>& make)
{
    return Value(name, outcome, make, {{"allocation", "", "", {outcome, "bad_alloc | "}}});
}

Operations TimeOperations()
{
    return {
        Time("CDateTimeUtil.GetLocalTime", "true | ",
             [](std::string& out) {
                 out = Flag(CDateTimeUtil::GetLocalTime(nullptr)->tm_year >= 2024);
             }),
        Time("CDateTimeUtil.GetNowDateTime1", "19 | ",
             [](std::string& out) { out = Length(CDateTimeUtil::GetNowDateTime1()); }),
        Time("CDateTimeUtil.GetTimeVal", "20 | ",
             [](std::string& out) {
                 CDateTimeUtil::GetTimeVal(out);
                 out = Length(out);
             }),
        Time("localtime_s", "0 124 | ",
             [](std::string& out) {
                 std::tm when = {};
                 const long now = kWhen;
                 out = std::to_string(localtime_s(&when, &now));
                 out += " " + std::to_string(when.tm_year);
             }),
        Time("_wctime_s", "0 25 | ",
             [](std::string& out) {
                 char text[64] = "";
                 long now = kWhen;
                 out = std::to_string(_wctime_s(reinterpret_cast<wchar_t*>(text), 64, &now));
                 out += " " + Length(text);
             }),
    };
}

Operations TextOperations()
{
    return {
        Value("CStringUtil.AsciiToBSTR", "1 | ",
              [](std::string& out) {
                  char* text = nullptr;
                  out = std::to_string(CStringUtil::AsciiToBSTR(kLong, &text));
              }),
        Value("CStringUtil.SplitByDot", "2 | ",
              [](std::string& out) {
                  std::string text = "a number of many digits.a second one of as many";
                  out = std::to_string(CStringUtil::SplitByDot(text).size());
              }),
        Value("CStringUtil.StringCmpIgnore", "true | ",
              [](std::string& out) {
                  out = Flag(
                      CStringUtil::StringCmpIgnore("A text of many bytes", "a TEXT of many bytes"));
              }),
        Value("CStringUtil.TstringCmpIgnore", "true | ",
              [](std::string& out) {
                  out = Flag(CStringUtil::TstringCmpIgnore("A text of many bytes",
                                                           "a TEXT of many bytes"));
              }),
        Value("CStringUtil.StringToCapitalize", "A text of many bytes | ",
              [](std::string& out) {
                  out = CStringUtil::StringToCapitalize("a TEXT of many bytes");
              }),
        Value(
            "CStringUtil.StringToLowerCase", "a text of many bytes | ",
            [](std::string& out) { out = CStringUtil::StringToLowerCase("A TEXT of many bytes"); }),
        Value("CStringUtil.StringToTstring", "a text of more than fifteen bytes | ",
              [](std::string& out) { out = CStringUtil::StringToTstring(kLong); }),
        Value("CStringUtil.TstringToString", "a text of more than fifteen bytes | ",
              [](std::string& out) { out = CStringUtil::TstringToString(kLong); }),
        Value("CStringUtil.TStringToNumber", "12 | ",
              [](std::string& out) {
                  out = std::to_string(CStringUtil::TStringToNumber("  12 and many more bytes"));
              }),
        Value("CStringUtil.strTrim", "a text of more than fifteen bytes | ",
              [](std::string& out) { CStringUtil::strTrim(std::string(kLong) + "  ", out); }),
        Value("TStringToChar", "a text of more than fifteen bytes | ",
              [](std::string& out) {
                  char room[64] = "";
                  (void)TStringToChar(kLong, room);
                  out = room;
              }),
        Value("CException.CException", "a text of more than fifteen bytes | ",
              [](std::string& out) { out = CException(kLong, "f.cpp", "Run", 7).what(); }),
        Value("CException.CException.message", "a text of more than fifteen bytes | ",
              [](std::string& out) { out = CException(kLong).what(); }),
    };
}

Operations NamingOperations()
{
    return {
        Value("CFileUtility.CheckFileVersion", "1 | ",
              [](std::string& out) {
                  out = std::to_string(
                      CFileUtility::CheckFileVersion("1.2.3.4 and more", "1.2.3.5 and more"));
              }),
        Value("CFileUtility.GetInstallPath", "/opt/velmora/qor/provider | ",
              [](std::string& out) { out = CFileUtility::GetInstallPath(0); }),
        Value("CFileUtility.ReadConfigString", kNotImplemented,
              [](std::string& out) {
                  try {
                      (void)CFileUtility::ReadConfigString("a", "b", "c");
                  } catch (const std::logic_error& error) {
                      out = error.what();
                  }
              },
              // The C++ library has a little memory aside for exceptions.
              {{"allocation", "", "", {"bad_alloc | ", kNotImplemented}}}),
        Value("CFileUtility.RemoveFileExtension", "a name of many bytes | ",
              [](std::string& out) {
                  out = CFileUtility::RemoveFileExtension("a name of many bytes.txt");
              }),
        Value("CFileUtility.isMatch", "true | ",
              [](std::string& out) {
                  out = Flag(CFileUtility::isMatch("*and many more bytes.log",
                                                   "a name and many more bytes.log"));
              }),
        Value("CTraceUtilityCom.GetBasePath", "/opt/velmora/qor/um | ",
              [](std::string& out) { out = CTraceUtilityCom::GetBasePath("um"); }),
        Value("CTraceUtilityCom.GetIniFileName", "/opt/velmora/qor/um/TraceSetting.ini | ",
              [](std::string& out) { CTraceUtilityCom::GetIniFileName("um", out); }),
        Value("CTraceUtilityCom.GetMsgFileName", "/opt/velmora/qor/um/TraceSettingMsg.ini | ",
              [](std::string& out) { CTraceUtilityCom::GetMsgFileName("um", out); }),
        Value("CIniFileReader.checkfile", "/a/file/with/a/long/path | ",
              [](std::string& out) {
                  out = "\\a\\file\\with\\a\\long\\path";
                  CIniFileReader("/opt/demo.ini").checkfile(out);
              }),
        Value("CIniFileReader.find_str", "a text of more than fifteen bytes | ",
              [](std::string& out) {
                  (void)CIniFileReader("/opt/demo.ini")
                      .find_str("key=a text of more than fifteen bytes", "key", out);
              }),
        Value(
            "CIniFileReader.get_section_len", "32 | ",
            [](std::string& out) {
                out = std::to_string(
                    CIniFileReader("/opt/demo.ini").get_section_len(std::string(kLong) + "]", 99));
            }),
    };
}

Operations ObjectValueOperations()
{
    using Object = IWbemClassObject;
    const auto number = [](const char* name, auto get, const char* record) {
        return Value(name, "7 | ", [get, record](std::string& out) {
            typename decltype(get)::Number value = 0;
            get.function(record, "a name of many bytes", value);
            out = std::to_string(value);
        });
    };
    struct Long {
        using Number = long;
        void (*function)(std::string, std::string, long&);
    };
    struct ULong {
        using Number = unsigned long;
        void (*function)(std::string, std::string, unsigned long&);
    };
    return {
        number("IWbemClassObject.GetLong", Long{&Object::GetLong}, "long;a name of many bytes;7;"),
        number("IWbemClassObject.GetULong", ULong{&Object::GetULong},
               "ulong;a name of many bytes;7;"),
        Value("IWbemClassObject.GetBool", "true | ",
              [](std::string& out) {
                  bool value = false;
                  Object::GetBool("bool;a name of many bytes;true;", "a name of many bytes", value);
                  out = Flag(value);
              }),
        Value("IWbemClassObject.SetClassArray", "class[];a name of many bytes;; | ",
              [](std::string& out) {
                  const std::vector<Object*> objects(2);
                  Object::SetClassArray(out, "a name of many bytes", &objects);
              }),
        Value("IWbemClassObject.pop", "a text of more than fifteen bytes | ",
              [](std::string& out) {
                  Object bag;
                  bag.push("name", boost::any(std::string(kLong)));
                  out = boost::any_cast<std::string>(bag.pop("name"));
              }),
        Value("IWbemClassObject.pop.object", "a text of more than fifteen bytes | ",
              [](std::string& out) {
                  Object bag;
                  bag.push("name", boost::any(std::string(kLong)));
                  out = boost::any_cast<std::string>(Object().pop("name", &bag));
              }),
        Value("IWbemClassObject.SetClassArray.prefix", "class[];a name of many bytes;; | ",
              [](std::string& out) {
                  const std::vector<Object*> objects(2);
                  Object::SetClassArray(out, "a name of ", "many bytes", &objects);
              }),
        Value("CIWbemUtil.getUIntFromIWbemClassObject", "7 | ",
              [](std::string& out) {
                  Object bag;
                  unsigned int value = 0;
                  (void)CIWbemUtil::setIntToIWbemClassObject(&bag, "n", 7);
                  (void)CIWbemUtil::getUIntFromIWbemClassObject(&bag, "n", &value);
                  out = std::to_string(value);
              }),
        Value("CIWbemUtil.getULongFromIWbemClassObject", "7 | ",
              [](std::string& out) {
                  Object bag;
                  unsigned long value = 0;
                  (void)CIWbemUtil::setULongToIWbemClassObject(&bag, "n", 7);
                  (void)CIWbemUtil::getULongFromIWbemClassObject(&bag, "n", &value);
                  out = std::to_string(value);
              }),
    };
}

constexpr char kVersions[] = "/opt/velmora/qor/etc/qorversion.ver";
constexpr char kCache[] = "/var/tmp/dmitmp";
constexpr char kDmi[] =
    "System Information\n\tManufacturer: the maker of many machines\n"
    "\tProduct Name: a product of many parts\n\tVersion: a version of many digits\n";

// From a cache that is there. What cannot be read counts as not found.
Operation Field(const char* name, const char* outcome, bool (COsInfo::*get)(std::string&))
{
    Operation operation = {
        name,
        outcome,
        {{"open", "/dmitmp", "", {"false untouched | "}},
         {"read", "/dmitmp", "EIO EINTR end", {"false untouched | ", outcome}},
         {"lasting", "", "", {"false untouched | "}},
         {"allocation", "", "", {"bad_alloc | ", "false untouched | ", outcome}}},
        [] {
            test::MakeLogDirectory();
            WriteFile(kCache, kDmi);
        },
        [=] {
            CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG);
            const auto info = std::make_shared<COsInfo>();
            const auto value = std::make_shared<std::string>();
            const auto found = std::make_shared<bool>(false);
            return Prepared{[=] {
                                *found = false;
                                *value = "untouched";
                                *found = (info.get()->*get)(*value);
                            },
                            [=] { return Flag(*found) + " " + *value; }};
        },
        Nothing};
    return operation;
}

Operations ReadingOperations()
{
    return {
        // Each name and version is looked up by itself: what one look-up misses is "".
        Value(
            "CFileUtility.MakeVersionList", "somd=1.2.3 | ",
            [](std::string& out) {
                std::list<std::pair<std::string, std::string>> list;
                CFileUtility::MakeVersionList("SOM", list);
                for (const auto& [name, version] : list)
                    out += name + "=" + version;
            },
            {{"open", "", "", {" | ", "=1.2.3 | ", "somd= | "}},
             {"read", "", "EIO end", {" | ", "=1.2.3 | ", "somd= | ", "somd=1.2.3 | "}},
             {"lasting", "", "", {" | ", "= | ", "somd= | "}}},
            [] { WriteFile(kVersions, "[SOM]\nTargetNum=1\nTargetName1=somd\nVersion1=1.2.3\n"); }),
        Field("COsInfo.getDmiSystemManufacture", "true the maker of many machines | ",
              &COsInfo::getDmiSystemManufacture),
        Field("COsInfo.getDmiSystemProductName", "true a product of many parts | ",
              &COsInfo::getDmiSystemProductName),
        Field("COsInfo.getDmiSystemVersion", "true a version of many digits | ",
              &COsInfo::getDmiSystemVersion),
        Value(
            "CTraceRead.ReadOperationLog", "2026/11/15 08:29:18 info    one | ",
            [](std::string& out) {
                std::list<std::string> records;
                std::string from;
                CTraceRead("um").ReadOperationLog(1, 5, records, &from);
                for (const std::string& record : records)
                    out += record;
            },
            {{"open read stat list", "/log", "", {" | ", "2026/11/15 08:29:18 info    one | "}},
             {"lasting", "", "", {" | "}},
             {"allocation", "", "", {"bad_alloc | ", " | ", "2026/11/15 08:29:18 info    one | "}}},
            [] {
                test::MakeLogDirectory();
                WriteFile(test::LogPath("QOR_um_trc_1.log"),
                          "2026/11/15 08:29:18 0x00000001 info    one\n");
            }),
        {"_wmkdir",
         "0 | d",
         {{"mkdir", "", "", {"-1 | "}}},
         [] { test::MakeDirs("/opt/w"); },
         [] {
             const auto result = std::make_shared<int>(0);
             return Prepared{
                 [=] { *result = _wmkdir(reinterpret_cast<const wchar_t*>("/opt/w/d")); },
                 [=] { return std::to_string(*result); }};
         },
         [] { return Names("/opt/w"); },
         nullptr},
    };
}

}  // namespace

Operations ValueOperations()
{
    Operations all;
    for (const Operations& some : {TimeOperations(), TextOperations(), NamingOperations(),
                                   ObjectValueOperations(), ReadingOperations()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace qor::proof
