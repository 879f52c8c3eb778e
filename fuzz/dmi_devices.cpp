// DMI and device lists: COsInfo's parsing of what dmidecode and the device script print, against
// the steps taken plainly. No command runs.
//   key; then the DMI text, "----", the script's output
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>

#include "COsInfo.h"
#include "support/FakeShell.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"

namespace qor::fuzz {
namespace {

constexpr char kCache[] = "/var/tmp/dmitmp";
constexpr char kList[] = "/opt/velmora/qor/etc/devices.tmp";
constexpr int kLineSize = 256;

struct Field {
    bool found;
    bool threw;
    std::string value;

    bool operator==(const Field& other) const
    {
        return found == other.found && threw == other.threw && value == other.value;
    }
};

std::ostream& operator<<(std::ostream& stream, const Field& field)
{
    return stream << (field.found ? "found " : "not found ") << (field.threw ? "threw " : "")
                  << Shown(field.value);
}

// The next line of at most 255 bytes up to its first NUL, without its line feed.
bool NextLine(std::FILE* file, std::string& line)
{
    char buffer[kLineSize] = {};
    if (std::fgets(buffer, kLineSize, file) == nullptr)
        return false;
    line = buffer;
    if (!line.empty() && line.back() == '\n')
        line.pop_back();
    return true;
}

// From the first letter on; "" without one.
std::string FromFirstLetter(const std::string& line)
{
    for (std::size_t i = 0; i < line.size(); ++i) {
        if ((line[i] >= 'a' && line[i] <= 'z') || (line[i] >= 'A' && line[i] <= 'Z'))
            return line.substr(i);
    }
    return "";
}

// One indented line of the section.
void TakeField(const std::string& line, const std::string& key, Field& field)
{
    const std::string text = FromFirstLetter(line);
    if (text.empty() || text.substr(0, key.size()) != key)
        return;
    const auto colon = text.find(':');
    if (colon == std::string::npos)
        return;
    if (colon + 1 == text.size()) {
        field.threw = true;
        return;
    }
    std::string value = text.substr(colon + 2);
    while (!value.empty() && value.back() == ' ')
        value.pop_back();
    field.value = value;
    field.found = true;
}

Field FieldModel(const std::string& key)
{
    Field field = {false, false, "former"};
    std::FILE* const file = std::fopen(kCache, "re");
    bool inSection = false;
    std::string line;
    while (!field.threw && NextLine(file, line)) {
        if (!inSection)
            inSection = line.substr(0, 18) == "System Information";
        else if (line.empty() || (line[0] != '\t' && line[0] != ' '))
            inSection = false;
        else
            TakeField(line, key, field);
    }
    (void)std::fclose(file);  // nothing was written
    if (field.threw)
        field.found = false;
    return field;
}

Field LibraryField(COsInfo& host, const std::string& key)
{
    Field field = {false, false, "former"};
    try {
        field.found = host.getDmiSystemInfo(key, field.value);
    } catch (const std::out_of_range&) {
        field.threw = true;
    }
    return field;
}

std::string UpperCase(std::string text)
{
    for (char& c : text) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

std::string ListModel(const std::string& output)
{
    std::string list;
    std::istringstream words(output);
    std::string first;
    while (words >> first) {
        std::string second;
        std::string third;
        words >> second;
        words >> third;
        if (first[0] >= '0' && first[0] <= '9')
            list += first + "-" + UpperCase(second) + "-" + UpperCase(third) + "\n";
    }
    return list;
}

// The constructor runs uname(1), which prints nothing here.
COsInfo& Host()
{
    static COsInfo host;
    return host;
}

}  // namespace

// Debug level 0: no record is written, no log made.
void Prepare()
{
    test::WriteFile("/opt/velmora/qor/som/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=0\n");
    test::MakeDirs("/opt/velmora/qor/etc");
    const FakeShell shell([](const std::string&) { return 0; });
    EXPECT_EQ("", Host().getName());
}

void TestInput(Input input)
{
    const std::string key = input.Text();
    const std::string table = input.Part();
    const std::string output = input.Rest();
    PutFile(kCache, table);
    for (const std::string& field : {key, std::string("UUID:"), std::string("Manufacturer:")})
        EXPECT_EQ(FieldModel(field), LibraryField(Host(), field))
            << Shown(field) << " in " << Shown(table);

    const FakeShell shell([&](const std::string& command) {
        PutFile(OutputFileOf(command).c_str(), output);
        return 0;
    });
    EXPECT_TRUE(Host().makeDeviceInfo());
    EXPECT_EQ(ListModel(output), test::ReadFile(kList)) << Shown(output);
}

}  // namespace qor::fuzz
