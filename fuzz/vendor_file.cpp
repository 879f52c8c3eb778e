// Vendor files: CVcFacReader against its rules taken one step at a time, over the plain INI model.
//   device to look up; then the file
#include <gtest/gtest.h>

#include <cstdlib>
#include <list>
#include <map>
#include <string>
#include <utility>

#include "config/IniModel.h"
#include "CVcFacReader.h"
#include "support/FuzzTarget.h"

namespace qor::fuzz {
namespace {

constexpr char kFile[] = "/opt/fuzz/vendors.ini";

using Vendors = std::map<std::string, std::pair<std::string, std::string>>;

Vendors SimpleModel(const test::IniReaderModel& file, const std::list<std::string>& sections)
{
    Vendors vendors;
    if (sections.empty())
        return vendors;
    const auto library = file.FindKey("DllName");
    const auto className = file.FindKey("ClassName");
    if (library && className)
        vendors.insert({sections.front(), {*library, *className}});
    return vendors;
}

Vendors MultiModel(const test::IniReaderModel& file, std::list<std::string> sections, int count)
{
    Vendors vendors;
    if (!sections.empty())
        sections.pop_front();
    for (int i = 0; i < count && !sections.empty(); ++i) {
        const std::string name = sections.front();
        const auto library = file.FindSection(name, "DllName");
        const auto className = file.FindSection(name, "ClassName");
        if (!library || !className)
            break;  // every further pass would fail at the same section
        vendors.insert({name, {*library, *className}});
        sections.pop_front();
    }
    return vendors;
}

Vendors Model()
{
    const test::IniReaderModel file(kFile);
    const std::list<std::string> sections = file.ListSection();
    const auto count = file.FindSection("SuportDevice", "SuportDeviceNum");
    if (!count)
        return SimpleModel(file, sections);
    const long number = std::strtol(count->c_str(), nullptr, 10);
    return MultiModel(file, sections, static_cast<int>(number));
}

Vendors Contents(CVcFacReader& reader)
{
    Vendors vendors;
    for (auto entry = reader.getIterator(); reader.hasNext(entry); ++entry)
        vendors.insert({entry->first, {entry->second->dllName, entry->second->className}});
    return vendors;
}

void CompareLookUp(CVcFacReader& reader, const Vendors& expected, const std::string& device)
{
    const auto entry = expected.find(device);
    const bool exists = entry != expected.end();
    EXPECT_EQ(exists, reader.isExist(device)) << Shown(device);

    const auto found = reader.find(device);
    ASSERT_EQ(exists, reader.hasNext(found)) << Shown(device);
    if (exists) {
        EXPECT_EQ(entry->second.first, found->second->dllName);
    }
}

}  // namespace

void TestInput(Input input)
{
    const std::string device = input.Text();
    const std::string content = input.Rest();
    PutFile(kFile, content);

    const Vendors expected = Model();
    CVcFacReader reader(kFile);
    reader.parse();
    EXPECT_EQ(expected, Contents(reader)) << Shown(content);
    CompareLookUp(reader, expected, device);
    for (const auto& vendor : expected)
        CompareLookUp(reader, expected, vendor.first);

    reader.parse();
    EXPECT_EQ(expected, Contents(reader)) << "The second time adds nothing.";
}

}  // namespace qor::fuzz
