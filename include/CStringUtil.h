// CStringUtil.h - helpers for the narrow strings that the whole suite uses.
//
//     CStringUtil::SplitByDot(version);               // "1.2.3" gives "1", "2", "3"
//     CStringUtil::DllNameToSoName("Raid.dll", so);    // so is "libqorp_Raid.so"
//
// A text string, a T-string and a BSTR are all the same narrow byte string on this platform.
// A letter is an ASCII letter, whatever the process's locale. Spaces are 0x20 only.
//
// Threads: no state; every function may be called from any thread. Only std::bad_alloc is thrown.
#ifndef QOR_CSTRINGUTIL_H
#define QOR_CSTRINGUTIL_H

#include <cstdint>
#include <list>
#include <string>

#include "QorExport.h"

class QOR_API CStringUtil
{
public:
    /// Intended: does nothing and returns 1; `out` is not written. Use `in` as it is: narrow text
    /// needs no conversion.
    static int AsciiToBSTR(std::string in, char** out);

    /// Intended: does nothing and returns 1; `out` is not written. Use `in` as it is.
    static int BSTRToAscii(char* in, std::string* out);

    /// Returns an unchanged copy.
    static std::string TstringToString(std::string text);

    /// Returns an unchanged copy.
    static std::string StringToTstring(std::string text);

    /// "true" or "false".
    static std::string BoolToTstring(bool value);

    /// Replaces every occurrence of `from` in `text` by `to`, left to right, in place. Replaced
    /// text is not searched again: "a" by "aa" turns "aa" into "aaaa". An empty `from` changes
    /// nothing.
    static void strReplace(std::string& text, const std::string& from, const std::string& to);

    /// Sets `out` to `in` without its trailing spaces. Tabs, line ends and leading spaces stay.
    static void strTrim(std::string in, std::string& out);

    /// Joins the items with ", ".
    ///
    /// Intended: the separator goes before an item only when there is text already, so leading
    /// empty items vanish ("", "a" gives "a") while later ones stay ("a", "", "b" gives
    /// "a, , b").
    static std::string TstringListToTstring(std::list<std::string> items);

    /// Splits `text` at every byte that occurs in `delimiters`.
    ///
    /// Intended: empty pieces are dropped: "..a..b." at "." gives "a", "b". `text` is not changed.
    static std::list<std::string> Split(std::string& text, const std::string& delimiters);

    /// Split at ".": the numbers of a version text. A temporary does not bind; pass a variable.
    static std::list<std::string> SplitByDot(std::string& text);

    /// A copy with every ASCII letter in lower case.
    static std::string StringToLowerCase(std::string text);

    /// A copy with every ASCII letter in upper case.
    static std::string StringToUpperCase(std::string text);

    /// A copy whose first byte is in upper case and every later letter in lower case:
    /// "hELLO wORLD" gives "Hello world".
    static std::string StringToCapitalize(std::string text);

    /// Sets `soName` to "libqorp_", `dllName` up to its first ".", and ".so".
    static void DllNameToSoName(std::string dllName, std::string& soName);

    /// Compares without regard to ASCII case: -1 or 1 by the first differing byte (unsigned).
    ///
    /// Intended: when one text is a leading part of the other the result is the difference of
    /// the lengths, length(a) - length(b), not just its sign. Test the sign only. Lengths that
    /// differ by 2 GiB or more do not fit: test for equality with TstringCmpIgnore.
    static int CompareIgnoreCase(std::string a, std::string b);

    /// True when both texts are equal without regard to ASCII case.
    static bool TstringCmpIgnore(std::string a, std::string b);

    /// The same result as TstringCmpIgnore.
    static bool StringCmpIgnore(std::string a, std::string b);

    /// Decimal text, "-" before negatives, no separators.
    static std::string NumberToTString(std::int64_t value);

    /// Reads a decimal number from the start of the text: leading white space, an optional sign,
    /// digits up to the first other byte ("  12abc" gives 12). Text without a number gives 0; a
    /// number beyond 64 bits gives the nearest representable one. No error is reported.
    static std::int64_t TStringToNumber(std::string text);
};

#endif  // QOR_CSTRINGUTIL_H
