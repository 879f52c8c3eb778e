#include "CMofReader.h"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Files.h"
#include "support/PrivateDiskTest.h"
#include "support/Text.h"

namespace qor::test {
namespace {

using Texts = Strings;

static_assert(std::is_base_of<CIniFileReader, CMofReader>::value, "");
static_assert(!std::is_polymorphic<CMofReader>::value, "");
static_assert(std::is_copy_constructible<CMofContents>::value, "");
static_assert(std::is_copy_assignable<CMofContents>::value, "");

constexpr char kFile[] = "/opt/providers.ini";

// The required keys, in the order in which they are read.
const Texts kKeys = {"ProviderKind", "LibName",   "ClassName",
                     "ClassKind",    "ClassMode", "SpecificFile"};

// The message of the exception that `function` throws, or "" when it returns.
std::string MessageOf(const std::function<void()>& function)
{
    try {
        function();
    } catch (CTraceException* thrown) {
        const std::unique_ptr<CTraceException> owned(thrown);
        return owned->CException::what();
    }
    return "";
}

class CMofReaderTest : public PrivateDiskTest
{
protected:
    static void Write(const std::string& text) { WriteFile(kFile, text); }

    // A complete section [Provider<number>], whose values begin with `name`.
    static std::string Provider(int number, const std::string& name, const std::string& more = "")
    {
        std::string section = "[Provider" + std::to_string(number) + "]\n";
        for (const std::string& key : kKeys)
            section += key + "=" + name + key + "\n";
        return section + more;
    }

    static std::string Common(const std::string& count)
    {
        return "[Common]\nNumProvider=" + count + "\n";
    }

    // The only record of a file in which one key of the only provider has that value.
    static CMofContents RecordWith(const std::string& key, const std::string& value)
    {
        std::string section = "[Provider1]\n" + key + "=" + value + "\n";
        for (const std::string& other : kKeys) {
            if (other != key)
                section += other + "=x\n";
        }
        Write(Common("1") + section);
        return Records(Parsed()).at(0);
    }

    static CMofReader Parsed()
    {
        CMofReader reader(kFile);
        EXPECT_TRUE(reader.ParseContents());
        return reader;
    }

    static std::vector<CMofContents> Records(CMofReader reader)
    {
        std::vector<CMofContents> records;
        reader.GetMofContents(records);
        return records;
    }

    static Texts ClassNames(const CMofReader& reader)
    {
        Texts names;
        for (const CMofContents& record : Records(reader))
            names.push_back(record.className);
        return names;
    }
};

TEST_F(CMofReaderTest, ReadsEveryKey)
{
    Write(Common("1") +
          "[Provider1]\n"
          "ProviderKind=inventory\n"
          "LibName=/opt/velmora/qor/provider/libqorp_Inventory.so\n"
          "ClassName=Inventory\n"
          "ClassKind=VELMORA_DevService\n"
          "ClassMode=FIXED_TOOL\n"
          "SpecificFile=inventory.dat\n"
          "MethodNum=2\n"
          "Method1=Get\n"
          "Method2=Refresh\n");

    const std::vector<CMofContents> records = Records(Parsed());

    ASSERT_EQ(1U, records.size());
    EXPECT_EQ("inventory", records[0].providerKind);
    EXPECT_EQ("/opt/velmora/qor/provider/libqorp_Inventory.so", records[0].libName);
    EXPECT_EQ("Inventory", records[0].className);
    EXPECT_EQ("inventory.dat", records[0].specificFile);
    EXPECT_EQ(1, records[0].classKind);
    EXPECT_EQ(2, records[0].classMode);
    EXPECT_EQ(0, records[0].status);
    EXPECT_EQ(Strings({"Get", "Refresh"}), records[0].methodNames);
}

TEST_F(CMofReaderTest, FindsMoreThanNineProviders)
{
    std::string text = Common("12");
    for (int i = 12; i >= 1; --i)
        text += Provider(i, std::to_string(i));
    Write(text);

    const Texts names = ClassNames(Parsed());

    ASSERT_EQ(12U, names.size());
    EXPECT_EQ("1ClassName", names.front());
    EXPECT_EQ("10ClassName", names[9]);
    EXPECT_EQ("12ClassName", names.back());
}

TEST_F(CMofReaderTest, IgnoresOtherSectionsAndKeys)
{
    Write("ClassName=none\n[Other]\nNumProvider=9\n" + Common("1") + "Note=x\n" +
          Provider(1, "a", "Extra=1\nmethodnum=3\n") + Provider(2, "beyond") + "[Provider01]\n");
    EXPECT_EQ(Strings({"aClassName"}), ClassNames(Parsed()));
}

TEST_F(CMofReaderTest, MapsTheClassKind)
{
    static const struct {
        const char* text;
        int kind;
    } cases[] = {
        {"VELMORA_DevService", 1},
        {"VELMORA_ToolService", 2},
        {"  VELMORA_DevService", 1},
        {"VELMORA_DevService ", 0},
        {"VELMORA_DevService\r", 0},
        {"VELMORA_ToolService\t", 0},
        {"VELMORA_ToolService2", 0},
        {"VELMORA_DevServic", 0},
        {"velmora_devservice", 0},
        {"1", 0},
        {"other", 0},
        {"", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(c.kind, RecordWith("ClassKind", c.text).classKind);
    }
}

TEST_F(CMofReaderTest, MapsTheClassModeAndNeverToZero)
{
    static const struct {
        const char* text;
        int mode;
    } cases[] = {
        {"FIXED_DEV", 1},
        {"FIXED_TOOL", 2},
        {"   FIXED_TOOL", 2},
        {"FIXED_DEV ", 128},
        {"FIXED_DEV\r", 128},
        {"FIXED_TOO", 128},
        {"FIXED_TOOLS", 128},
        {"fixed_dev", 128},
        {"dynamic", 128},
        {"0", 128},
        {"", 128},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(c.mode, RecordWith("ClassMode", c.text).classMode);
    }
}

TEST_F(CMofReaderTest, KeepsTextsAsRead)
{
    static const struct {
        const char* value;
        const char* text;
    } cases[] = {
        {"x", "x"},     {"", ""},           {"   x  ", "x  "}, {"x\r", "x\r"},
        {"\tx", "\tx"}, {"a=b;c", "a=b;c"}, {"a\\b", "a\\b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.value));
        EXPECT_EQ(c.text, RecordWith("ProviderKind", c.value).providerKind);
        EXPECT_EQ(c.text, RecordWith("LibName", c.value).libName);
        EXPECT_EQ(c.text, RecordWith("ClassName", c.value).className);
        EXPECT_EQ(c.text, RecordWith("SpecificFile", c.value).specificFile);
    }
}

TEST_F(CMofReaderTest, CountsProviders)
{
    static const struct {
        std::string text;
        int count;
    } cases[] = {
        {"", 0},
        {"NumProvider=3\n", 0},
        {"[Common]\n", 0},
        {"[common]\nNumProvider=3\n", 0},
        {"[Common]\nnumprovider=3\n", 0},
        {Common("3"), 3},
        {Common("  3 providers"), 3},
        {Common("007"), 7},
        {Common("-2"), -2},
        {Common("abc"), 0},
        {Common(""), 0},
        {Common("2147483647"), 2147483647},
        {Common("4294967297"), 1},  // cut to int
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Write(c.text);
        EXPECT_EQ(c.count, CMofReader(kFile).GetProviderCount());
    }
}

TEST_F(CMofReaderTest, CountsNoProvidersInAMissingFile)
{
    CMofReader reader("/opt/missing.ini");
    EXPECT_EQ(0, reader.GetProviderCount());
    EXPECT_FALSE(reader.isOpen());
}

TEST_F(CMofReaderTest, ParsesAFileWithoutProviders)
{
    for (const char* const text : {"", "[Common]\n", "[Common]\nNumProvider=0\n",
                                   "[Common]\nNumProvider=-1\n", "[Common]\nNumProvider=none\n"}) {
        SCOPED_TRACE(text);
        Write(text + Provider(1, "a"));
        EXPECT_EQ(Strings(), ClassNames(Parsed()));
    }
    RemoveTree(kFile);
    EXPECT_EQ(Strings(), ClassNames(Parsed()));
}

TEST_F(CMofReaderTest, ReadsNothingBeforeItParses)
{
    CMofReader reader(kFile);
    EXPECT_EQ(Strings(), ClassNames(reader));
    Write(Common("1") + Provider(1, "a"));
    EXPECT_EQ(Strings(), ClassNames(reader));

    EXPECT_TRUE(reader.ParseContents());

    EXPECT_EQ(Strings({"aClassName"}), ClassNames(reader));
}

TEST_F(CMofReaderTest, KeepsItsRecordsWhenTheFileIsGone)
{
    Write(Common("1") + Provider(1, "a"));
    CMofReader reader = Parsed();
    RemoveTree(kFile);
    CMofContents contents;
    EXPECT_TRUE(reader.GetProviderInfo("aClassName", contents));
    EXPECT_EQ("aLibName", contents.libName);
}

TEST_F(CMofReaderTest, ThrowsForEachMissingKey)
{
    for (const std::string& missing : kKeys) {
        SCOPED_TRACE(missing);
        std::string section = "[Provider1]\n";
        for (const std::string& key : kKeys)
            section += key == missing ? "" : key + "=x\n";
        Write(Common("1") + section);
        CMofReader reader(kFile);
        EXPECT_EQ(missing + " Not Found", MessageOf([&] { reader.ParseContents(); }));
        EXPECT_EQ(Strings(), ClassNames(reader));
    }
}

TEST_F(CMofReaderTest, ReadsTheKeysInTheirOrder)
{
    std::string section = "[Provider1]\nMethodNum=1\n";
    for (const std::string& key : kKeys) {
        Write(Common("1") + section);
        CMofReader reader(kFile);
        EXPECT_EQ(key + " Not Found", MessageOf([&] { reader.ParseContents(); }));
        section += key + "=x\n";
    }
    Write(Common("1") + section);
    CMofReader reader(kFile);
    EXPECT_EQ("Method1 Not Found", MessageOf([&] { reader.ParseContents(); }));
}

TEST_F(CMofReaderTest, FindsKeysByTheirExactNames)
{
    Write(Common("1") + "[Provider1]\nProviderkind=x\n ProviderKind=x\nProviderKind2=x\n");
    CMofReader reader(kFile);
    EXPECT_EQ("ProviderKind Not Found", MessageOf([&] { reader.ParseContents(); }));
}

TEST_F(CMofReaderTest, KeepsTheProvidersBeforeTheFailingOne)
{
    Write(Common("4") + Provider(1, "a") + Provider(2, "b") + "[Provider3]\nProviderKind=x\n" +
          Provider(4, "d"));
    CMofReader reader(kFile);

    EXPECT_EQ("LibName Not Found", MessageOf([&] { reader.ParseContents(); }));

    EXPECT_EQ(Strings({"aClassName", "bClassName"}), ClassNames(reader));
}

TEST_F(CMofReaderTest, ThrowsForTheFirstMissingSection)
{
    Write(Common("2000000000") + Provider(1, "a"));
    CMofReader reader(kFile);

    EXPECT_EQ("ProviderKind Not Found", MessageOf([&] { reader.ParseContents(); }));

    EXPECT_EQ(Strings({"aClassName"}), ClassNames(reader));
}

TEST_F(CMofReaderTest, ThrowsExceptionsOfTheMessageAlone)
{
    Write(Common("1"));
    CMofReader reader(kFile);
    try {
        reader.ParseContents();
        FAIL() << "no exception";
    } catch (CTraceException* thrown) {
        const std::unique_ptr<CTraceException> owned(thrown);
        EXPECT_STREQ("unknown", owned->getFileName());
        EXPECT_STREQ("unknown", owned->getFunctionName());
        EXPECT_EQ(0, owned->getLineNumber());
    }
}

TEST_F(CMofReaderTest, ReadsTheMethodNames)
{
    static const struct {
        const char* lines;
        Texts names;
    } cases[] = {
        {"", {}},
        {"Method1=a\n", {}},
        {"MethodNum=0\nMethod1=a\n", {}},
        {"MethodNum=-1\nMethod1=a\n", {}},
        {"MethodNum=abc\nMethod1=a\n", {}},
        {"MethodNum=\nMethod1=a\n", {}},
        {"MethodNum=1\nMethod1=a\nMethod2=b\n", {"a"}},
        {"MethodNum=2\nMethod2=b\nMethod1=a\n", {"a", "b"}},
        {"MethodNum=2x\nMethod1= a \nMethod2=b\r\n", {"a ", "b\r"}},
        {"MethodNum=2\nMethod1=a\nMethod2=a\n", {"a", "a"}},
        {"MethodNum=1\nMethod1=\n", {""}},
        {"MethodNum=4294967297\nMethod1=a\n", {"a"}},  // cut to int
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines);
        Write(Common("1") + Provider(1, "x", c.lines));
        EXPECT_EQ(c.names, Records(Parsed()).at(0).methodNames);
    }
}

TEST_F(CMofReaderTest, ReadsMoreThanNineMethods)
{
    std::string lines = "MethodNum=12\n";
    for (int i = 12; i >= 1; --i)
        lines += "Method" + std::to_string(i) + "=m" + std::to_string(i) + "\n";
    Write(Common("1") + Provider(1, "x", lines));

    EXPECT_EQ(Strings({"m1", "m2", "m3", "m4", "m5", "m6", "m7", "m8", "m9", "m10", "m11", "m12"}),
              Records(Parsed()).at(0).methodNames);
}

TEST_F(CMofReaderTest, ThrowsForAMissingMethod)
{
    Write(Common("1") + Provider(1, "x", "MethodNum=3\nMethod1=a\nMethod2=b\nMethod03=c\n"));
    CMofReader reader(kFile);

    EXPECT_EQ("Method3 Not Found", MessageOf([&] { reader.ParseContents(); }));

    EXPECT_EQ(Strings(), ClassNames(reader));
}

TEST_F(CMofReaderTest, AppendsMethodNames)
{
    Write("[any]\nMethodNum=2\nMethod1=a\nMethod2=b\n");
    CMofReader reader(kFile);
    Texts names{"kept"};

    reader.GetMethodNames("any", names);
    reader.GetMethodNames("missing", names);

    EXPECT_EQ(Strings({"kept", "a", "b"}), names);
}

TEST_F(CMofReaderTest, KeepsTheMethodNamesBeforeTheMissingOne)
{
    Write("[any]\nMethodNum=3\nMethod1=a\nMethod3=c\n");
    CMofReader reader(kFile);
    Texts names{"kept"};

    EXPECT_EQ("Method2 Not Found", MessageOf([&] { reader.GetMethodNames("any", names); }));

    EXPECT_EQ(Strings({"kept", "a"}), names);
}

TEST_F(CMofReaderTest, GetsARequiredItem)
{
    Write("[any]\nkey=value\n");
    CMofReader reader(kFile);
    std::string value = "kept";

    reader.GetItem("any", "key", value);

    EXPECT_EQ("value", value);
}

TEST_F(CMofReaderTest, KeepsTheValueWhenAnItemIsMissing)
{
    Write("[any]\nkey=value\n");
    CMofReader reader(kFile);
    std::string value = "kept";

    EXPECT_EQ("Key Not Found", MessageOf([&] { reader.GetItem("any", "Key", value); }));
    EXPECT_EQ("key Not Found", MessageOf([&] { reader.GetItem("other", "key", value); }));
    EXPECT_EQ("100%s Not Found", MessageOf([&] { reader.GetItem("any", "100%s", value); }));
    EXPECT_EQ(" Not Found", MessageOf([&] { reader.GetItem("any", "", value); }));

    EXPECT_EQ("kept", value);
}

TEST_F(CMofReaderTest, FindsAProviderByItsClassName)
{
    Write(Common("2") + Provider(1, "a", "MethodNum=1\nMethod1=first\n") +
          Provider(2, "b", "MethodNum=2\nMethod1=one\nMethod2=two\n"));
    CMofReader reader = Parsed();
    CMofContents contents;

    EXPECT_TRUE(reader.GetProviderInfo("bClassName", contents));
    EXPECT_EQ("bLibName", contents.libName);
    EXPECT_EQ("bProviderKind", contents.providerKind);
    EXPECT_EQ("bSpecificFile", contents.specificFile);
    EXPECT_EQ(Strings({"one", "two"}), contents.methodNames);

    EXPECT_TRUE(reader.GetProviderInfo("aClassName", contents));
    EXPECT_EQ("aLibName", contents.libName);
    EXPECT_EQ(Strings({"first"}), contents.methodNames);
}

TEST_F(CMofReaderTest, LeavesTheRecordOfAnUnknownClassAlone)
{
    Write(Common("1") + Provider(1, "a"));
    CMofReader reader = Parsed();
    CMofContents contents;
    contents.libName = "kept";
    contents.classMode = 7;
    contents.status = 8;
    contents.methodNames = {"kept"};

    for (const char* const name : {"", "a", "aclassname", "aClassName ", "aClassNames"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(reader.GetProviderInfo(name, contents));
    }

    EXPECT_EQ("kept", contents.libName);
    EXPECT_EQ("", contents.className);
    EXPECT_EQ(7, contents.classMode);
    EXPECT_EQ(8, contents.status);
    EXPECT_EQ(Strings({"kept"}), contents.methodNames);
}

TEST_F(CMofReaderTest, CopiesTheRecord)
{
    Write(Common("1") + Provider(1, "a"));
    CMofReader reader = Parsed();
    CMofContents contents;
    ASSERT_TRUE(reader.GetProviderInfo("aClassName", contents));

    contents.status = 5;
    contents.className = "other";

    CMofContents again;
    ASSERT_TRUE(reader.GetProviderInfo("aClassName", again));
    EXPECT_EQ(0, again.status);
}

TEST_F(CMofReaderTest, FindsTheFirstOfTwoWithOneClassName)
{
    Write(Common("2") +
          "[Provider1]\nLibName=first\nClassName=same\nProviderKind=\nClassKind=\n"
          "ClassMode=\nSpecificFile=\n"
          "[Provider2]\nLibName=second\nClassName=same\nProviderKind=\nClassKind=\n"
          "ClassMode=\nSpecificFile=\n");
    CMofReader reader = Parsed();
    CMofContents contents;

    EXPECT_TRUE(reader.GetProviderInfo("same", contents));

    EXPECT_EQ("first", contents.libName);
    EXPECT_EQ(2U, Records(reader).size());
}

TEST_F(CMofReaderTest, ListsEveryProviderAgainWhenParsedAgain)
{
    Write(Common("2") + Provider(1, "a") + Provider(2, "b"));
    CMofReader reader = Parsed();

    EXPECT_TRUE(reader.ParseContents());

    EXPECT_EQ(Strings({"aClassName", "bClassName", "aClassName", "bClassName"}),
              ClassNames(reader));
}

TEST_F(CMofReaderTest, AppendsCopiesOfItsRecords)
{
    Write(Common("1") + Provider(1, "a"));
    CMofReader reader = Parsed();
    std::vector<CMofContents> records(1);
    records[0].className = "kept";

    reader.GetMofContents(records);
    reader.GetMofContents(records);

    ASSERT_EQ(3U, records.size());
    EXPECT_EQ("kept", records[0].className);
    EXPECT_EQ("aClassName", records[1].className);
    EXPECT_EQ("aClassName", records[2].className);
}

TEST_F(CMofReaderTest, AnswersTheQueriesOfItsBase)
{
    Write(Common("1") + Provider(1, "a"));
    CMofReader reader(kFile);
    std::string value;
    EXPECT_TRUE(reader.find_section("Provider1", "LibName", value));
    EXPECT_EQ("aLibName", value);
}

}  // namespace
}  // namespace qor::test
