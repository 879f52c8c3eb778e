// COsInfo's answers from the firmware's tables.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include "COsInfo.h"
#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/LogFiles.h"
#include "support/Memcheck.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "support/SmallDisk.h"
#include "support/Text.h"
#include "support/WithoutPrivileges.h"

namespace qor::test {
namespace {

using namespace std::string_literals;

constexpr char kDmidecode[] = "/usr/sbin/dmidecode";
constexpr char kCache[] = "/var/tmp/dmitmp";

// Stands for a value that is left as it was.
constexpr char kUntouched[] = "untouched";

// What "dmidecode -s KEYWORD" reports of this machine, without the trailing blanks, and with
// kUntouched for nothing.
std::string FromTheFirmware(const std::string& keyword)
{
    for (std::string line :
         Lines(RunShell(std::string(kDmidecode) + " -s " + keyword + " 2>/dev/null").output)) {
        if (line.rfind('#', 0) == 0)
            continue;
        line.resize(line.find_last_not_of(' ') + 1);
        return line;
    }
    return kUntouched;
}

class COsInfoDmiTest : public HostTest
{
protected:
    // The field's value, or kUntouched where there is none.
    std::string Find(const std::string& key)
    {
        std::string value = kUntouched;
        const bool found = host_.getDmiSystemInfo(key, value);
        EXPECT_EQ(found, value != kUntouched);
        return value;
    }

    // The same for a table of the given text.
    std::string FindIn(const std::string& table, const std::string& key)
    {
        WriteFile(kCache, table);
        return Find(key);
    }

    // The field "UUID:" of each table.
    void ExpectUuids(std::initializer_list<std::pair<std::string, std::string>> expected)
    {
        for (const auto& [table, uuid] : expected) {
            SCOPED_TRACE(testing::PrintToString(table));
            EXPECT_EQ(uuid, FindIn(table, "UUID:"));
        }
    }

    COsInfo host_;
};

TEST_F(COsInfoDmiTest, AnswersWithTheFieldsOfThisMachine)
{
    std::string uuid = kUntouched;
    std::string manufacturer = kUntouched;
    std::string product = kUntouched;
    std::string version = kUntouched;
    (void)CaptureStderr([&] {  // dmidecode complains where it may not look
        EXPECT_EQ(FromTheFirmware("system-uuid") != kUntouched, host_.getDmiSystemUuid(uuid));
        (void)host_.getDmiSystemManufacture(manufacturer);
        (void)host_.getDmiSystemProductName(product);
        (void)host_.getDmiSystemVersion(version);
    });
    EXPECT_EQ(FromTheFirmware("system-uuid"), uuid);
    EXPECT_EQ(FromTheFirmware("system-manufacturer"), manufacturer);
    EXPECT_EQ(FromTheFirmware("system-product-name"), product);
    EXPECT_EQ(FromTheFirmware("system-version"), version);
}

TEST_F(COsInfoDmiTest, KeepsTheOutputOfTheRealCommandInTheCache)
{
    std::string value;
    (void)CaptureStderr([&] { (void)host_.getDmiSystemInfo("UUID:", value); });

    const std::string cache = ReadFile(kCache);
    EXPECT_EQ(0U, cache.rfind("# dmidecode ", 0)) << cache;
    EXPECT_EQ(RunShell(std::string(kDmidecode) + " 2>/dev/null").output, cache);
}

TEST_F(COsInfoDmiTest, ReadsTheTablesOfSeveralMachines)
{
    const struct {
        const char* machine;
        const char* uuid;
        const char* manufacturer;
        const char* product;
        const char* version;
        const char* serial;
    } cases[] = {
        {"dmi_rack_server.txt", "01234567-89ab-4cde-8f01-23456789abcd", "Halden Systems",
         "Fjord 12", "Not Specified", "HS-0000-4711"},
        {"dmi_blade.txt", "Not Settable", "", "Blade: the second", "1.0 (rev. 2)", ""},
        {"dmi_virtual_machine.txt", "fedcba98-7654-4321-8fed-cba987654321", "CloudSeed Oy",
         "Seedling (micro)", "micro-4", "Not Specified"},
        {"dmi_two_systems.txt", "11111111-1111-4111-8111-111111111111", "Second Partition", "Twin",
         "2", kUntouched},
        {"dmi_inactive.txt", kUntouched, kUntouched, kUntouched, kUntouched, kUntouched},
        {"dmi_no_table.txt", kUntouched, kUntouched, kUntouched, kUntouched, kUntouched},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.machine);
        const StubCommand dmidecode(kDmidecode, "cat " + DataPath(c.machine));
        EXPECT_EQ(c.uuid, Find("UUID:"));
        EXPECT_EQ(c.manufacturer, Find("Manufacturer:"));
        EXPECT_EQ(c.product, Find("Product Name:"));
        EXPECT_EQ(c.version, Find("Version:"));
        EXPECT_EQ(c.serial, Find("Serial Number:"));
        EXPECT_EQ(0, host_.release());
    }
}

TEST_F(COsInfoDmiTest, NamesFourFieldsAndTracesThem)
{
    const StubCommand dmidecode(kDmidecode, "cat " + DataPath("dmi_rack_server.txt"));
    std::string uuid;
    std::string manufacturer;
    std::string product;
    std::string version;

    EXPECT_TRUE(host_.getDmiSystemUuid(uuid));
    EXPECT_TRUE(host_.getDmiSystemManufacture(manufacturer));
    EXPECT_TRUE(host_.getDmiSystemProductName(product));
    EXPECT_TRUE(host_.getDmiSystemVersion(version));

    EXPECT_EQ("01234567-89ab-4cde-8f01-23456789abcd", uuid);
    EXPECT_EQ("Halden Systems", manufacturer);
    EXPECT_EQ("Fjord 12", product);
    EXPECT_EQ("Not Specified", version);
    EXPECT_EQ(
        Strings({"--DBUG-- PRODUCT=[01234567-89ab-4cde-8f01-23456789abcd] [true]",
                 "--DBUG-- PRODUCT=[Halden Systems] [true]", "--DBUG-- PRODUCT=[Fjord 12] [true]",
                 "--DBUG-- VERSION=[Not Specified] [true]"}),
        Records("som"));
}

TEST_F(COsInfoDmiTest, TracesTheCallersValueWhereNoFieldIsFound)
{
    WriteFile(kCache, "System Information\n");
    std::string value = "mine %s";

    EXPECT_FALSE(host_.getDmiSystemUuid(value));
    EXPECT_FALSE(host_.getDmiSystemManufacture(value));
    EXPECT_FALSE(host_.getDmiSystemProductName(value));
    EXPECT_FALSE(host_.getDmiSystemVersion(value));

    EXPECT_EQ("mine %s", value);
    EXPECT_EQ(Strings({"--DBUG-- PRODUCT=[mine %s] [false]", "--DBUG-- PRODUCT=[mine %s] [false]",
                       "--DBUG-- PRODUCT=[mine %s] [false]", "--DBUG-- VERSION=[mine %s] [false]"}),
              Records("som"));
}

TEST_F(COsInfoDmiTest, LooksAFieldUpWithoutATrace)
{
    EXPECT_EQ("1", FindIn("System Information\n\tUUID: 1\n", "UUID:"));
    EXPECT_EQ(kUntouched, Find("Other:"));
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDmiTest, RunsTheCommandOnceUntilTheCacheIsReleased)
{
    const StubCommand dmidecode(kDmidecode,
                                "echo run >> /opt/runs\n"
                                "echo System Information\n"
                                "echo \" UUID: $(wc -l < /opt/runs)\"");
    EXPECT_EQ("1", Find("UUID:"));
    EXPECT_EQ("1", Find("UUID:"));
    EXPECT_EQ(kUntouched, Find("Absent:"));
    EXPECT_EQ("run\n", ReadFile("/opt/runs"));

    EXPECT_EQ(0, host_.release());
    EXPECT_EQ("2", Find("UUID:"));
    EXPECT_EQ("run\nrun\n", ReadFile("/opt/runs"));
}

TEST_F(COsInfoDmiTest, SharesTheCacheBetweenObjects)
{
    EXPECT_EQ("1", FindIn("System Information\n\tUUID: 1\n", "UUID:"));
    {
        COsInfo other;
        std::string value;
        EXPECT_TRUE(other.getDmiSystemInfo("UUID:", value));
        EXPECT_EQ("1", value);
    }
    EXPECT_TRUE(Exists(kCache)) << "Only release() removes it.";
}

TEST_F(COsInfoDmiTest, ReleasesTheCache)
{
    WriteFile(kCache, "");
    EXPECT_EQ(0, host_.release());
    EXPECT_FALSE(Exists(kCache));

    EXPECT_EQ(-1, host_.release());
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(COsInfoDmiTest, IgnoresHowTheCommandEnds)
{
    const StubCommand dmidecode(kDmidecode, "printf 'System Information\\n\\tUUID: 1\\n'; exit 1");
    EXPECT_EQ("1", Find("UUID:"));

    EXPECT_EQ(0, host_.release());
    EXPECT_EQ(0, InChildThatIgnoresSigchld([this] {
                  EXPECT_EQ("1", Find("UUID:"));
                  return 0;
              }));
}

TEST_F(COsInfoDmiTest, KeepsTheEmptyCacheOfACommandThatIsMissing)
{
    const ReplacedFile dmidecode(kDmidecode);
    const std::string errors = CaptureStderr([this] {
        EXPECT_EQ(kUntouched, Find("UUID:"));
        EXPECT_EQ(kUntouched, Find("UUID:"));
    });
    EXPECT_EQ(1U, Lines(errors).size()) << "The shell reports the one run: " << errors;
    EXPECT_EQ("", ReadFile(kCache));
}

TEST_F(COsInfoDmiTest, KeepsNoCacheOfACommandThatCouldNotBeStarted)
{
    const StubCommand dmidecode(kDmidecode, "printf 'System Information\\n\\tUUID: 1\\n'");
    const auto find = [this] {
        EXPECT_EQ(kUntouched, Find("UUID:"));
        EXPECT_FALSE(Exists(kCache));
        return 0;
    };
    EXPECT_EQ(0, InChildWithoutProcesses(find));
    EXPECT_EQ(0, InChild([&] {
                  ForbidForking();
                  return find();
              }))
        << "Root is not limited, but forbidden.";

    EXPECT_EQ("1", Find("UUID:"));
}

TEST_F(COsInfoDmiTest, GivesTheCacheTheModeThatTheShellWouldGive)
{
    const StubCommand dmidecode(kDmidecode, "true");
    const struct {
        mode_t mask;
        mode_t mode;
    } cases[] = {{0, 0666}, {022, 0644}, {027, 0640}, {077, 0600}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mask);
        const mode_t mask = ::umask(c.mask);
        EXPECT_EQ(kUntouched, Find("UUID:"));
        (void)::umask(mask);
        EXPECT_EQ(c.mode, FileMode(kCache));
        EXPECT_EQ(0, host_.release());
    }
}

TEST_F(COsInfoDmiTest, NeverMakesTheCacheThroughAPlantedLink)
{
    const StubCommand dmidecode(kDmidecode, "echo run >> /opt/runs");
    ASSERT_EQ(0, ::symlink("/opt/victim", kCache));

    EXPECT_EQ(kUntouched, Find("UUID:"));

    EXPECT_FALSE(Exists("/opt/victim"));
    EXPECT_FALSE(Exists("/opt/runs"));
    EXPECT_EQ(0, host_.release()) << "The link is removed as the cache is.";
    EXPECT_FALSE(Exists(kCache));
}

TEST_F(COsInfoDmiTest, FindsNothingInAPlantedCache)
{
    WriteFile("/opt/planted", "System Information\n\tUUID: 1\n");
    ASSERT_EQ(0, ::symlink("/opt/planted", kCache));
    EXPECT_EQ(kUntouched, Find("UUID:"));
    RemoveTree(kCache);

    ASSERT_EQ(0, ::mkfifo(kCache, 0644));
    EXPECT_EQ(kUntouched, Find("UUID:"));
}

TEST_F(COsInfoDmiTest, KeepsNoCacheWhenItsThreadIsCancelled)
{
    const StubCommand dmidecode(kDmidecode, "echo System Information; exec sleep 100 2>/dev/null");
    const auto run = RunCancelled([this] { (void)Find("UUID:"); });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_FALSE(Exists(kCache));
}

TEST_F(COsInfoDmiTest, FindsNothingWhereNoCacheCanBeMade)
{
    const StubCommand dmidecode(kDmidecode, "echo run >> /opt/runs");
    {
        const SmallDisk var("/var", 4096);  // without a /var/tmp
        EXPECT_EQ(kUntouched, Find("UUID:"));
    }
    {
        SmallDisk disk(kScratchDir, 4096);
        disk.MakeReadOnly();
        EXPECT_EQ(kUntouched, Find("UUID:"));
    }
    EXPECT_FALSE(Exists("/opt/runs"));
}

TEST_F(COsInfoDmiTest, FindsNothingInACacheThatCannotBeRead)
{
    MakeDirs(kCache);
    EXPECT_EQ(kUntouched, Find("UUID:"));
    RemoveTree(kCache);

    WriteFile(kCache, "System Information\n\tUUID: 1\n");
    ASSERT_EQ(0, ::chmod(kCache, 0200));
    const WithoutPrivileges ordinary;
    EXPECT_EQ(kUntouched, Find("UUID:"));
}

TEST_F(COsInfoDmiTest, KeepsWhatFitsOnAFullDisk)
{
    const StubCommand dmidecode(kDmidecode,
                                "printf 'System Information\\n\\tUUID: 1\\n'\n"
                                "yes '\tFiller: x' | head -n 1000 2>/dev/null\n"
                                "printf '\\tUUID: 2\\n' 2>/dev/null");
    const SmallDisk disk(kScratchDir, 4096);
    (void)CaptureStderr([this] { EXPECT_EQ("1", Find("UUID:")); });
    EXPECT_EQ(4096U, FileSize(kCache));
}

TEST_F(COsInfoDmiTest, GivesTheCommandNoDescriptorOfItsOwn)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind adds descriptors of its own");
    const StubCommand dmidecode(kDmidecode, "ls /proc/self/fd > /opt/inherited");
    const std::string before = RunShell("ls /proc/self/fd").output;

    EXPECT_EQ(kUntouched, Find("UUID:"));

    EXPECT_EQ(before, ReadFile("/opt/inherited"));
}

TEST_F(COsInfoDmiTest, FindsTheSectionByTheFirstCharactersOfALine)
{
    const std::string field = "\n\tUUID: 1\n";
    ExpectUuids({
        {"System Information" + field, "1"},
        {"System Information (handle 1)" + field, "1"},
        {"System Informations" + field, "1"},
        {"System Informatio" + field, kUntouched},
        {"system information" + field, kUntouched},
        {" System Information" + field, kUntouched},
        {"\tSystem Information" + field, kUntouched},
        {"Base Board Information" + field, kUntouched},
        {field, kUntouched},
    });
}

TEST_F(COsInfoDmiTest, EndsTheSectionAtTheFirstLineThatIsNotIndented)
{
    ExpectUuids({
        {"System Information\n\tA: 1\n \t\tUUID: 2\n", "2"},
        {"System Information\n A: 1\nx\n\tUUID: 2\n", kUntouched},
        {"System Information\n\n\tUUID: 2\n", kUntouched},
        {"System Information\n\tUUID: 1\n\n\tUUID: 2\n", "1"},
        {"System Information\n\rA: 1\n\tUUID: 2\n", kUntouched},
        {"UUID: 1\nSystem Information\n\tUUID: 2\n", "2"},
        {"System Information\nUUID: 1\n", kUntouched},
        {"System Information\n\tUUID: 1", "1"},
        {"System Information", kUntouched},
        {"", kUntouched},
        // Another section may follow, but the header that ends a section begins none.
        {"System Information\n\tUUID: 1\nx\nSystem Information\n\tUUID: 2\n", "2"},
        {"System Information\n\tUUID: 1\nSystem Information\n\tUUID: 2\n", "1"},
        {"System Information\nSystem Information\nSystem Information\n UUID: 3\n", "3"},
    });
}

TEST_F(COsInfoDmiTest, LetsALaterMatchOverwriteAnEarlierOne)
{
    ExpectUuids({
        {"System Information\n\tUUID: 1\n\tUUID: 2\n\tOther: 4\n\tUUID: 3\n", "3"},
        {"System Information\n\tUUID: 1\n\tUUID: \n", ""},
    });
}

TEST_F(COsInfoDmiTest, MatchesTheWholeKeyAtTheFirstLetter)
{
    const struct {
        const char* line;
        const char* key;
        const char* value;
    } cases[] = {
        {"\tUUID: 1", "UUID:", "1"},
        {"    UUID: 1", "UUID:", "1"},
        {"\t-- 12 UUID: 1", "UUID:", "1"},
        {"\tUUID: 1", "UUID", "1"},
        {"\tUUID: 1", "U", "1"},
        {"\tUUID: 1", "", "1"},
        {"\tUUID: 1", "uuid:", kUntouched},
        {"\tUUID: 1", "UID:", kUntouched},
        {"\tUUID: 1", "UUID:1", kUntouched},
        {"\tUUID", "UUID:", kUntouched},
        {"\tUUID", "UUID", kUntouched},
        {"\tOld UUID: 1", "UUID:", kUntouched},
        {"\tProduct Name: a b", "Product Name:", "a b"},
        {"\tA: B: c", "A: B:", "B: c"},
        {"\t12: 34", "12:", kUntouched},
        {"\t: 1", "", kUntouched},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line + " / "s + c.key);
        EXPECT_EQ(c.value, FindIn("System Information\n"s + c.line + "\n", c.key));
    }
    EXPECT_EQ(kUntouched, FindIn("System Information\n\tUUID: 1\n", "UUID:\0"s));
    EXPECT_EQ(kUntouched, Find("\0UUID:"s));
}

TEST_F(COsInfoDmiTest, TakesTheTextFromTwoCharactersAfterTheColon)
{
    const std::string line = "System Information\n\tUUID:";
    ExpectUuids({
        {line + " ab", "ab"},
        {line + "ab", "b"},
        {line + "a", ""},
        {line + " ", ""},
        {line + "   ab", "  ab"},
        {line + " ab  ", "ab"},
        {line + " ab \t", "ab \t"},
        {line + "    ", ""},
        {line + " a: b", "a: b"},
        {line + " ab\r", "ab\r"},
        {line + " \xe4\xff", "\xe4\xff"},
        {line + " a b  c", "a b  c"},
    });
}

TEST_F(COsInfoDmiTest, LeavesTheValueOfAKeyThatMatchesNothing)
{
    WriteFile(kCache, ReadFile(DataPath("dmi_rack_server.txt")));
    for (const char* key : {"Vendor:", "Release Date:", "Type:", "Handle", "Absent:", "UUID :"}) {
        SCOPED_TRACE(key);
        std::string value = "mine";
        EXPECT_FALSE(host_.getDmiSystemInfo(key, value));
        EXPECT_EQ("mine", value);
    }
}

// A line is read in pieces of 255 bytes; what follows is a line of its own, and ends the section
// unless it is indented too.
TEST_F(COsInfoDmiTest, CutsALineOf255BytesOrMore)
{
    const std::string begin = "\tUUID: ";
    for (const std::size_t length : {253U, 254U, 255U, 256U, 257U}) {
        SCOPED_TRACE(length);
        const std::string text(length - begin.size(), 'x');
        WriteFile(kCache, "System Information\n" + begin + text + "\n\tVersion: 1\n");

        EXPECT_EQ(text.substr(0, 255 - begin.size()), Find("UUID:"));
        EXPECT_EQ(length < 255 ? "1" : kUntouched, Find("Version:"));
    }
}

TEST_F(COsInfoDmiTest, ReadsTheRestOfALongLineAsALineOfItsOwn)
{
    const std::string filled = "\tLong: " + std::string(248, 'x');
    ASSERT_EQ(255U, filled.size());
    WriteFile(kCache, "System Information\n" + filled + " UUID: 1\n\tVersion: 2\n");

    EXPECT_EQ("1", Find("UUID:"));
    EXPECT_EQ("2", Find("Version:"));
}

TEST_F(COsInfoDmiTest, ThrowsAtAColonThatEndsItsLine)
{
    for (const char* end : {"", "\n", "\n\tUUID: 2\n"}) {
        SCOPED_TRACE(testing::PrintToString(end));
        WriteFile(kCache, "System Information\n\tUUID:"s + end);
        std::string value = "mine";
        EXPECT_THROW((void)host_.getDmiSystemInfo("UUID:", value), std::out_of_range);
        EXPECT_THROW((void)host_.getDmiSystemUuid(value), std::out_of_range);
        EXPECT_EQ("mine", value);
    }
    EXPECT_EQ(Strings(), Records("som"));
}

TEST_F(COsInfoDmiTest, ThrowsForAMatchingFieldOnly)
{
    EXPECT_EQ("1", FindIn("System Information\n\tFeatures:\n\t\tUUID: 1\n", "UUID:"));

    std::string value;
    EXPECT_THROW((void)host_.getDmiSystemInfo("Features:", value), std::out_of_range);
}

TEST_F(COsInfoDmiTest, KeepsTheEarlierMatchWhenALaterOneThrows)
{
    WriteFile(kCache, "System Information\n\tUUID: 1\n\tUUID:\n");
    std::string value = "mine";
    EXPECT_THROW((void)host_.getDmiSystemInfo("UUID:", value), std::out_of_range);
    EXPECT_EQ("1", value);
}

TEST_F(COsInfoDmiTest, ReadsBinaryText)
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    WriteFile(kCache, all + all + "\nSystem Information\n\tUUID: 1\n\t" + all + "\n");
    EXPECT_EQ("1", Find("UUID:"));
}

}  // namespace
}  // namespace qor::test
