#include "CVcFacReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Files.h"
#include "support/PrivateDiskTest.h"
#include "support/Text.h"
#include "support/Threads.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using Vendors = std::map<std::string, SVendorInfo*>;

static_assert(std::is_base_of<CIniFileReader, CVcFacReader>::value, "");
static_assert(!std::is_polymorphic<CVcFacReader>::value, "");
static_assert(std::is_constructible<CVcFacReader, std::string>::value, "");
static_assert(std::is_same<decltype(&CVcFacReader::parse), void (CVcFacReader::*)()>::value, "");
static_assert(std::is_same<decltype(&CVcFacReader::parseSimpleDeviceFile),
                           void (CVcFacReader::*)(std::string)>::value,
              "");
static_assert(std::is_same<decltype(&CVcFacReader::parseMultiDeviceFile),
                           void (CVcFacReader::*)(int, std::list<std::string>&)>::value,
              "");

template <typename Result, auto Operation, typename... Arguments>
constexpr bool kReturns =
    std::is_same<std::invoke_result_t<decltype(Operation), CVcFacReader&, Arguments...>,
                 Result>::value;

static_assert(kReturns<Vendors::iterator, &CVcFacReader::find, const std::string&>, "");
static_assert(kReturns<bool, &CVcFacReader::isExist, const std::string&>, "");
static_assert(kReturns<Vendors::iterator, &CVcFacReader::getIterator>, "");
static_assert(kReturns<bool, &CVcFacReader::hasNext, Vendors::iterator>, "");

static_assert(std::is_same<decltype(SVendorInfo::dllName), std::string>::value, "");
static_assert(std::is_same<decltype(SVendorInfo::className), std::string>::value, "");
static_assert(offsetof(SVendorInfo, dllName) < offsetof(SVendorInfo, className), "");

constexpr char kVendors[] = "/opt/vendors.ini";

// Three complete devices; put "[SuportDevice]" and a count in front.
constexpr char kThreeDevices[] =
    "[C]\nDllName=c.so\nClassName=CC\n"
    "[A]\nDllName=a.so\nClassName=CA\n"
    "[B]\nDllName=b.so\nClassName=CB\n";

std::string Index(const std::string& count)
{
    return "[SuportDevice]\nSuportDeviceNum=" + count + "\n";
}

// "name: dllName className" of each entry, in the order of iteration.
Strings Entries(CVcFacReader& reader)
{
    Strings entries;
    for (auto it = reader.getIterator(); reader.hasNext(it); ++it)
        entries.push_back(it->first + ": " + it->second->dllName + " " + it->second->className);
    return entries;
}

Strings EntriesOf(const std::string& content)
{
    WriteFile(kVendors, content);
    CVcFacReader reader(kVendors);
    reader.parse();
    return Entries(reader);
}

struct File {
    std::string content;
    Strings entries;
};

void ExpectEntries(const std::vector<File>& files)
{
    for (const File& file : files) {
        SCOPED_TRACE(testing::PrintToString(file.content));
        EXPECT_EQ(file.entries, EntriesOf(file.content));
    }
}

// Of files with three devices and another count.
struct Count {
    const char* count;
    Strings entries;
};

void ExpectEntriesOfThree(const std::vector<Count>& counts)
{
    for (const Count& c : counts)
        ExpectEntries({{Index(c.count) + kThreeDevices, c.entries}});
}

class CVcFacReaderTest : public PrivateDiskTest
{
};

TEST_F(CVcFacReaderTest, ReadsNothingBeforeItParses)
{
    WriteFile(kVendors, "[ArrayX]\nDllName=libx.so\nClassName=CX\n");
    CVcFacReader reader(kVendors);

    EXPECT_FALSE(reader.isOpen());
    EXPECT_EQ(Strings(), Entries(reader));
    EXPECT_FALSE(reader.isExist("ArrayX"));
}

TEST_F(CVcFacReaderTest, ReadsTheFileAsItIsWhenItParses)
{
    std::string path = kVendors;
    CVcFacReader reader(path);
    path = "/opt/other.ini";
    WriteFile(kVendors, "[ArrayX]\nDllName=libx.so\nClassName=CX\n");
    reader.parse();

    EXPECT_EQ(Strings({"ArrayX: libx.so CX"}), Entries(reader));
}

TEST_F(CVcFacReaderTest, ReadsTheOneDeviceOfASimpleFile)
{
    ExpectEntries({
        {"[ArrayX]\nDllName=libx.so\nClassName=CX\n", {"ArrayX: libx.so CX"}},
        {"[ArrayX]\nClassName=CX\nDllName=libx.so", {"ArrayX: libx.so CX"}},
        {"[Array X] \nDllName  =  lib x.so\nClassName =CX\n", {"Array X: lib x.so CX"}},
        {"[a]\nDllName=\nClassName=\n", {"a:  "}},
        {"[]\nDllName=d\nClassName=c\n", {": d c"}},
        {"[a]\r\nDllName=d\r\nClassName=c\r\n", {"a: d\r c\r"}},
        {"[a]b]\nDllName=d\nClassName=c\n", {"a]b: d c"}},
        {"[a\nDllName=d\nClassName=c\n", {"a\n: d c"}},
    });
}

TEST_F(CVcFacReaderTest, LooksForTheKeysOfASimpleFileInAllSectionsAndTakesTheFirst)
{
    ExpectEntries({
        {"DllName=d\nClassName=c\n[a]\n", {"a: d c"}},
        {"[a]\n[b]\nDllName=d\n[c]\nClassName=c\n", {"a: d c"}},
        {"[a]\nDllName=d\nDllName=e\nClassName=c\nClassName=f\n", {"a: d c"}},
        {"[a]\nClassName=c\n[b]\nDllName=d\nClassName=e\n", {"a: d c"}},
        {"[a]\nDllName=d\nClassName=c\n[b]\nDllName=e\nClassName=f\n", {"a: d c"}},
        {"; \n;DllName=x\n[a]\nDllName=d\nClassName=c\n", {"a: d c"}},
    });
}

TEST_F(CVcFacReaderTest, HasNoEntryForASimpleFileThatIsIncomplete)
{
    ExpectEntries({
        {"", {}},
        {"\n", {}},
        {"[ArrayX]\n", {}},
        {"[ArrayX]\nDllName=libx.so\n", {}},
        {"[ArrayX]\nClassName=CX\n", {}},
        {"[ArrayX]\ndllname=libx.so\nClassName=CX\n", {}},
        {"[ArrayX]\nDllName=libx.so\n\tClassName=CX\n", {}},
        {"DllName=libx.so\nClassName=CX\n", {}},
        {" [ArrayX]\nDllName=libx.so\nClassName=CX\n", {}},
    });
}

TEST_F(CVcFacReaderTest, TakesAFileForASimpleOneWhenTheIndexSectionHasNoCount)
{
    ExpectEntries({
        {"[SuportDevice]\n[a]\nDllName=d\nClassName=c\n", {"SuportDevice: d c"}},
        {"[SupportDevice]\nSuportDeviceNum=1\n[a]\nDllName=d\nClassName=c\n",
         {"SupportDevice: d c"}},
        {"[SuportDevice]\nSupportDeviceNum=1\n[a]\nDllName=d\nClassName=c\n",
         {"SuportDevice: d c"}},
        {"[suportdevice]\nSuportDeviceNum=1\n[a]\nDllName=d\nClassName=c\n", {"suportdevice: d c"}},
        {"[SuportDevice]\n;SuportDeviceNum=1\n[a]\nDllName=d\nClassName=c\n",
         {"SuportDevice: d c"}},
        {"SuportDeviceNum=1\n[a]\nSuportDeviceNum=1\nDllName=d\nClassName=c\n", {"a: d c"}},
    });
}

TEST_F(CVcFacReaderTest, TakesAsManyDevicesAsTheCountSaysInFileOrder)
{
    ExpectEntriesOfThree({
        {"1", {"C: c.so CC"}},
        {"2", {"A: a.so CA", "C: c.so CC"}},
        {"3", {"A: a.so CA", "B: b.so CB", "C: c.so CC"}},
        {"  2  ", {"A: a.so CA", "C: c.so CC"}},
        {"\t+2", {"A: a.so CA", "C: c.so CC"}},
        {"02", {"A: a.so CA", "C: c.so CC"}},
        {"1x", {"C: c.so CC"}},
        {"1.9", {"C: c.so CC"}},
        {"1\r", {"C: c.so CC"}},
        {"1;2", {"C: c.so CC"}},
        {"0x3", {}},
        {"0", {}},
        {"-1", {}},
        {"", {}},
        {"all", {}},
    });
}

TEST_F(CVcFacReaderTest, StopsAtTheLastSectionWhateverTheCount)
{
    for (const char* count : {"4", "1000", "2147483647"}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(Strings({"A: a.so CA", "B: b.so CB", "C: c.so CC"}),
                  EntriesOf(Index(count) + kThreeDevices));
        EXPECT_EQ(Strings(), EntriesOf(Index(count)));
    }
}

TEST_F(CVcFacReaderTest, CutsTheCountToAnInt)
{
    ExpectEntriesOfThree({
        {"4294967297", {"C: c.so CC"}},       // 2^32 + 1
        {"-4294967295", {"C: c.so CC"}},      // 1 - 2^32
        {"4294967296", {}},                   // 2^32
        {"2147483648", {}},                   // the smallest int
        {"9223372036854775807", {}},          // the largest long: -1
        {"99999999999999999999999999", {}},   // strtol(3): the largest long
        {"-99999999999999999999999999", {}},  // the smallest long: 0
    });
}

TEST_F(CVcFacReaderTest, ReadsNoDeviceFromAnIncompleteSectionOn)
{
    const std::string a = "[A]\nDllName=a.so\nClassName=CA\n";
    const std::string c = "[C]\nDllName=c.so\nClassName=CC\n";
    for (const char* count : {"3", "4", "2147483647"}) {
        const std::string index = Index(count);
        ExpectEntries({
            {index + "[B]\nClassName=CB\n" + a, {}},
            {index + "[B]\nDllName=b.so\n" + a, {}},
            {index + "[B]\n" + a, {}},
            {index + "[B]\n[D]\n", {}},
            {index + a + "[B]\nClassName=CB\n" + c, {"A: a.so CA"}},
            {index + a + "[B]\nDllName=b.so\n" + c, {"A: a.so CA"}},
            {index + a + "[B]\nDllName=b.so\n[D]\nClassName=CD\n" + c, {"A: a.so CA"}},
            {index + a + c + "[B]\n", {"A: a.so CA", "C: c.so CC"}},
        });
    }
}

TEST_F(CVcFacReaderTest, ReadsNoOtherKeyOfTheIndexSection)
{
    EXPECT_EQ(Strings({"A: a.so CA", "B: b.so CB"}),
              EntriesOf("[SuportDevice]\nDevice1=A\nDllName=x.so\nSuportDeviceNum=2\n"
                        "ClassName=CX\nSuportDeviceNum=3\n"
                        "[B]\nDllName=b.so\nClassName=CB\n"
                        "[A]\nClassName=CA\nother=1\nDllName=a.so\nDllName=z.so\n"
                        "[C]\nDllName=c.so\nClassName=CC\n"));
}

TEST_F(CVcFacReaderTest, PassesOverTheFirstSectionWhateverItIs)
{
    EXPECT_EQ(Strings({"B: b.so CB", "SuportDevice: s.so CS"}),
              EntriesOf("[A]\nDllName=a.so\nClassName=CA\n"
                        "[SuportDevice]\nSuportDeviceNum=2\nDllName=s.so\nClassName=CS\n"
                        "[B]\nDllName=b.so\nClassName=CB\n"));
    EXPECT_EQ(Strings(), EntriesOf("[A]\nDllName=a.so\nClassName=CA\n"
                                   "[SuportDevice]\nSuportDeviceNum=2\n"
                                   "[B]\nDllName=b.so\nClassName=CB\n"));
}

TEST_F(CVcFacReaderTest, CountsASectionThatOccursTwiceTwiceAndKeepsItsFirstEntry)
{
    const std::string devices =
        "[A]\nDllName=1.so\nClassName=C1\n"
        "[A]\nDllName=2.so\nClassName=C2\n"
        "[B]\nDllName=b.so\nClassName=CB\n";
    EXPECT_EQ(Strings({"A: 1.so C1"}), EntriesOf(Index("2") + devices));
    EXPECT_EQ(Strings({"A: 1.so C1", "B: b.so CB"}), EntriesOf(Index("3") + devices));
}

TEST_F(CVcFacReaderTest, IteratesInTheByteOrderOfTheNames)
{
    std::string content = Index("7");
    for (const char* name : {"\xff", "b", "B", "\x80", "_", "ab", "a"})
        content += std::string("[") + name + "]\nDllName=d\nClassName=c\n";
    EXPECT_EQ(
        Strings({"B: d c", "_: d c", "a: d c", "ab: d c", "b: d c", "\x80: d c", "\xff: d c"}),
        EntriesOf(content));
}

TEST_F(CVcFacReaderTest, FindsADeviceByItsExactNameOrTheEnd)
{
    WriteFile(kVendors, Index("3") + kThreeDevices);
    CVcFacReader reader(kVendors);
    reader.parse();

    const auto found = reader.find("B");
    ASSERT_TRUE(reader.hasNext(found));
    EXPECT_EQ("B", found->first);
    EXPECT_EQ("b.so", found->second->dllName);
    EXPECT_EQ("CB", found->second->className);
    EXPECT_TRUE(reader.isExist("B"));
    for (const char* name : {"b", "B ", " B", "", "BB", "D", "SuportDevice"}) {
        SCOPED_TRACE(testing::PrintToString(name));
        EXPECT_FALSE(reader.hasNext(reader.find(name)));
        EXPECT_FALSE(reader.isExist(name));
    }
    EXPECT_EQ(3U, Entries(reader).size());
}

TEST_F(CVcFacReaderTest, KeepsTheOldEntriesWhenItParsesAgain)
{
    WriteFile(kVendors, Index("1") + "[A]\nDllName=old.so\nClassName=Old\n");
    CVcFacReader reader(kVendors);
    reader.parse();
    const SVendorInfo* const old = reader.find("A")->second;

    reader.parse();
    EXPECT_EQ(Strings({"A: old.so Old"}), Entries(reader));

    WriteFile(kVendors, Index("2") +
                            "[A]\nDllName=new.so\nClassName=New\n"
                            "[B]\nDllName=b.so\nClassName=CB\n");
    reader.parse();
    EXPECT_EQ(Strings({"A: old.so Old", "B: b.so CB"}), Entries(reader));
    EXPECT_EQ(old, reader.find("A")->second);
}

TEST_F(CVcFacReaderTest, HasNoEntriesForAFileThatCannotBeRead)
{
    MakeDirs("/opt/directory");
    WriteFile("/opt/secret", "[ArrayX]\nDllName=libx.so\nClassName=CX\n");
    ASSERT_EQ(0, ::chmod("/opt/secret", 0));

    const WithoutPrivileges ordinary;
    for (const char* path : {"/opt/absent", "/opt/directory", "/opt/secret", ""}) {
        SCOPED_TRACE(path);
        CVcFacReader reader(path);
        reader.parse();
        EXPECT_EQ(Strings(), Entries(reader));
    }
}

TEST_F(CVcFacReaderTest, GivesAnOwnNameToTheDeviceOfASimpleFile)
{
    WriteFile(kVendors, "[ArrayX]\nDllName=libx.so\nClassName=CX\n");
    CVcFacReader reader(kVendors);
    reader.parseSimpleDeviceFile("Mine");
    reader.parseSimpleDeviceFile("");
    EXPECT_EQ(Strings({": libx.so CX", "Mine: libx.so CX"}), Entries(reader));

    WriteFile(kVendors, "DllName=new.so\nClassName=New\n");
    reader.parseSimpleDeviceFile("Mine");
    EXPECT_EQ(Strings({": libx.so CX", "Mine: libx.so CX"}), Entries(reader));
}

TEST_F(CVcFacReaderTest, TakesTheIndexAndTheDevicesThatItReadOffTheSectionList)
{
    static const struct {
        int count;
        std::list<std::string> before;
        std::list<std::string> after;
        Strings entries;
    } cases[] = {
        {2, {"any", "C", "A", "B"}, {"B"}, {"A: a.so CA", "C: c.so CC"}},
        {1, {"any", "C", "A", "B"}, {"A", "B"}, {"C: c.so CC"}},
        {0, {"any", "C", "A"}, {"C", "A"}, {}},
        {-1, {"any", "C", "A"}, {"C", "A"}, {}},
        {3, {"any", "A", "absent", "B"}, {"absent", "B"}, {"A: a.so CA"}},
        {3, {"any", "A", "A", "B"}, {}, {"A: a.so CA", "B: b.so CB"}},
        {2, {"any"}, {}, {}},
        {2, {}, {}, {}},
    };
    WriteFile(kVendors, kThreeDevices);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.before) + testing::PrintToString(c.count));
        CVcFacReader reader(kVendors);
        std::list<std::string> sections = c.before;
        reader.parseMultiDeviceFile(c.count, sections);
        EXPECT_EQ(c.after, sections);
        EXPECT_EQ(c.entries, Entries(reader));
    }
}

TEST_F(CVcFacReaderTest, AnswersSeveralThreadsOnceItHasParsed)
{
    WriteFile(kVendors, Index("3") + kThreeDevices);
    CVcFacReader reader(kVendors);
    reader.parse();

    OnThreads(4, [&reader](std::size_t) {
        for (int round = 0; round < 1000; ++round) {
            EXPECT_EQ("a.so", reader.find("A")->second->dllName);
            EXPECT_FALSE(reader.isExist("D"));
        }
    });
}

}  // namespace
}  // namespace qor::test
