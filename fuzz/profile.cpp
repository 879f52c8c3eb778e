// Profile strings: the functions with Windows names against steps as plain as can be. Buffers are
// exactly as long as the functions ask for.
//   section, key, default, size, number, text to write; then the file
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "config/IniModel.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"
#include "winapi.h"

namespace qor::fuzz {
namespace {

constexpr char kFile[] = "/opt/fuzz/a.ini";
constexpr std::size_t kLongestValue = 255;  // and the longest default of a W function
constexpr std::size_t kLargestBuffer = 600;
constexpr char kUntouched = '\x7e';

struct Query {
    std::string section;
    std::string key;
    std::string fallback;
};

std::string TextModel(const Query& query)
{
    const auto value = test::IniReaderModel(kFile).FindSection(query.section, query.key);
    return value ? *value : query.fallback;
}

// At most `size` bytes; a shorter text is padded with NULs.
std::string BufferModel(const std::string& text, std::size_t size)
{
    std::string buffer;
    for (std::size_t i = 0; i < size; ++i)
        buffer += i < text.size() ? text[i] : '\0';
    return buffer;
}

int NumberModel(const Query& query, int fallback)
{
    const std::string text = TextModel({query.section, query.key, std::to_string(fallback)});
    if (text.empty())
        return fallback;
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

// In the C locale a byte above 127 is no text, and ends the conversion.
std::wstring WideModel(const std::string& text)
{
    std::wstring wide;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) > 127)
            break;
        wide += static_cast<wchar_t>(c);
    }
    return wide;
}

std::string TrimModel(std::string text)
{
    while (!text.empty() && text.front() == ' ')
        text.erase(text.begin());
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

void CompareStrings(const Query& query, std::size_t size)
{
    std::vector<char> buffer(size, kUntouched);
    char none = kUntouched;
    const auto result =
        GetPrivateProfileStringA(query.section.c_str(), query.key.c_str(), query.fallback.c_str(),
                                 size == 0 ? &none : buffer.data(), size, kFile);
    EXPECT_EQ(0U, result);
    EXPECT_EQ(BufferModel(TextModel(query), size), std::string(buffer.begin(), buffer.end()))
        << Shown(query.section) << ", " << Shown(query.key);
    EXPECT_EQ(kUntouched, none);
}

void CompareWideStrings(const Query& query, std::size_t size)
{
    const std::string text =
        TextModel({query.section, query.key, query.fallback.substr(0, kLongestValue)});
    std::vector<wchar_t> buffer(text.size() + 1, L'\x7e');
    const auto result =
        GetPrivateProfileStringW(query.section.c_str(), query.key.c_str(), query.fallback.c_str(),
                                 reinterpret_cast<char*>(buffer.data()), size, kFile);
    EXPECT_EQ(0U, result);
    const std::wstring expected = WideModel(text);
    ASSERT_LT(expected.size(), buffer.size());
    // By memcmp(3): memcheck takes the vectors of wmemcmp(3) for reads past the text.
    EXPECT_TRUE(std::equal(expected.c_str(), expected.c_str() + expected.size() + 1, buffer.data()))
        << Shown(text);
}

void CompareNumbers(const Query& query, int fallback)
{
    EXPECT_EQ(NumberModel(query, fallback),
              GetPrivateProfileIntA(query.section.c_str(), query.key.c_str(), fallback, kFile));
    EXPECT_EQ(NumberModel(query, fallback),
              GetPrivateProfileIntW(query.section.c_str(), query.key.c_str(), fallback, kFile));
}

void CompareWriting(const Query& query, const std::string& value, const std::string& content)
{
    for (const auto write : {WritePrivateProfileStringA, WritePrivateProfileStringW}) {
        PutFile(kFile, content);
        EXPECT_TRUE(write(query.section.c_str(), query.key.c_str(), value.c_str(), kFile));
        EXPECT_EQ(test::AppendModel(content, query.section, query.key, value),
                  test::ReadFile(kFile));
    }
}

void CompareTrimming(std::string text)
{
    const std::string before = text;
    const std::unique_ptr<char, decltype(&std::free)> trimmed(Trim(text.data()), &std::free);
    EXPECT_EQ(TrimModel(before), trimmed.get());
    EXPECT_EQ(before, text);
}

}  // namespace

void TestInput(Input input)
{
    Query query;
    query.section = input.Text();
    query.key = input.Text();
    query.fallback = input.Text();
    const auto size = static_cast<std::size_t>(input.Number()) % kLargestBuffer;
    const auto number = static_cast<int>(input.Number());
    const std::string value = input.Text();
    const std::string content = input.Rest();

    PutFile(kFile, content);
    CompareStrings(query, size);
    CompareWideStrings(query, size);
    CompareNumbers(query, number);
    CompareTrimming(query.fallback);
    CompareWriting(query, value, content);
}

}  // namespace qor::fuzz
