// Texts, times, exceptions, the mutex, and what of winapi.h touches no file: CStringUtil.h,
// CDateTimeUtil.h, CException.h, QorException.h, CTraceException.h, CMutexUtil.h, winapi.h.
#include <cstdlib>
#include <list>
#include <memory>
#include <string>

#include "CDateTimeUtil.h"
#include "CException.h"
#include "CMutexUtil.h"
#include "CStringUtil.h"
#include "CTraceException.h"
#include "leaks/Operations.h"
#include "QorException.h"
#include "support/Processes.h"
#include "winapi.h"

namespace qor::proof {
namespace {

const char kText[] = "a Text. that is too long. for a string to keep it inside itself";

void AddStrings(Operations& table)
{
    using Util = CStringUtil;
    const std::string s = "CStringUtil::";
    AddPlain(table, s + "AsciiToBSTR(string, char**)",
             [] { (void)Util::AsciiToBSTR(kText, nullptr); });
    AddPlain(table, s + "BSTRToAscii(char*, string*)",
             [] { (void)Util::BSTRToAscii(nullptr, nullptr); });
    AddPlain(table, s + "TstringToString(string)", [] { (void)Util::TstringToString(kText); });
    AddPlain(table, s + "StringToTstring(string)", [] { (void)Util::StringToTstring(kText); });
    AddPlain(table, s + "BoolToTstring(bool)", [] { (void)Util::BoolToTstring(true); });
    AddPlain(table, s + "strReplace(string&, string const&, string const&)", [] {
        std::string text = kText;
        Util::strReplace(text, "t", "tt");
    });
    AddPlain(table, s + "strTrim(string, string&)", [] {
        std::string out;
        Util::strTrim(std::string(kText) + "   ", out);
    });
    AddPlain(table, s + "TstringListToTstring(list<string>)", [] {
        (void)Util::TstringListToTstring({kText, "b", kText});
    });
    AddPlain(table, s + "Split(string&, string const&)", [] {
        std::string text = kText;
        (void)Util::Split(text, "t.");
    });
    AddPlain(table, s + "SplitByDot(string&)", [] {
        std::string text = kText;
        (void)Util::SplitByDot(text);
    });
    AddPlain(table, s + "StringToLowerCase(string)", [] { (void)Util::StringToLowerCase(kText); });
    AddPlain(table, s + "StringToUpperCase(string)", [] { (void)Util::StringToUpperCase(kText); });
    AddPlain(table, s + "StringToCapitalize(string)",
             [] { (void)Util::StringToCapitalize(kText); });
    AddPlain(table, s + "DllNameToSoName(string, string&)", [] {
        std::string out;
        Util::DllNameToSoName(kText, out);
    });
    AddPlain(table, s + "CompareIgnoreCase(string, string)",
             [] { (void)Util::CompareIgnoreCase(kText, kText); });
    AddPlain(table, s + "TstringCmpIgnore(string, string)",
             [] { (void)Util::TstringCmpIgnore(kText, kText); });
    AddPlain(table, s + "StringCmpIgnore(string, string)",
             [] { (void)Util::StringCmpIgnore(kText, kText); });
    AddPlain(table, s + "NumberToTString(long)", [] { (void)Util::NumberToTString(-123456789); });
    AddPlain(table, s + "TStringToNumber(string)", [] { (void)Util::TStringToNumber(kText); });
}

void AddTimes(Operations& table)
{
    const std::string d = "CDateTimeUtil::";
    AddPlain(table, d + "GetTimeVal(string&)", [] {
        std::string out;
        CDateTimeUtil::GetTimeVal(out);
    });
    AddPlain(table, d + "GetLocalTime(tm*)", [] { (void)CDateTimeUtil::GetLocalTime(nullptr); });
    AddPlain(table, d + "GetNowDateTime1()", [] { (void)CDateTimeUtil::GetNowDateTime1(); });
    AddPlain(table, d + "~CDateTimeUtil()", [] { const CDateTimeUtil util; });
    AddPlain(table, "localtime_s(tm*, long const*)", [] {
        std::tm out{};
        const long now = 1794731358;
        (void)localtime_s(&out, &now);
    });
    AddPlain(table, "_wctime_s(wchar_t*, int, long*)", [] {
        wchar_t out[32];
        long now = 1794731358;
        (void)_wctime_s(out, sizeof out, &now);
    });
    AddPlain(table, "Sleep(unsigned long)", [] { Sleep(0); });
}

// With a text of its own, as CTraceException.h shows.
struct Report : CTraceException {
    using CTraceException::CTraceException;
    const char* what() const noexcept override { return CException::what(); }
};

Kept OneSymbolText()
{
    Kept kept;
    kept.what = "what backtrace_symbols(3) allocated";
    kept.heap = [](long) { return SymbolTexts(); };
    return kept;
}

void AddExceptions(Operations& table)
{
    const std::string c = "CException::";
    AddPlain(table, c + "CException(string const&)", [] { const CException e(kText); });
    AddPlain(table, c + "CException(string const&, char const*, char const*, int)",
             [] { const CException e(kText, __FILE__, __func__, __LINE__); });
    AddPlain(table, c + "~CException()", [] {
        try {
            throw CException(kText);
        } catch (const CException&) {
        }
    });
    AddPlain(table, c + "what() const", [] { (void)CException(kText).what(); });
    AddPlain(table, c + "getFileName() const", [] { (void)CException(kText).getFileName(); });
    AddPlain(table, c + "getFunctionName() const",
             [] { (void)CException(kText).getFunctionName(); });
    AddPlain(table, c + "getLineNumber() const", [] { (void)CException(kText).getLineNumber(); });

    const std::string q = "QorException::";
    AddPlain(table, q + "QorException(char const*, ...)",
             [] { const QorException e("slot %d: %s", 1, kText); });
    AddPlain(table, q + "~QorException()", [] {
        try {
            throw QorException("%s", kText);
        } catch (const QorException&) {
        }
    });
    AddPlain(table, q + "what() const", [] { (void)QorException("%s", kText).what(); });
    AddPlain(table, q + "set_transrator()", [] { QorException::set_transrator(); });

    const std::string t = "CTraceException::";
    AddKeeping(
        table, t + "CTraceException(string const&)",
        {t + "CTraceException(string const&)", t + "~CTraceException()"},
        [] { return [] { delete new CTraceException(kText); }; }, OneSymbolText());
    AddKeeping(
        table, t + "CTraceException(string const&, char const*, char const*, int)",
        {t + "CTraceException(string const&, char const*, char const*, int)"},
        [] { return [] { const CTraceException e(kText, __FILE__, __func__, __LINE__); }; },
        OneSymbolText());
    AddKeeping(
        table, t + "init()", {t + "init()"},
        [] { return [e = std::make_shared<CTraceException>(kText)] { e->init(); }; },
        OneSymbolText());
    // Not on the class itself, where neither returns.
    Add(table, t + "what() const",
        [] { return [e = std::make_shared<Report>(kText)] { (void)e->CTraceException::what(); }; });
    Add(table, t + "printStackTrace() const",
        [] { return [e = std::make_shared<Report>(kText)] { e->printStackTrace(); }; });
}

void AddMutex(Operations& table)
{
    const std::string m = "CMutexUtil::";
    AddPlain(table, m + "CMutexUtil()", [] { const CMutexUtil mutex; });
    AddPlain(table, m + "~CMutexUtil()", [] { delete new CMutexUtil; });
    AddPlain(table, m + "Create(int, char const*, int*)", [] {
        CMutexUtil mutex;
        (void)mutex.Create();
    });
    Add(table, m + "Lock(int)", [] {
        // Never destroyed: nobody can unlock it once a Lock has timed out.
        static CMutexUtil* const held = new CMutexUtil;
        (void)held->Create();
        (void)held->Lock(-1);
        return [] {
            CMutexUtil mutex;
            (void)mutex.Create();
            (void)mutex.Lock(-1);
            mutex.Unlock();
            (void)held->Lock(5);  // a moment of the past: fails at once
            (void)held->Lock(0);
        };
    });
    Add(table, m + "Unlock()", [] {
        auto mutex = std::make_shared<CMutexUtil>();
        (void)mutex->Create();
        return [mutex] {
            (void)mutex->Lock(-1);
            mutex->Unlock();
        };
    });
}

void AddWindowsErrors(Operations& table)
{
    AddPlain(table, "WSAStartup(unsigned short, WSADATA*)", [] {
        WSADATA data{};
        (void)WSAStartup(2, &data);
    });
    AddPlain(table, "WSACleanup()", [] { (void)WSACleanup(); });
    AddPlain(table, "WSAGetLastError()", [] { (void)WSAGetLastError(); });
    AddPlain(table, "WSASetLastError(int)", [] { WSASetLastError(0); });
    AddPlain(table, "GetLastError()", [] { (void)GetLastError(); });
    AddPlain(table, "GetCurrentThreadId()", [] { (void)GetCurrentThreadId(); });
    AddPlain(table, "DeleteObject(void*)", [] { (void)DeleteObject(nullptr); });
    AddPlain(table, "SysAllocString(char const*)", [] { (void)SysAllocString(kText); });
    AddPlain(table, "SysFreeString(char*)", [] { SysFreeString(nullptr); });
    AddPlain(table, "ShowMessage(char const*)", [] { ShowMessage(kText); });
    AddPlain(table, "ShowMessage(char const*, char const*)", [] { ShowMessage(kText, kText); });
    AddPlain(table, "ShowMessage(char const*, char const*, unsigned int)",
             [] { ShowMessage(kText, kText, 0); });
    AddPlain(table, "atoi(wchar_t const*)", [] { (void)atoi(L"1"); });
    AddPlain(table, "swap_endian16(unsigned short&)", [] {
        unsigned short value = 1;
        swap_endian16(value);
    });
    AddPlain(table, "swap_endian32(unsigned long&)", [] {
        unsigned long value = 1;
        swap_endian32(value);
    });
}

void AddWindowsTexts(Operations& table)
{
    AddPlain(table, "Trim(char*)", [] {
        char text[] = "   a text with many bytes between its spaces   ";
        std::free(Trim(text));
    });
    AddPlain(table, "TStringToChar(string, char*)", [] {
        char out[sizeof kText];
        (void)TStringToChar(kText, out);
    });
    AddPlain(table, "strcpy_s(char*, unsigned long, char const*)", [] {
        char out[128];
        (void)strcpy_s(out, sizeof out, kText);
    });
    AddPlain(table, "strncpy_s(char*, unsigned long, char const*, unsigned long)", [] {
        char out[128];
        (void)strncpy_s(out, sizeof out, kText, 5);
    });
    AddPlain(table, "strncpy_s(char*, char const*, unsigned long)", [] {
        char out[128];
        (void)strncpy_s(out, kText, sizeof out);
    });
    AddPlain(table, "_mbsnbcat_s(char*, unsigned long, char const*, unsigned long)", [] {
        char out[128] = "a";
        (void)_mbsnbcat_s(out, sizeof out, kText, 100);
    });
    AddPlain(table, "wcsncat_s(wchar_t*, unsigned long, wchar_t const*, unsigned long)", [] {
        wchar_t out[128] = L"a";
        (void)wcsncat_s(out, 100, L"b", 100);
    });
    AddPlain(table, "_snprintf_s(char*, unsigned long, unsigned long, char const*, ...)", [] {
        char out[128];
        (void)_snprintf_s(out, sizeof out, sizeof out, "%s %d", kText, 1);
    });
    AddPlain(table, "_sprintf_s(char*, unsigned long, char const*, ...)", [] {
        char out[128];
        (void)_sprintf_s(out, sizeof out, "%s %d", kText, 1);
    });
    AddPlain(table, "_snwprintf_s(char*, unsigned long, unsigned long, char const*, ...)", [] {
        char out[128];
        (void)_snwprintf_s(out, sizeof out, sizeof out, "%s %d", kText, 1);
    });
    AddPlain(table, "swprintf_s(char*, unsigned long, char const*, ...)", [] {
        char out[128];
        (void)swprintf_s(out, sizeof out, "%s %d", kText, 1);
    });
    AddPlain(table, "wsprintfA(char*, char const*, ...)", [] {
        char out[128];
        (void)wsprintfA(out, "%s %d", kText, 1);
    });
    AddPlain(table, "lstrcmpW(char const*, char const*)", [] { (void)lstrcmpW(kText, kText); });
    const auto* const bytes = reinterpret_cast<const unsigned char*>(kText);
    AddPlain(table, "_mbsnbcmp(unsigned char const*, unsigned char const*, unsigned long)",
             [bytes] { (void)_mbsnbcmp(bytes, bytes, 10); });
    AddPlain(table, "wcsncmp(char const*, char const*, unsigned long)",
             [] { (void)wcsncmp(kText, kText, 10); });
    AddPlain(table, "_mbsicmp(unsigned char const*, unsigned char const*)",
             [bytes] { (void)_mbsicmp(bytes, bytes); });
}

}  // namespace

void AddTextOperations(Operations& table)
{
    AddStrings(table);
    AddTimes(table);
    AddExceptions(table);
    AddMutex(table);
    AddWindowsErrors(table);
    AddWindowsTexts(table);
}

}  // namespace qor::proof
