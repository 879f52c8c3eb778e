#include "trace/WriterRegistry.h"

#include <atomic>
#include <set>
#include <thread>

#include "CTraceWrite.h"
#include "trace/TraceTest.h"

namespace qor::test {
namespace {

using WriterRegistryTest = TraceTest;

TEST_F(WriterRegistryTest, RegistersAWriterByItsExactName)
{
    EXPECT_EQ(nullptr, getTraceObject("um"));

    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);

    EXPECT_NE(nullptr, getTraceObject("um"));
    for (const char* const other : {"", "u", "umx", "UM", "som"})
        EXPECT_EQ(nullptr, getTraceObject(other)) << other;
    EXPECT_EQ(nullptr, getTraceObject(nullptr));
    EXPECT_EQ((Strings{LogName(kDebugLog), LogName(kOperationLog)}), ListDir(kLogDirectory));
}

TEST_F(WriterRegistryTest, FindsEachOfManyWritersByItsName)
{
    Strings names = {"",         "a",         "b",         "aa",        "ab",
                     "ba",       "\xff",      "a\xff",     "a\xe1",     "abcdefg",
                     "abcdefgh", "abcdefghi", "abcdefghj", "abcdefghij"};
    for (int i = 0; i < 200; ++i)  // more than there are buckets
        names.push_back("provider" + std::to_string(i));
    std::vector<CTraceWrite*> writers;
    for (const std::string& name : names) {
        CTraceUtility::Initialize(name.c_str(), CTraceUtility::WRITE_MODE_DEBUG);
        writers.push_back(getTraceObject(name.c_str()));
        EXPECT_EQ(writers.size(), std::set<CTraceWrite*>(writers.begin(), writers.end()).size());
    }

    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(writers[i], getTraceObject(names[i].c_str())) << names[i];
    for (const char* const other : {"c", "ac", "abcde", "abcdefghijk", "provider", "\xfe", "A"})
        EXPECT_EQ(nullptr, getTraceObject(other)) << other;
    for (const std::string& name : names) {
        CTraceUtility::Terminate(name.c_str());
        EXPECT_EQ(nullptr, getTraceObject(name.c_str())) << name;
    }
    CTraceUtility::Initialize("abcdefghi", CTraceUtility::WRITE_MODE_DEBUG);
    EXPECT_NE(nullptr, getTraceObject("abcdefghi"));
    EXPECT_EQ(nullptr, getTraceObject("abcdefghj"));
    CTraceUtility::Terminate("abcdefghi");
}

TEST_F(WriterRegistryTest, WritesBesideTheStartAndEndOfOtherComponents)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
    std::atomic<bool> isOver{false};
    int rejected = 0;
    std::thread writer([&] {
        do {
            CTraceUtility::WriteDebug("um", CTraceUtility::TRACE_DBG_LEVEL{}, "%d", ++rejected);
        } while (!isOver);
        CTraceUtility::WriteDebug("um", kInfo, "last");
    });
    for (int i = 0; i < 200; ++i) {
        const std::string name = "provider" + std::to_string(i);
        CTraceUtility::Initialize(name.c_str(), CTraceUtility::WRITE_MODE_DEBUG);
        CTraceUtility::Terminate(name.c_str());
    }
    isOver = true;
    writer.join();

    EXPECT_EQ((Strings{"--INFO-- last"}), Records("um"));
}

TEST_F(WriterRegistryTest, KeepsTheFirstWriterOfAComponent)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_TRACE);
    const CTraceWrite* const writer = getTraceObject("um");

    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteDebug("um", kInfo, "text");

    EXPECT_EQ(writer, getTraceObject("um"));
    EXPECT_EQ((Strings{LogName(kOperationLog)}), ListDir(kLogDirectory));
}

TEST_F(WriterRegistryTest, KeepsAWriterForEachComponent)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);
    CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG);
    CTraceUtility::WriteDebug("um", kInfo, "of um");
    CTraceUtility::WriteDebug("som", kInfo, "of som");
    CTraceUtility::Terminate("um");

    EXPECT_EQ(nullptr, getTraceObject("um"));
    EXPECT_NE(nullptr, getTraceObject("som"));
    EXPECT_EQ("of um", DebugTexts("um").at(0).text);
    EXPECT_EQ("of som", DebugTexts("som").at(0).text);
}

TEST_F(WriterRegistryTest, TerminatesNothingForOtherNames)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);

    CTraceUtility::Terminate(nullptr);
    CTraceUtility::Terminate("som");
    CTraceUtility::Terminate("u");

    EXPECT_NE(nullptr, getTraceObject("um"));
}

TEST_F(WriterRegistryTest, BeginsAgainAfterItsEnd)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_TRACE);
    CTraceUtility::Terminate("um");
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_DEBUG);

    CTraceUtility::WriteDebug("um", kInfo, "text");

    EXPECT_EQ("text", DebugTexts("um").at(0).text);
}

}  // namespace
}  // namespace qor::test
