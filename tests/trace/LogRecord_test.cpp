#include "trace/LogRecord.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

#include "support/Allocations.h"
#include "support/Threads.h"
#include "support/WaitUntil.h"
#include "trace/WriterTest.h"

namespace qor::test {
namespace {

using CTraceWriteLogRecordTest = WriterTest;

TEST_F(CTraceWriteLogRecordTest, WritesTextsOfAnyLength)
{
    CTraceWrite writer("um", kBothModes);
    for (const std::size_t length : {0U, 1U, 4095U, 4096U, 5000U, 1000000U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        ASSERT_EQ(0, ::truncate(LogPath(LogName(kDebugLog)).c_str(), 0));
        ASSERT_EQ(0, ::truncate(LogPath(LogName(kOperationLog)).c_str(), 0));
        writer.WriteDebugLog(kInfo, text.c_str());
        writer.WriteOperationLog("0x1", text.c_str());
        EXPECT_EQ(DebugRecord(text), DebugLog());
        EXPECT_EQ("2026/11/15 08:29:18 0x1 " + text + "\n", OperationLog());
    }
}

TEST_F(CTraceWriteLogRecordTest, StampsYearsOfAnyLength)
{
    CTraceWrite writer("um", kBothModes);
    SetClock(253402300800);

    writer.WriteOperationLog("0x1", "body");
    writer.WriteDebugLog(kInfo, "text");

    EXPECT_EQ("10000/01/01 00:00:00 0x1 body\n", OperationLog());
    EXPECT_EQ(0U, DebugLog().find("10000/01/01 00:00:00 ThId:0x"));
}

TEST_F(CTraceWriteLogRecordTest, WritesEachRecordAtOnce)
{
    CTraceWrite writer("um", kBothModes);
    const int status = InChild([&] {
        writer.WriteDebugLog(kInfo, "last words");
        writer.WriteOperationLog("0x1", "last words");
        return ::raise(SIGKILL);
    });

    EXPECT_EQ(128 + SIGKILL, status);
    EXPECT_EQ("last words", DebugTexts("um").at(0).text);
    EXPECT_EQ("2026/11/15 08:29:18 0x1 last words\n", OperationLog());
}

TEST_F(CTraceWriteLogRecordTest, DropsARecordWithoutMemoryForIt)
{
    const std::string text(100000, 'x');
    CTraceWrite writer("um", kDebugMode);
    {
        const AllocationLimit limit(1000);
        writer.WriteDebugLog(kInfo, text.c_str());
    }
    EXPECT_EQ("", DebugLog());

    writer.WriteDebugLog(kInfo, "the lock is free");
    EXPECT_EQ(DebugRecord("the lock is free"), DebugLog());
}

constexpr std::size_t kThreads = 4;
constexpr std::size_t kRecords = 2000;  // of each thread

// Runs `write(thread, record)` for all records on all threads at once.
void WriteOnThreads(const std::function<void(std::size_t, std::size_t)>& write)
{
    OnThreads(kThreads, [&write](std::size_t thread) {
        for (std::size_t i = 0; i < kRecords; ++i)
            write(thread, i);
    });
}

// "THREAD RECORD " and a tail whose length changes from record to record.
std::string NumberedText(std::size_t thread, std::size_t record)
{
    return std::to_string(thread) + " " + std::to_string(record) + " " +
           std::string(record % 300, static_cast<char>('a' + thread));
}

// `texts` hold every numbered text once, each thread's in its order.
void ExpectAllInOrder(const Strings& texts)
{
    std::vector<std::size_t> next(kThreads, 0);
    for (const std::string& text : texts) {
        const std::size_t thread = std::stoul(text);
        ASSERT_LT(thread, kThreads) << text;
        ASSERT_EQ(NumberedText(thread, next[thread]), text);
        ++next[thread];
    }
    EXPECT_EQ(std::vector<std::size_t>(kThreads, kRecords), next);
}

// What follows `head` in each record of the kind's two files, of which the first began as zeros.
Strings TextsOfBothFiles(const std::string& kind, const std::string& head, std::size_t headLength)
{
    const std::string first = ReadFile(LogPath("QOR_um" + kind + "_1.log"));
    const std::string all = first.substr(first.find_first_not_of('\0')) + ReadNewestLog("um", kind);
    Strings texts;
    for (const std::string& line : Lines(all)) {
        EXPECT_EQ(0U, line.find(head)) << line;
        texts.push_back(line.substr(std::min(headLength, line.size())));
    }
    return texts;
}

// Both logs rotate in the midst of it.
TEST_F(CTraceWriteLogRecordTest, LosesAndTearsNothingOnSeveralThreads)
{
    SetLevel(kNoCompression);
    MakeLog("QOR_um_dbg_1.log", kLargest - 500000);
    MakeLog("QOR_um_trc_1.log", kLargest - 500000);
    CTraceWrite writer("um", kBothModes);

    WriteOnThreads([&](std::size_t thread, std::size_t record) {
        const std::string text = NumberedText(thread, record);
        writer.WriteDebugLog(kInfo, text.c_str());
        writer.WriteOperationLog("0x1", text.c_str());
    });

    EXPECT_EQ((Strings{"QOR_um_dbg_1.log", LogName(kDebugLog), "QOR_um_trc_1.log",
                       LogName(kOperationLog)}),
              ListDir(kLogDirectory));
    const std::string stamp = kStamp;
    ExpectAllInOrder(TextsOfBothFiles(kDebugLog, stamp + " ThId:0x", DebugRecord("").size() - 1));
    ExpectAllInOrder(TextsOfBothFiles(kOperationLog, stamp + " 0x1 ", stamp.size() + 5));
}

TEST_F(CTraceWriteLogRecordTest, HoldsBothLogsWhileOneRotates)
{
    // Begins, and goes on when the test opens the gate.
    const StubCommand gzip("/usr/bin/gzip", "echo > /opt/begun; cat /opt/gate");
    ASSERT_EQ(0, ::mkfifo("/opt/gate", 0600));
    const auto debug = [](CTraceWrite& writer) { writer.WriteDebugLog(kInfo, "text"); };
    const auto operation = [](CTraceWrite& writer) { writer.WriteOperationLog("0x1", "body"); };
    static const struct {
        const char* rotating;
        std::function<void(CTraceWrite&)> first;
        std::function<void(CTraceWrite&)> second;
    } cases[] = {{"QOR_um_dbg_1.log", debug, operation}, {"QOR_um_trc_1.log", operation, debug}};

    for (const auto& c : cases) {
        SCOPED_TRACE(c.rotating);
        RemoveTree("/opt/begun");
        EmptyDirectory(kLogDirectory);
        MakeLog(c.rotating, kLargest);
        CTraceWrite writer("um", kBothModes);
        std::thread first([&] { c.first(writer); });
        EXPECT_TRUE(WaitUntil([] { return Exists("/opt/begun"); }));

        std::atomic<pid_t> thread{0};
        std::atomic<bool> done{false};
        std::thread second([&] {
            thread = static_cast<pid_t>(::syscall(SYS_gettid));
            c.second(writer);
            done = true;
        });
        EXPECT_TRUE(WaitUntil([&] { return done || (thread != 0 && Sleeps(thread)); }));
        EXPECT_FALSE(done);

        WriteFile("/opt/gate", "");
        first.join();
        second.join();
        EXPECT_TRUE(done);
        EXPECT_EQ("2026/11/15 08:29:18 0x1 body\n", OperationLog());
        EXPECT_EQ("text", DebugTexts("um").back().text);
    }
}

TEST_F(CTraceWriteLogRecordTest, WritesSeveralComponentsOnSeveralThreads)
{
    static const char* const components[kThreads] = {"um", "som", "cli", "lan"};
    std::vector<std::unique_ptr<CTraceWrite>> writers;
    for (const char* const component : components)
        writers.push_back(std::make_unique<CTraceWrite>(component, kBothModes));

    WriteOnThreads([&](std::size_t thread, std::size_t record) {
        const std::string text = NumberedText(thread, record);
        writers[thread]->WriteDebugLog(kInfo, text.c_str());
        writers[thread]->WriteOperationLog("0x1", text.c_str());
    });

    for (std::size_t t = 0; t < kThreads; ++t) {
        SCOPED_TRACE(components[t]);
        const std::vector<DebugLine> debug = DebugTexts(components[t]);
        const Strings operations = Lines(ReadNewestLog(components[t], kOperationLog));
        ASSERT_EQ(kRecords, debug.size());
        ASSERT_EQ(kRecords, operations.size());
        for (std::size_t i = 0; i < kRecords; ++i) {
            ASSERT_EQ(kStamp, debug[i].stamp);
            ASSERT_EQ(debug[0].thread, debug[i].thread);
            ASSERT_EQ(NumberedText(t, i), debug[i].text);
            ASSERT_EQ(std::string(kStamp) + " 0x1 " + NumberedText(t, i), operations[i]);
        }
    }
}

}  // namespace
}  // namespace qor::test
