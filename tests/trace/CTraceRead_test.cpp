#include "CTraceRead.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <list>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "CTraceWrite.h"
#include "support/Allocations.h"
#include "support/Descriptors.h"
#include "support/WithoutPrivileges.h"
#include "trace/RandomTrace.h"
#include "trace/TraceModel.h"
#include "trace/TraceTest.h"

namespace qor::test {
namespace {

static_assert(std::is_convertible<const char*, CTraceRead>::value, "a component will do");

using Entries = std::list<std::string>;

const char kNewest[] = "QOR_um_trc_261115082918.log";
constexpr unsigned int kAll = 0xFFFFFFFFU;

class CTraceReadTest : public TraceTest
{
protected:
    static void WriteLog(const std::string& content) { WriteFile(LogPath(kNewest), content); }

    static Entries Read(unsigned int type, unsigned int count = 100, std::string from = "")
    {
        Entries records;
        CTraceRead("um").ReadOperationLog(type, count, records, &from);
        return records;
    }

    static Entries ReadFrom(const std::string& from) { return Read(kAll, 100, from); }
};

TEST_F(CTraceReadTest, GivesRecordsWithoutTheirReadCode)
{
    WriteLog("2026/11/15 08:29:18 0x00000004 info    Update started\n");

    EXPECT_EQ((Entries{"2026/11/15 08:29:18 info    Update started"}), Read(4));
}

TEST_F(CTraceReadTest, SelectsRecordsByTheBitsOfTheirReadCode)
{
    WriteLog(
        "2026/11/15 08:29:18 0x00000001 one\n"
        "2026/11/15 08:29:18 0x00000002 two\n"
        "2026/11/15 08:29:18 0x00000003 three\n"
        "2026/11/15 08:29:18 0x80000000 high\n"
        "2026/11/15 08:29:18 0x00000000 none\n"
        "2026/11/15 08:29:18 0xFFFFFFFF all\n"
        "2026/11/15 08:29:18 0xffff0000 lower\n");
    static const struct {
        unsigned int type;
        Entries records;  // the bodies
    } cases[] = {
        {0, {}},
        {1, {"one", "three", "all"}},
        {2, {"two", "three", "all"}},
        {4, {"all"}},
        {0x10000, {"all", "lower"}},
        {0x80000000, {"high", "all", "lower"}},
        {kAll, {"one", "two", "three", "high", "all", "lower"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        Entries expected;
        for (const std::string& body : c.records)
            expected.push_back("2026/11/15 08:29:18 " + body);
        EXPECT_EQ(expected, Read(c.type));
    }
}

TEST_F(CTraceReadTest, DropsLinesWithoutAReadCode)
{
    WriteLog(
        "\n"
        "2026/11/15 08:29:18 no code in this line at all\n"
        "2026/11/15 08:29:18 0x00000001\n"
        "2026/11/15 08:29:18 0xZZZZZZZZ not a number\n"
        "2026/11/15 08:29:18 FFFFFFFF without its mark\n"
        "2026/11/15 08:29:18 0x00000001 \n"
        "the first code of a line is 0x00000000 and not 0x00000001 the second\n"
        "a code may stand anywhere, 0x00000001 here too\n");

    EXPECT_EQ((Entries{"2026/11/15 08:29:18 ", "a code may stand any000001 here too"}), Read(1));
}

TEST_F(CTraceReadTest, KeepsRecordsFromADateOn)
{
    WriteLog(
        "2026/11/14 23:59:59 0x00000001 day before\n"
        "2026/11/15 07:59:59 0x00000001 second before\n"
        "2026/11/15 08:00:00 0x00000001 on time\n"
        "2026/11/15 08:00:01 0x00000001 second after\n"
        "2026/11/15 07:00:00 0x00000001 out of order\n"
        "2027/01/01 00:00:00 0x00000001 year after\n");

    EXPECT_EQ((Entries{"2026/11/15 08:00:00 on time", "2026/11/15 08:00:01 second after",
                       "2027/01/01 00:00:00 year after"}),
              ReadFrom("2026/11/15 08:00:00"));
    EXPECT_TRUE(ReadFrom("2027/01/01 00:00:01").empty());
    EXPECT_EQ(6U, ReadFrom("2026/11/14 23:59:59").size());
}

TEST_F(CTraceReadTest, LooksAtTheFirst19BytesOfTheDateAlone)
{
    WriteLog("2026/11/15 08:00:00 0x00000001 on time\n");

    EXPECT_EQ(1U, ReadFrom("2026/11/15 08:00:00.999 and more").size());
    EXPECT_EQ(1U, ReadFrom("    /  /     :  :  ").size());
    EXPECT_TRUE(ReadFrom("zzzz/zz/zz zz:zz:zz").empty());
}

TEST_F(CTraceReadTest, ReadsAllRecordsFromNoDate)
{
    WriteLog(
        "2026/11/15 08:00:00 0x00000001 first\n"
        "2026/11/15 09:00:00 0x00000001 second\n");

    for (const char* const from :
         {"", "9999", "9999/12/31 23:59", "9999-12-31 23:59:59", "tomorrow afternoon, early"})
        EXPECT_EQ(2U, ReadFrom(from).size()) << from;
}

TEST_F(CTraceReadTest, DropsShortLinesBeforeTheDate)
{
    WriteLog("2026\n\n2027/01/01\n2026/11/15 08:00:00 0x00000001 on time\n");

    Entries lines;
    CTraceRead("um").ReadLog(kNewest, lines, "2026/11/15 08:00:00");

    EXPECT_EQ((Entries{"2027/01/01", "2026/11/15 08:00:00 0x00000001 on time"}), lines);
}

TEST_F(CTraceReadTest, KnowsADateByItsSeparators)
{
    static const struct {
        const char* text;
        bool isDate;
    } cases[] = {
        {"2026/11/15 08:29:18", true},   {"2026/11/15 08:29:18 and more", true},
        {"    /  /     :  :  ", true},   {"abcd/ef/gh ij:kl:mn", true},
        {"2026/11/15 08:29:1", false},   {"", false},
        {"2026-11/15 08:29:18", false},  {"2026/11-15 08:29:18", false},
        {"2026/11/15T08:29:18", false},  {"2026/11/15 08.29:18", false},
        {"2026/11/15 08:29.18", false},  {" 2026/11/15 08:29:18", false},
        {"26/11/15 08:29:18 xx", false},
    };
    CTraceRead reader("um");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.isDate, reader.IsDateFormat(c.text));
    }
}

TEST_F(CTraceReadTest, GivesTheOldestRecordsOfTheCount)
{
    WriteLog(
        "2026/11/15 08:29:18 0x00000001 1\n"
        "2026/11/15 08:29:18 0x00000002 not selected\n"
        "2026/11/15 08:29:18 0x00000001 2\n"
        "2026/11/15 08:29:18 0x00000001 3\n");
    static const struct {
        unsigned int count;
        std::size_t records;
    } cases[] = {{0, 0},   {1, 1}, {2, 2}, {3, 3}, {4, 3}, {INT_MAX, 3}, {1U + INT_MAX, 3},
                 {kAll, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        const Entries records = Read(1, c.count);
        EXPECT_EQ(c.records, records.size());
        char number = '1';
        for (const std::string& record : records)
            EXPECT_EQ(std::string("2026/11/15 08:29:18 ") + number++, record);
    }
}

TEST_F(CTraceReadTest, AppendsToWhatTheCallerHasButNothingFromANullDate)
{
    WriteLog("2026/11/15 08:29:18 0x00000001 body\n");
    CTraceRead reader("um");
    Entries records = {"former"};
    std::string all;

    reader.ReadOperationLog(kAll, 10, records, nullptr);
    EXPECT_EQ((Entries{"former"}), records);

    reader.ReadOperationLog(kAll, 10, records, &all);
    reader.ReadOperationLog(kAll, 10, records, &all);

    EXPECT_EQ((Entries{"former", "2026/11/15 08:29:18 body", "2026/11/15 08:29:18 body"}), records);
}

TEST_F(CTraceReadTest, CutsALongLineIntoPiecesOf255Bytes)
{
    const std::string head = "2026/11/15 08:29:18 0x00000001 ";
    const std::string coded = " 0x00000002 " + std::string(255 - 12, 'b');
    const std::string plain(255, 'c');
    WriteLog(head + std::string(255 - head.size(), 'a') + coded + plain + " 0x00000001 and " +
             "the rest of the line\n" + head + "next\n");

    EXPECT_EQ((Entries{"2026/11/15 08:29:18 " + std::string(255 - head.size(), 'a'),
                       " 0x00000001 and the  line", "2026/11/15 08:29:18 next"}),
              Read(1));
    EXPECT_EQ((Entries{coded.substr(0, 20) + coded.substr(31)}), Read(2));
}

TEST_F(CTraceReadTest, ComparesEachPieceOfALongLineWithTheDate)
{
    const std::string head = "2026/11/15 08:29:18 0x00000001 ";
    WriteLog(head + std::string(255 - head.size(), 'a') + "2025/01/01 00:00:00 0x00000001 b\n");

    EXPECT_EQ(2U, Read(1).size());
    EXPECT_EQ(1U, ReadFrom("2026/01/01 00:00:00").size());
}

TEST_F(CTraceReadTest, TakesALineOf255BytesForOnePieceAndItsLineFeedForAnother)
{
    const std::string line(255, 'a');
    WriteFile(LogPath("file"), line + "\n" + std::string(254, 'b') + "\nlast");
    Entries lines;

    CTraceRead("um").ReadLog("file", lines);

    EXPECT_EQ((Entries{line, "", std::string(254, 'b'), "last"}), lines);
}

TEST_F(CTraceReadTest, ThrowsForASelectedLineOf30BytesOrFewer)
{
    static const struct {
        const char* line;
        bool throws;
    } cases[] = {
        {"2026/11/15 08:29:18 0x1 shorts\n", true},    // 30
        {"2026/11/15 08:29:18 0x1 shorts_\n", false},  // 31
        {"0x1 \n", true},
        {"0x2 \n", false},  // not selected
        {"0x1\n", false},   // no code
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        WriteLog(c.line);
        if (c.throws) {
            EXPECT_THROW((void)Read(1), std::out_of_range);
        } else {
            EXPECT_NO_THROW((void)Read(1));
        }
    }
}

TEST_F(CTraceReadTest, ThrowsForAShortLineAfterTheLastRecordOfTheCount)
{
    WriteLog("2026/11/15 08:29:18 0x00000001 body\n2026/11/15 08:29:18 0x1 short\n");
    for (const unsigned int count : {0U, 1U, 2U}) {
        SCOPED_TRACE(count);
        Entries records;
        std::string all;
        EXPECT_THROW(CTraceRead("um").ReadOperationLog(1, count, records, &all), std::out_of_range);
        EXPECT_TRUE(records.empty());
    }
}

TEST_F(CTraceReadTest, BeginsAgainAfterItThrew)
{
    CTraceRead reader("um");
    Entries records;
    std::string all;
    WriteLog("2026/11/15 08:29:18 0x00000001 before\n0x1 short\n");
    EXPECT_THROW(reader.ReadOperationLog(1, 10, records, &all), std::out_of_range);
    Entries working;
    reader.DeleteMaxRecord(10, working);
    EXPECT_EQ((Entries{"2026/11/15 08:29:18 before"}), working);

    WriteLog("2026/11/15 08:29:18 0x00000001 after\n");
    reader.ReadOperationLog(1, 10, records, &all);

    EXPECT_EQ((Entries{"2026/11/15 08:29:18 after"}), records);
}

TEST_F(CTraceReadTest, HoldsWholeRecordsWhereMemoryEnded)
{
    const std::string body(100, 'x');
    std::string log;
    for (int i = 0; i < 1000; ++i)  // more than the list copies from place to place
        log += "2026/11/15 08:29:18 0x00000001 " + body + "\n";
    WriteLog(log);
    Entries line = {"2026/11/15 08:29:19 0x00000001 after"};
    std::string all;
    bool isDone = false;
    for (std::size_t largest = 64; !isDone; largest += largest / 4) {
        CTraceRead reader("um");
        Entries records;
        try {
            const AllocationLimit limit(largest);
            reader.ReadOperationLog(1, 1, records, &all);
            isDone = true;
        } catch (const std::bad_alloc&) {
        }
        reader.SelectReadType(1, line);
        Entries working;
        reader.DeleteMaxRecord(1001, working);
        EXPECT_EQ(isDone, working.size() == 1001);
        EXPECT_EQ("2026/11/15 08:29:19 after", working.back());
        working.pop_back();
        EXPECT_EQ(Entries(working.size(), "2026/11/15 08:29:18 " + body), working);
    }
}

TEST_F(CTraceReadTest, ReadsTheNewestFileAlone)
{
    WriteFile(LogPath("QOR_um_trc_251115082918.log"), "2025/11/15 08:29:18 0x00000001 older\n");
    WriteFile(LogPath("QOR_um_trc_241115082918.log.gz"), "2024/11/15 08:29:18 0x00000001 gz\n");
    WriteFile(LogPath("QOR_um_dbg_271115082918.log"), "2027/11/15 08:29:18 0x00000001 debug\n");
    WriteFile(LogPath("QOR_som_trc_271115082918.log"), "2027/11/15 08:29:18 0x00000001 som\n");
    WriteLog("2026/11/15 08:29:18 0x00000001 newest\n");

    EXPECT_EQ((Entries{"2026/11/15 08:29:18 newest"}), Read(kAll));
}

TEST_F(CTraceReadTest, GivesNothingOfAnEmptyNewestFile)
{
    WriteFile(LogPath("QOR_um_trc_251115082918.log"), "2025/11/15 08:29:18 0x00000001 older\n");
    WriteLog("");

    EXPECT_TRUE(Read(kAll).empty());
}

TEST_F(CTraceReadTest, PassesOverCompressedFiles)
{
    WriteFile(LogPath("QOR_um_trc_271115082918.log.gz"), "2027/11/15 08:29:18 0x00000001 gz\n");
    EXPECT_TRUE(Read(kAll).empty());
    EXPECT_EQ("", DebugLog());

    WriteLog("2026/11/15 08:29:18 0x00000001 current\n");
    WriteFile(LogPath("QOR_um_trc_251115082918.log"), "2025/11/15 08:29:18 0x00000001 older\n");
    EXPECT_EQ((Entries{"2026/11/15 08:29:18 current"}), Read(kAll));
}

// With the file's name, its compressed form is the newest.
TEST_F(CTraceReadTest, ReadsTheFileThatBeganInTheSecondOfARotation)
{
    CTraceWrite writer("um", CTraceUtility::WRITE_MODE_TRACE);
    writer.WriteOperationLog("0x00000001", "rotated");
    SLogFile rotated;
    rotated.kind = 1;
    rotated.suffix = "_trc";
    rotated.path = LogPath(kNewest);
    writer.rotate(&rotated);
    CTraceWrite("um", CTraceUtility::WRITE_MODE_TRACE).WriteOperationLog("0x00000001", "current");

    EXPECT_EQ((Strings{kNewest, std::string(kNewest) + ".gz"}), ListDir(kLogDirectory));
    EXPECT_EQ((Entries{"2026/11/15 08:29:18 current"}), Read(kAll));
}

TEST_F(CTraceReadTest, ReadsThroughNoLinkAndFromNoFifo)
{
    WriteFile("/opt/target", "2026/11/15 08:29:18 0x00000001 target\n");
    ASSERT_EQ(0, ::symlink("/opt/target", LogPath(kNewest).c_str()));
    EXPECT_TRUE(Read(kAll).empty());

    ASSERT_EQ(0, ::unlink(LogPath(kNewest).c_str()));
    ASSERT_EQ(0, ::mkfifo(LogPath(kNewest).c_str(), 0600));
    EXPECT_TRUE(Read(kAll).empty());

    const std::string record = "2026/11/15 08:29:18 0x00000001 fed\n";
    const OwnedFd fifo(::open(LogPath(kNewest).c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(static_cast<ssize_t>(record.size()),
              ::write(fifo.get(), record.data(), record.size()));
    EXPECT_TRUE(Read(kAll).empty());
}

TEST_F(CTraceReadTest, KeepsEverySelectedRecordOfTheLastReadInItsList)
{
    WriteLog(
        "2026/11/15 08:29:18 0x00000001 1\n"
        "2026/11/15 08:29:18 0x00000002 not selected\n"
        "2026/11/15 08:29:18 0x00000001 2\n");
    CTraceRead reader("um");
    Entries out;
    std::string all;
    reader.ReadOperationLog(kAll, 10, out, &all);
    out.clear();

    reader.ReadOperationLog(1, 1, out, &all);
    EXPECT_EQ((Entries{"2026/11/15 08:29:18 1"}), out);
    reader.DeleteMaxRecord(INT_MAX, out);
    EXPECT_EQ((Entries{"2026/11/15 08:29:18 1", "2026/11/15 08:29:18 1", "2026/11/15 08:29:18 2"}),
              out);
}

TEST_F(CTraceReadTest, RecordsThatThereIsNoFile)
{
    EXPECT_TRUE(Read(kAll).empty());

    EXPECT_EQ((Strings{"--INFO-- void CTraceRead::ReadOperationLog(unsigned int, unsigned int, "
                       "std::list<std::string>&, std::string*) GetFileList empty (um_trc)"}),
              Records("um"));
}

TEST_F(CTraceReadTest, GivesNothingOfAFileThatCannotBeRead)
{
    WriteLog("2026/11/15 08:29:18 0x00000001 body\n");
    ASSERT_EQ(0, ::chmod(LogPath(kNewest).c_str(), 0));
    {
        const WithoutPrivileges ordinary;
        EXPECT_TRUE(Read(kAll).empty());
    }
    RemoveTree(LogPath(kNewest));
    MakeDirs(LogPath(kNewest));
    EXPECT_TRUE(Read(kAll).empty());
}

TEST_F(CTraceReadTest, ReadsBinaryAndTruncatedFiles)
{
    const std::string record = "2026/11/15 08:29:18 0x00000001 body";
    WriteLog(std::string("\0\1\2\n", 4) + record + std::string("\0hidden\n", 8) + record);

    EXPECT_EQ((Entries{"2026/11/15 08:29:18 body", "2026/11/15 08:29:18 body"}), Read(kAll));
}

TEST_F(CTraceReadTest, EndsALineAtANulInAnyPlace)
{
    const std::string record = "2026/11/15 08:29:18 0x00000001 body of a record\n";
    const std::string given = "2026/11/15 08:29:18 body of a record";
    for (std::size_t nul = 0; nul + 1 < record.size(); ++nul) {
        SCOPED_TRACE(nul);
        std::string content = record;
        content[nul] = '\0';
        WriteLog(content);
        const bool isSelected = nul > 30;
        EXPECT_EQ(isSelected ? Entries{given.substr(0, nul - 11)} : Entries{}, Read(1));
    }
}

TEST_F(CTraceReadTest, ReadsANumberOfAnyLength)
{
    static const struct {
        const char* code;
        unsigned int type;
        bool isSelected;
    } cases[] = {
        {"0x0000000000000000000004", 4, true},  // leading zeros
        {"0x0000000100000004", 4, true},        // wider than a read type
        {"0x0000000100000000", kAll, false},    // no bit of a read type
        {"0xFFFFFFFFFFFFFFF0", 15, false},      // as wide as can be
        {"0x10000000000000000", 15, true},      // wider: all bits
        {"0x10000000000000000zzzz", 15, true},  // the same
        {"0x4zzzzzzzz", 4, true},               // up to the first other character
        {"0x-4_______", kAll, false},           // no sign
        {"0x________", kAll, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        WriteLog(std::string("2026/11/15 08:29:18 ") + c.code + " a body of some length\n");
        EXPECT_EQ(c.isSelected, !Read(c.type).empty());
    }
}

TEST_F(CTraceReadTest, MakesNothingOfLinesThatItDoesNotGive)
{
    const std::string wanted = "2026/11/15 08:29:18 0x00000001 a body of some length\n";
    std::string unwanted;
    for (int i = 0; i < 1000; ++i)
        unwanted += "2026/11/15 08:29:18 0x00000002 a body of some length\n" + wanted;
    const auto allocations = [] {
        Entries records;
        std::string all;
        const AllocationCount count;
        CTraceUtility::ReadTrace("um", static_cast<CTraceUtility::TRACE_READ_TYPE>(1), 1, records,
                                 &all);
        EXPECT_EQ(1U, records.size());
        return count.Made();
    };
    WriteLog(wanted);
    const std::size_t least = allocations();

    WriteLog(wanted + unwanted);
    EXPECT_EQ(least, allocations());
}

TEST_F(CTraceReadTest, ReadsRandomLogsAsTheRulesSay)
{
    std::size_t records = 0;
    std::size_t failures = 0;
    for (unsigned seed = 1; seed <= kRandomTraces; ++seed) {
        RandomTrace random(seed);
        const std::string log = random.Log();
        const std::string from = random.Date();
        const unsigned int type = random.ReadType();
        const unsigned int count = random.Count();
        WriteLog(log);

        const auto expected =
            Outcome([&] { return RecordsModel(LogPath(kNewest), type, count, from); });
        ASSERT_EQ(expected, Outcome([&] { return Read(type, count, from); }))
            << "type " << type << ", count " << count << ", from " << testing::PrintToString(from)
            << ", " << DescribeCase(seed, log);
        records += expected ? expected->size() : 0;
        failures += !expected;
    }
    EXPECT_LT(kRandomTraces, records) << "The logs hold too little of what is asked for.";
    EXPECT_LE(kRandomTraces / 60, failures) << "The logs hold too few short records.";
    EXPECT_GT(kRandomTraces / 4, failures) << "The logs hold too many short records.";
}

// The steps.

TEST_F(CTraceReadTest, TakesTheStepsThroughRandomLogsAsTheRulesSay)
{
    for (unsigned seed = 1; seed <= kRandomTraces; ++seed) {
        RandomTrace random(seed);
        const std::string log = random.Log();
        const std::string from = random.Date();
        const unsigned int type = random.ReadType();
        WriteLog(log);
        CTraceRead reader("um");

        Entries lines;
        reader.ReadLog(kNewest, lines);
        ASSERT_EQ(LogLinesModel(LogPath(kNewest), nullptr), lines) << DescribeCase(seed, log);
        lines.clear();
        reader.ReadLog(kNewest, lines, from.c_str());
        ASSERT_EQ(LogLinesModel(LogPath(kNewest), from.c_str()), lines)
            << "from " << testing::PrintToString(from) << ", " << DescribeCase(seed, log);

        const auto selected = Outcome([&] {
            Entries records;
            reader.SelectReadType(type, lines);
            reader.DeleteMaxRecord(INT_MAX, records);
            return records;
        });
        ASSERT_EQ(Outcome([&] { return SelectedModel(lines, type); }), selected)
            << "type " << type << ", " << DescribeCase(seed, log);
    }
}

TEST_F(CTraceReadTest, AddsLinesOfAFileWithAndWithoutADateAndNoneOfAMissingOne)
{
    WriteFile(LogPath("file"), "a first\nb second\n");
    CTraceRead reader("um");
    Entries lines = {"former"};

    reader.ReadLog("file", lines);
    EXPECT_EQ((Entries{"former", "a first", "b second"}), lines);

    lines = {"former"};
    reader.ReadLog("file", lines, "b");
    EXPECT_EQ((Entries{"former", "b second"}), lines);

    reader.ReadLog("missing", lines);
    reader.ReadLog("missing", lines, kStamp);
    EXPECT_EQ((Entries{"former", "b second"}), lines);
}

TEST_F(CTraceReadTest, SelectsIntoItsListAndCopiesTheFirstOfIt)
{
    CTraceRead reader("um");
    Entries lines = {"2026/11/15 08:29:18 0x00000001 1", "2026/11/15 08:29:18 0x00000002 2",
                     "2026/11/15 08:29:18 0x00000003 3"};
    Entries out = {"former"};
    reader.DeleteMaxRecord(5, out);
    EXPECT_EQ((Entries{"former"}), out) << "The list is empty.";
    reader.SelectReadType(1, lines);

    reader.DeleteMaxRecord(1, out);
    EXPECT_EQ((Entries{"former", "2026/11/15 08:29:18 1"}), out);

    for (const int none : {0, -1, INT_MIN}) {
        out.clear();
        reader.DeleteMaxRecord(none, out);
        EXPECT_TRUE(out.empty());
    }
    reader.DeleteMaxRecord(INT_MAX, out);
    EXPECT_EQ((Entries{"2026/11/15 08:29:18 1", "2026/11/15 08:29:18 3"}), out);
    EXPECT_EQ(3U, lines.size());
}

TEST_F(CTraceReadTest, ThrowsForAShortLineThatItSelects)
{
    CTraceRead reader("um");
    Entries lines = {"2026/11/15 08:29:18 0x1 short"};

    EXPECT_NO_THROW(reader.SelectReadType(2, lines));
    EXPECT_THROW(reader.SelectReadType(1, lines), std::out_of_range);
}

TEST_F(CTraceReadTest, EndsTextAtItsFirstLineFeed)
{
    static const struct {
        const char* text;
        const char* cut;
    } cases[] = {
        {"", ""}, {"a", "a"}, {"a\n", "a"}, {"\n", ""}, {"a\nb\n", "a"}, {"a\r\n", "a\r"},
    };
    CTraceRead reader("um");
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        std::string text = c.text;
        reader.DeleteNewLine(&text[0]);
        EXPECT_STREQ(c.cut, text.c_str());
    }
    reader.DeleteNewLine(nullptr);
}

TEST_F(CTraceReadTest, OpensNoLogItself)
{
    static_assert(std::has_virtual_destructor<CTraceRead>::value, "a base class");
    {
        const CTraceRead reader("um");
    }

    EXPECT_TRUE(ListDir(kLogDirectory).empty());
}

}  // namespace
}  // namespace qor::test
