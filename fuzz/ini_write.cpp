// INI writing and reading back: CIniFileWriter against the plain model; in a file without
// surprises, what was written must be what is read.
//   section, key, value; then the file
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "config/IniModel.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"

namespace qor::fuzz {
namespace {

constexpr char kFile[] = "/opt/fuzz/a.ini";
constexpr std::size_t kPiece = 255;

struct Entry {
    std::string section;
    std::string key;
    std::string value;
};

// A word of letters and digits.
bool IsWord(const std::string& text)
{
    return text.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789") ==
           std::string::npos;
}

bool IsPlain(const Entry& entry)
{
    return IsWord(entry.section) && IsWord(entry.key) && IsWord(entry.value) &&
           entry.section.size() + 3 <= kPiece &&
           entry.key.size() + entry.value.size() + 2 <= kPiece;
}

// Nothing but headers of different words, entries of two words, comments without "[", and empty
// lines.
bool IsPlain(const std::string& content)
{
    if (!content.empty() && content.back() != '\n')
        return false;

    std::set<std::string> sections;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        const bool isHeader = line.size() > 1 && line.front() == '[' && line.back() == ']' &&
                              IsWord(line.substr(1, line.size() - 2));
        const bool isEntry = equals != std::string::npos && IsWord(line.substr(0, equals)) &&
                             IsWord(line.substr(equals + 1));
        const bool isComment = !line.empty() && line.front() == ';' &&
                               line.find_first_of(std::string("[\0", 2)) == std::string::npos;
        if (line.size() >= kPiece || !(line.empty() || isHeader || isEntry || isComment))
            return false;
        if (isHeader && !sections.insert(line).second)
            return false;
    }
    return true;
}

std::optional<std::string> ReadBack(const Entry& entry)
{
    std::string value;
    if (!CIniFileReader(kFile).find_section(entry.section, entry.key, value))
        return std::nullopt;
    return value;
}

// The file's bytes after one update.
std::string Write(const Entry& entry)
{
    CIniFileWriter writer(kFile);
    EXPECT_TRUE(writer.append(entry.section, entry.key, entry.value));
    return test::ReadFile(kFile);
}

void Compare(const std::optional<std::string>& content, const Entry& entry)
{
    if (content)
        PutFile(kFile, *content);
    else
        test::RemoveTree(kFile);

    const std::string before = content ? *content : "";
    const std::string after = Write(entry);
    EXPECT_EQ(test::AppendModel(content, entry.section, entry.key, entry.value), after)
        << Shown(entry.section) << ", " << Shown(entry.key) << " into " << Shown(before);
    EXPECT_EQ(test::IniReaderModel(kFile).FindSection(entry.section, entry.key), ReadBack(entry))
        << Shown(entry.section) << ", " << Shown(entry.key) << " in " << Shown(after);
    if (!IsPlain(entry) || !IsPlain(before))
        return;

    EXPECT_EQ(entry.value, ReadBack(entry)) << Shown(after);
    EXPECT_TRUE(IsPlain(after)) << Shown(after);
    EXPECT_EQ(after, Write(entry)) << "The second time it must change nothing.";
}

}  // namespace

void TestInput(Input input)
{
    Entry entry;
    entry.section = input.Text();
    entry.key = input.Text();
    entry.value = input.Text();
    const std::string content = input.Rest();

    Compare(content, entry);
    if (content.empty())
        Compare(std::nullopt, entry);
}

}  // namespace qor::fuzz
