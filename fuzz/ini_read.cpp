// INI reading: CIniFileReader and the snapshot of many queries against the plain model.
//   section, key; then the file
#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "CIniFileReader.h"
#include "config/IniModel.h"
#include "config/IniSnapshot.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"

namespace qor::fuzz {
namespace {

using Value = std::optional<std::string>;

constexpr char kFile[] = "/opt/fuzz/a.ini";
constexpr char kFormer[] = "former";
constexpr std::size_t kMostNames = 2;  // taken from the file, beside the ones asked for

// A query's answer; one without must leave the caller's text alone.
template <typename Query>
Value Answer(Query query)
{
    std::string value = kFormer;
    if (query(value))
        return value;
    EXPECT_EQ(kFormer, value);
    return std::nullopt;
}

// What stands before the "=" of the first lines that have one.
std::vector<std::string> KeysOf(const std::string& content)
{
    std::vector<std::string> keys;
    std::istringstream lines(content);
    for (std::string line; keys.size() < kMostNames && std::getline(lines, line);) {
        const std::string before = line.substr(0, line.find('='));
        if (before.size() < line.size())
            keys.push_back(before.substr(0, before.find_last_not_of(' ') + 1).c_str());
    }
    return keys;
}

class Comparison
{
public:
    explicit Comparison(std::string content)
        : content_(std::move(content)),
          reader_(kFile),
          model_(kFile),
          snapshot_(test::ReadFile(kFile))
    {
    }

    std::list<std::string> Sections()
    {
        const std::list<std::string> expected = model_.ListSection();
        std::list<std::string> names{kFormer};
        reader_.list_section(names);
        EXPECT_EQ(expected, names) << Shown(content_);

        const auto& views = snapshot_.SectionNames();
        EXPECT_EQ(expected, std::list<std::string>(views.begin(), views.end())) << Shown(content_);
        return names;
    }

    void Key(const std::string& key)
    {
        EXPECT_EQ(model_.FindKey(key),
                  Answer([&](std::string& value) { return reader_.find_key(key, value); }))
            << Shown(key) << " in " << Shown(content_);
    }

    void Entry(const std::string& section, const std::string& key)
    {
        const Value expected = model_.FindSection(section, key);
        EXPECT_EQ(expected, Answer([&](std::string& value) {
                      return reader_.find_section(section, key, value);
                  }))
            << Shown(section) << ", " << Shown(key) << " in " << Shown(content_);

        const IniValue found = snapshot_.Find(section, key);
        EXPECT_EQ(expected, found ? Value(*found) : std::nullopt)
            << Shown(section) << ", " << Shown(key) << " in " << Shown(content_);
    }

private:
    std::string content_;
    CIniFileReader reader_;
    test::IniReaderModel model_;
    IniSnapshot snapshot_;
};

}  // namespace

void TestInput(Input input)
{
    const std::string section = input.Text();
    const std::string key = input.Text();
    const std::string content = input.Rest();
    PutFile(kFile, content);
    Comparison comparison(content);

    std::list<std::string> sections = comparison.Sections();
    sections.resize(std::min(sections.size(), kMostNames));
    comparison.Key(key);
    comparison.Entry(section, key);
    for (const std::string& other : KeysOf(content)) {
        comparison.Key(other);
        comparison.Entry(section, other);
    }
    for (const std::string& other : sections)
        comparison.Entry(other, key);
}

}  // namespace qor::fuzz
