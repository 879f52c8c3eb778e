// Texts, times, exceptions, the mutex, and what of winapi.h touches no file. Without memory they
// throw, and what the caller has stays as it was.
#include <cstdlib>
#include <ctime>

#include "CDateTimeUtil.h"
#include "CException.h"
#include "CMutexUtil.h"
#include "CStringUtil.h"
#include "CTraceException.h"
#include "proof/operations/Operation.h"
#include "QorException.h"
#include "winapi.h"

namespace qor::proof {
namespace {

constexpr std::time_t kWhen = 1731659358;

void AddStrings(const Table& t)
{
    using Texts = CStringUtil;
    const Table s = t.In("CStringUtil::");
    const char* const mixed = "A text of many, MANY bytes";
    s.Plain("AsciiToBSTR(string, char**)", "1", [] { return Texts::AsciiToBSTR(kLong, nullptr); });
    s.Plain("BSTRToAscii(char*, string*)", "1",
            [] { return Texts::BSTRToAscii(nullptr, nullptr); });
    s.Plain("TstringToString(string)", kLong, [] { return Texts::TstringToString(kLong); });
    s.Plain("StringToTstring(string)", kLong, [] { return Texts::StringToTstring(kLong); });
    s.Plain("BoolToTstring(bool)", "true", [] { return Texts::BoolToTstring(true); });
    s.Plain("strReplace(string&, string const&, string const&)", "a text of many%!@bytes", [] {
        std::string text = "a text of many;bytes";
        Texts::strReplace(text, ";", "%!@");
        return text;
    });
    s.Plain("strTrim(string, string&)", kLong, [] {
        std::string out;
        Texts::strTrim(std::string(kLong) + "   ", out);
        return out;
    });
    s.Plain("TstringListToTstring(list<string>)", "a piece, of many bytes", [] {
        return Texts::TstringListToTstring({"a piece", "of many bytes"});
    });
    s.Plain("Split(string&, string const&)", "3", [] {
        std::string text = "one.two.a piece of more than fifteen bytes";
        return Texts::Split(text, ".").size();
    });
    s.Plain("SplitByDot(string&)", "2", [] {
        std::string text = "a number of many digits.a second one of as many";
        return Texts::SplitByDot(text).size();
    });
    s.Plain("StringToLowerCase(string)", "a text of many, many bytes",
            [mixed] { return Texts::StringToLowerCase(mixed); });
    s.Plain("StringToUpperCase(string)", "A TEXT OF MANY, MANY BYTES",
            [mixed] { return Texts::StringToUpperCase(mixed); });
    s.Plain("StringToCapitalize(string)", "A text of many, many bytes",
            [mixed] { return Texts::StringToCapitalize(mixed); });
    s.Plain("DllNameToSoName(string, string&)", "libqorp_Provider.so", [] {
        std::string out;
        Texts::DllNameToSoName("Provider.dll", out);
        return out;
    });
    s.Plain("CompareIgnoreCase(string, string)", "0",
            [mixed] { return Texts::CompareIgnoreCase(mixed, "a TEXT of many, many bytes"); });
    s.Plain("TstringCmpIgnore(string, string)", "true",
            [mixed] { return Texts::TstringCmpIgnore(mixed, "a TEXT of many, many bytes"); });
    s.Plain("StringCmpIgnore(string, string)", "true",
            [mixed] { return Texts::StringCmpIgnore(mixed, "a TEXT of many, many bytes"); });
    s.Plain("NumberToTString(long)", "-123456789",
            [] { return Texts::NumberToTString(-123456789); });
    s.Plain("TStringToNumber(string)", "12",
            [] { return Texts::TStringToNumber("  12 and many more bytes"); });
}

// Where the C library has no memory for the time zone, or cannot read it, times are in UTC.
template <typename Ask>
Operation& Time(const Table& t, const std::string& name, const std::string& outcome, Ask ask)
{
    return t.Plain(name, outcome, ask).Faults({{"allocation", {outcome, "bad_alloc"}}});
}

void AddTimes(const Table& t)
{
    const Table d = t.In("CDateTimeUtil::");
    Time(d, "GetLocalTime(tm*)", "true",
         [] { return CDateTimeUtil::GetLocalTime(nullptr)->tm_year >= 124; });
    Time(d, "GetNowDateTime1()", "19", [] { return CDateTimeUtil::GetNowDateTime1().size(); });
    Time(d, "GetTimeVal(string&)", "20", [] {
        std::string out;
        CDateTimeUtil::GetTimeVal(out);
        return out.size();
    });
    d.Plain("~CDateTimeUtil()", "done", [] { const CDateTimeUtil util; });
    Time(t, "localtime_s(tm*, long const*)", "0 124", [](Result& result) {
        std::tm out{};
        const long now = kWhen;
        Append(result, localtime_s(&out, &now));
        result += " ";
        Append(result, out.tm_year);
    });
    Time(t, "_wctime_s(wchar_t*, int, long*)", "0 25", [](Result& result) {
        char out[64] = "";
        long now = kWhen;
        Append(result, _wctime_s(reinterpret_cast<wchar_t*>(out), 64, &now));
        result += " ";
        Append(result, std::string(out).size());
    });
}

// With a text of its own, as CTraceException.h shows.
struct Report : CTraceException {
    Report() : CTraceException("a long message for the heap") {}
    const char* what() const noexcept override { return CException::what(); }
};

void AddExceptions(const Table& table)
{
    const Table c = table.In("CException::");
    const Table q = table.In("QorException::");
    const Table t = table.In("CTraceException::");
    const std::vector<Row> copes = {{"allocation", {"bad_alloc", "done"}}};
    c.Plain("CException(string const&)", kLong,
            [] { return std::string(CException(kLong).what()); });
    c.Plain("CException(string const&, char const*, char const*, int)", kLong,
            [] { return std::string(CException(kLong, "f.cpp", "Run", 7).what()); });
    // The C++ library has a little memory aside for exceptions.
    c.Plain("~CException()", "done", [] {
         try {
             throw CException(kLong);
         } catch (const CException&) {
         }
     }).Faults(copes);
    c.Plain("what() const", kLong, [] { return std::string(CException(kLong).what()); });
    c.Plain("getFileName() const", "f.cpp",
            [] { return CException(kLong, "f.cpp", "Run", 7).getFileName(); });
    c.Plain("getFunctionName() const", "Run",
            [] { return CException(kLong, "f.cpp", "Run", 7).getFunctionName(); });
    c.Plain("getLineNumber() const", "7",
            [] { return CException(kLong, "f.cpp", "Run", 7).getLineNumber(); });
    q.Plain("QorException(char const*, ...)", "number 7",
            [] { return std::string(QorException("number %d", 7).what()); });
    q.Plain("~QorException()", "done", [] {
         try {
             throw QorException("%s", kLong);
         } catch (const QorException&) {
         }
     }).Faults(copes);
    q.Plain("what() const", "number 7",
            [] { return std::string(QorException("number %d", 7).what()); });
    q.Plain("set_transrator()", "done", [] { QorException::set_transrator(); });
    t.Plain("CTraceException(string const&)", "done", [] { const CTraceException e(kLong); })
        .Faults(copes)
        .Keeps(OneSymbolText());
    t.Plain("CTraceException(string const&, char const*, char const*, int)", "done",
            [] { const CTraceException e(kLong, "f.cpp", "Run", 7); })
        .Faults(copes)
        .Keeps(OneSymbolText());
    t.Plain("~CTraceException()", "done", [] { delete new CTraceException(kLong); })
        .Faults(copes)
        .Keeps(OneSymbolText());
    t.On<Report>("init()", "done", [](Report& one) { one.init(); })
        .Faults(copes)
        .Keeps(OneSymbolText());
    // It must not throw, as a std::exception's: without memory for the report the process
    // ends.
    t.On<Report>("what() const", "one", [](Report& one) {
         return one.CTraceException::what() == nullptr ? "none" : "one";
     }).Faults({{"allocation", {"one", "ended by signal 6"}}});
    // What the standard error stream cannot take is lost.
    t.On<Report>("printStackTrace() const", "done", [](Report& one) {
         one.printStackTrace();
     }).Faults(copes);
}

// Created; a held one is never destroyed, since nobody can unlock it once a Lock has timed out.
struct Created : CMutexUtil {
    Created() { (void)Create(); }
};

std::shared_ptr<CMutexUtil> Held()
{
    static CMutexUtil* const held = [] {
        auto* const mutex = new Created;
        (void)mutex->Lock(-1);
        return mutex;
    }();
    return std::shared_ptr<CMutexUtil>(held, [](CMutexUtil*) {});
}

void AddMutex(const Table& t)
{
    const Table m = t.In("CMutexUtil::");
    m.Plain("CMutexUtil()", "done", [] { const CMutexUtil mutex; });
    m.Plain("~CMutexUtil()", "done", [] { delete new CMutexUtil; });
    m.Plain("Create(int, char const*, int*)", "done", [] {
        CMutexUtil mutex;
        (void)mutex.Create();
    });
    m.On<Created>("Lock(int)", "done", [](CMutexUtil& mutex) {
        (void)mutex.Lock(-1);
        mutex.Unlock();
    });
    m.Of("Lock(int): held", "done", Held, [](CMutexUtil& mutex) {
        (void)mutex.Lock(5);  // a moment of the past: fails at once
        (void)mutex.Lock(0);
    });
    m.On<Created>("Unlock()", "done", [](CMutexUtil& mutex) {
        (void)mutex.Lock(-1);
        mutex.Unlock();
    });
}

void AddWindowsErrors(const Table& t)
{
    t.Plain("WSAStartup(unsigned short, WSADATA*)", "0", [] {
        WSADATA data{};
        return WSAStartup(2, &data);
    });
    t.Plain("WSACleanup()", "0", [] { return WSACleanup(); });
    t.Plain("WSAGetLastError()", "7", [] {
        WSASetLastError(7);
        return WSAGetLastError();
    });
    t.Plain("WSASetLastError(int)", "done", [] { WSASetLastError(0); });
    t.Plain("GetLastError()", "0", [] {
        WSASetLastError(0);
        return GetLastError();
    });
    t.Plain("GetCurrentThreadId()", "true", [] { return GetCurrentThreadId() != 0; });
    t.Plain("DeleteObject(void*)", "done", [] { (void)DeleteObject(nullptr); });
    t.Plain("SysAllocString(char const*)", kLong, [] { return SysAllocString(kLong); });
    t.Plain("SysFreeString(char*)", "done", [] { SysFreeString(nullptr); });
    t.Plain("ShowMessage(char const*)", "done", [] { ShowMessage(kLong); });
    t.Plain("ShowMessage(char const*, char const*)", "done", [] { ShowMessage(kLong, kLong); });
    t.Plain("ShowMessage(char const*, char const*, unsigned int)", "done",
            [] { ShowMessage(kLong, kLong, 0); });
    t.Plain("atoi(wchar_t const*)", "done", [] { (void)atoi(L"1"); });
    t.Plain("swap_endian16(unsigned short&)", "256", [] {
        unsigned short value = 1;
        swap_endian16(value);
        return value;
    });
    t.Plain("swap_endian32(unsigned long&)", "16777216", [] {
        unsigned long value = 1;
        swap_endian32(value);
        return value;
    });
}

// Writes to a buffer that is long enough.
template <typename Use>
Operation& Written(const Table& t, const std::string& name, const std::string& outcome, Use use)
{
    return t.Plain(name, outcome, [use] {
        char out[128] = "a";
        use(out);
        return std::string(out);
    });
}

void AddWindowsTexts(const Table& t)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(kLong);
    const std::string with7 = std::string(kLong) + " 7";
    Written(t, "TStringToChar(string, char*)", kLong,
            [](char* out) { (void)TStringToChar(kLong, out); });
    Written(t, "strcpy_s(char*, unsigned long, char const*)", kLong,
            [](char* out) { (void)strcpy_s(out, 127, kLong); });
    Written(t, "strncpy_s(char*, unsigned long, char const*, unsigned long)", kLong,
            [](char* out) { (void)strncpy_s(out, 127, kLong, 5); });
    Written(t, "strncpy_s(char*, char const*, unsigned long)", kLong,
            [](char* out) { (void)strncpy_s(out, kLong, 128); });
    Written(t, "_mbsnbcat_s(char*, unsigned long, char const*, unsigned long)",
            "a" + std::string(kLong), [](char* out) { (void)_mbsnbcat_s(out, 127, kLong, 100); });
    t.Plain("wcsncat_s(wchar_t*, unsigned long, wchar_t const*, unsigned long)", "done", [] {
        wchar_t out[128] = L"a";
        (void)wcsncat_s(out, 100, L"b", 100);
    });
    Written(t, "_snprintf_s(char*, unsigned long, unsigned long, char const*, ...)", with7,
            [](char* out) { (void)_snprintf_s(out, 127, 127, "%s %d", kLong, 7); });
    Written(t, "_sprintf_s(char*, unsigned long, char const*, ...)", with7,
            [](char* out) { (void)_sprintf_s(out, 127, "%s %d", kLong, 7); });
    Written(t, "_snwprintf_s(char*, unsigned long, unsigned long, char const*, ...)", with7,
            [](char* out) { (void)_snwprintf_s(out, 127, 127, "%s %d", kLong, 7); });
    Written(t, "swprintf_s(char*, unsigned long, char const*, ...)", with7,
            [](char* out) { (void)swprintf_s(out, 127, "%s %d", kLong, 7); });
    Written(t, "wsprintfA(char*, char const*, ...)", with7,
            [](char* out) { (void)wsprintfA(out, "%s %d", kLong, 7); });
    t.Plain("lstrcmpW(char const*, char const*)", "0", [] { return lstrcmpW(kLong, kLong); });
    t.Plain("_mbsnbcmp(unsigned char const*, unsigned char const*, unsigned long)", "0",
            [bytes] { return _mbsnbcmp(bytes, bytes, 10); });
    t.Plain("wcsncmp(char const*, char const*, unsigned long)", "0",
            [] { return wcsncmp(kLong, kLong, 10); });
    t.Plain("_mbsicmp(unsigned char const*, unsigned char const*)", "0",
            [bytes] { return _mbsicmp(bytes, bytes); });
}

}  // namespace

void AddTextOperations(const Table& t)
{
    AddStrings(t);
    AddTimes(t);
    AddExceptions(t);
    AddMutex(t);
    AddWindowsErrors(t);
    AddWindowsTexts(t);
}

}  // namespace qor::proof
