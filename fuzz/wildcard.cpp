// Wildcards, versions, trimming and the other text helpers against loops over single characters.
//   pattern, name, two versions, delimiters, text; then the version file
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <list>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CFileUtility.h"
#include "config/IniModel.h"
#include "CStringUtil.h"
#include "object/TextRecordModel.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"
#include "winapi.h"

namespace qor::fuzz {
namespace {

constexpr char kVersionFile[] = "/opt/velmora/qor/etc/qorversion.ver";
constexpr const char* kSections[] = {"Integrated",    "CLI",         "SOM",
                                     "UpdateManager", "QORProvider", "VendorModule"};
constexpr int kMostTargets = 40;  // each is looked up, whether it is there or not

using Strings = std::list<std::string>;
__extension__ typedef __int128 Wide;  // holds the difference of any two longs
using Versions = std::list<std::pair<std::string, std::string>>;

// No value stands for an exception.
std::optional<bool> MatchModel(const std::string& pattern, const std::string& name)
{
    const auto star = pattern.find('*');
    if (star == 0) {
        const std::string rest = pattern.substr(1);
        for (std::size_t i = 0; i + rest.size() <= name.size(); ++i) {
            if (name.substr(i, rest.size()) == rest)
                return true;
        }
        return false;
    }
    if (star != std::string::npos)
        return name.substr(0, star - 1) == pattern;

    const auto mark = pattern.find('?');
    if (mark == std::string::npos)
        return name == pattern;
    if (mark > name.size())
        return std::nullopt;
    std::size_t run = 0;
    while (mark + run < pattern.size() && pattern[mark + run] == '?')
        ++run;
    const std::string rest = mark + run < name.size() ? name.substr(mark + run) : "";
    return name.substr(0, mark) + std::string(run, '?') + rest == pattern;
}

std::optional<bool> LibraryMatch(const std::string& pattern, const std::string& name)
{
    try {
        return CFileUtility::isMatch(pattern, name);
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

Strings SplitModel(const std::string& text, const std::string& delimiters)
{
    Strings pieces;
    std::string piece;
    for (const char c : text + delimiters.substr(0, 1)) {
        if (delimiters.find(c) == std::string::npos) {
            piece += c;
        } else if (!piece.empty()) {
            pieces.push_back(piece);
            piece.clear();
        }
    }
    if (!piece.empty())
        pieces.push_back(piece);
    return pieces;
}

// b - a at the first difference, of any size.
Wide DifferenceModel(const std::string& a, const std::string& b)
{
    const Strings piecesA = SplitModel(a, ".");
    const Strings piecesB = SplitModel(b, ".");
    const std::vector<std::string> numbersA(piecesA.begin(), piecesA.end());
    const std::vector<std::string> numbersB(piecesB.begin(), piecesB.end());
    for (std::size_t i = 0; i < numbersA.size() || i < numbersB.size(); ++i) {
        const long x = i < numbersA.size() ? std::strtol(numbersA[i].c_str(), nullptr, 10) : 0;
        const long y = i < numbersB.size() ? std::strtol(numbersB[i].c_str(), nullptr, 10) : 0;
        if (x != y)
            return static_cast<Wide>(y) - x;
    }
    return 0;
}

void CompareVersions(const std::string& a, const std::string& b)
{
    const Wide difference = DifferenceModel(a, b);
    const int result = CFileUtility::CheckFileVersion(a, b);
    if (difference > INT_MAX || difference < INT_MIN) {
        EXPECT_EQ(difference > 0, result > 0) << Shown(a) << ", " << Shown(b);
    } else {
        EXPECT_EQ(static_cast<int>(difference), result) << Shown(a) << ", " << Shown(b);
    }
}

// The file's lists by section; nothing when one of them is too long to be looked up in passing.
std::optional<std::vector<Versions>> VersionsModel(const std::string& content)
{
    const test::IniReaderModel file(kVersionFile);
    const auto text = [&](const std::string& section, const std::string& key) {
        return file.FindSection(section, key).value_or("");
    };
    std::vector<Versions> lists;
    for (const char* const section : kSections) {
        lists.emplace_back();
        if (content.find(section) == std::string::npos)
            continue;  // no header can open it
        const long count = std::strtol(text(section, "TargetNum").c_str(), nullptr, 10);
        if (static_cast<int>(count) > kMostTargets)
            return std::nullopt;
        for (int i = 1; i <= static_cast<int>(count); ++i) {
            lists.back().emplace_back(text(section, "TargetName" + std::to_string(i)),
                                      text(section, "Version" + std::to_string(i)));
        }
    }
    return lists;
}

void CompareVersionFile(const std::string& path, const std::string& content)
{
    PutFile(kVersionFile, content);
    const auto lists = VersionsModel(content);
    if (!lists)
        return;

    const std::string name =
        path.substr(path.rfind('/') == std::string::npos ? 0 : path.rfind('/') + 1);
    std::optional<std::string> expected;
    for (std::size_t i = 0; i < lists->size(); ++i) {
        Versions versions;
        CFileUtility::MakeVersionList(kSections[i], versions);
        EXPECT_EQ((*lists)[i], versions) << Shown(content);
        for (const auto& [target, version] : (*lists)[i]) {
            if (!expected && target == name)
                expected = version;
        }
    }
    EXPECT_EQ(expected.value_or(""), CFileUtility::GetFileVersion(path)) << Shown(content);
}

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

char Upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

int OrderModel(const std::string& a, const std::string& b)
{
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        const auto x = static_cast<unsigned char>(Lower(a[i]));
        const auto y = static_cast<unsigned char>(Lower(b[i]));
        if (x != y)
            return x < y ? -1 : 1;
    }
    return static_cast<int>(a.size()) - static_cast<int>(b.size());
}

int LengthOrderModel(const std::string& a, const std::string& b)
{
    if (a.size() != b.size())
        return a.size() > b.size() ? 1 : -1;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (Lower(a[i]) != Lower(b[i]))
            return -1;
    }
    return 0;
}

void CompareOrders(const std::string& a, const std::string& b)
{
    const int order = OrderModel(a, b);
    EXPECT_EQ(order, CStringUtil::CompareIgnoreCase(a, b)) << Shown(a) << ", " << Shown(b);
    EXPECT_EQ(order == 0, CStringUtil::TstringCmpIgnore(a, b));
    EXPECT_EQ(order == 0, CStringUtil::StringCmpIgnore(a, b));

    const std::string cA = a.c_str();
    const std::string cB = b.c_str();
    EXPECT_EQ(LengthOrderModel(cA, cB),
              _mbsicmp(reinterpret_cast<const unsigned char*>(cA.c_str()),
                       reinterpret_cast<const unsigned char*>(cB.c_str())))
        << Shown(cA) << ", " << Shown(cB);
}

void ComparePieces(std::string text, const std::string& delimiters)
{
    const std::string before = text;
    const Strings expected = SplitModel(text, delimiters);
    EXPECT_EQ(expected, CStringUtil::Split(text, delimiters)) << Shown(text);
    EXPECT_EQ(SplitModel(text, "."), CStringUtil::SplitByDot(text)) << Shown(text);
    EXPECT_EQ(before, text);

    std::string joined;
    for (const std::string& piece : expected)
        joined += (joined.empty() ? "" : ", ") + piece;
    EXPECT_EQ(joined, CStringUtil::TstringListToTstring(expected));
}

void CompareCases(const std::string& text)
{
    std::string lower;
    std::string upper;
    std::string capitalized;
    for (const char c : text) {
        lower += Lower(c);
        upper += Upper(c);
        capitalized += capitalized.empty() ? Upper(c) : Lower(c);
    }
    EXPECT_EQ(lower, CStringUtil::StringToLowerCase(text));
    EXPECT_EQ(upper, CStringUtil::StringToUpperCase(text));
    EXPECT_EQ(capitalized, CStringUtil::StringToCapitalize(text));
}

void CompareReplacing(const std::string& text, const std::string& from, const std::string& to)
{
    std::string expected = text;
    if (!from.empty())
        test::model::Replace(expected, from, to);
    std::string replaced = text;
    CStringUtil::strReplace(replaced, from, to);
    EXPECT_EQ(expected, replaced) << Shown(from) << " in " << Shown(text);
}

void CompareTexts(const std::string& text)
{
    std::string trimmed = text;
    while (!trimmed.empty() && trimmed.back() == ' ')
        trimmed.pop_back();
    std::string out = "former";
    CStringUtil::strTrim(text, out);
    EXPECT_EQ(trimmed, out) << Shown(text);

    const auto dot = text.find('.');
    CStringUtil::DllNameToSoName(text, out);
    EXPECT_EQ("libqorp_" + text.substr(0, dot) + ".so", out);
    const auto last = text.rfind('.');
    EXPECT_EQ(last == std::string::npos ? "" : text.substr(0, last),
              CFileUtility::RemoveFileExtension(text));

    std::istringstream stream(text);
    std::int64_t number = 0;
    stream >> number;  // without digits 0, out of range the nearest
    EXPECT_EQ(number, CStringUtil::TStringToNumber(text)) << Shown(text);
}

}  // namespace

void Prepare()
{
    test::MakeDirs("/opt/velmora/qor/etc");
}

void TestInput(Input input)
{
    const std::string pattern = input.Line();
    const std::string name = input.Line();
    const std::string versionA = input.Line();
    const std::string versionB = input.Line();
    const std::string delimiters = input.Line();
    const std::string text = input.Line();
    const std::string content = input.Rest();

    EXPECT_EQ(MatchModel(pattern, name), LibraryMatch(pattern, name))
        << Shown(pattern) << ", " << Shown(name);
    CompareVersions(versionA, versionB);
    CompareOrders(pattern, name);
    CompareOrders(versionA, versionB);
    ComparePieces(text, delimiters);
    CompareCases(text);
    CompareReplacing(text, delimiters, pattern);
    CompareTexts(text);
    CompareTexts(versionA);
    CompareVersionFile(name, content);
}

}  // namespace qor::fuzz
