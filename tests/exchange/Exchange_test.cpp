// What one processor writes another one reads: files/ holds what the library writes, byte for byte,
// on each processor that it is built for.
//
// Where a format changes on purpose, the failure shows the new bytes.
#include <climits>
#include <cstdio>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "base/ThreadId.h"
#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "IWbemClassObject.h"
#include "support/TestPaths.h"
#include "trace/TraceTest.h"
#include "transfer/ChannelTest.h"
#include "winapi.h"

namespace qor::test {
namespace {

constexpr char kSettings[] = "/opt/velmora/qor/um/settings.ini";

std::string Stored(const std::string& name)
{
    return ReadFile(SourcePath("tests/exchange/files/" + name));
}

// Each byte once.
std::string AllBytes()
{
    std::string bytes;
    for (int byte = 0; byte <= UCHAR_MAX; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

std::string WrittenRecord()
{
    std::string text;
    IWbemClassObject::SetInt(text, ".Least", INT_MIN);
    IWbemClassObject::SetUInt(text, ".Greatest", UINT_MAX);
    IWbemClassObject::SetLong(text, ".LeastLong", LONG_MIN);
    IWbemClassObject::SetULong(text, ".GreatestLong", ULONG_MAX);
    IWbemClassObject::SetBool(text, ".Yes", true);
    IWbemClassObject::SetString(text, ".Text", "a;b \xC3\xBC");
    IWbemClassObject::SetStringArray(text, ".Texts", {"one", "t;o", ""});
    return text;
}

class ExchangeTest : public TraceTest
{
protected:
    ExchangeTest()
    {
        MakeDirs(kClientDir);
        MakeDirs(kServerDir);
        WriteFile(kConfig, "[filetran]\npolling_interval=100\n");
        SetLevel("FF");
        SetCatalogue("[DONE]\nFormatEng=%d of %s, 0x%08lx\nType=info\nRead=0x00000102\nEvent=0\n");
    }

    CFileTransfer channel_{"um", kConfig};
};

TEST_F(ExchangeTest, WritesTextRecords)
{
    EXPECT_EQ(Stored("record"), WrittenRecord());
}

TEST_F(ExchangeTest, ReadsTextRecords)
{
    const std::string text = Stored("record");
    int least = 0;
    long leastLong = 0;
    unsigned long greatest = 0, greatestLong = 0;
    bool yes = false;
    std::string value;
    std::vector<std::string> values;
    IWbemClassObject::GetInt(text, ".Least;", least);
    IWbemClassObject::GetULong(text, ".Greatest;", greatest);
    IWbemClassObject::GetLong(text, ".LeastLong;", leastLong);
    IWbemClassObject::GetULong(text, ".GreatestLong;", greatestLong);
    IWbemClassObject::GetBool(text, ".Yes;", yes);
    IWbemClassObject::GetString(text, ".Text;", value);
    IWbemClassObject::GetStringArray(text, ".Texts;", values);

    EXPECT_EQ(INT_MIN, least);
    EXPECT_EQ(UINT_MAX, greatest);
    EXPECT_EQ(LONG_MIN, leastLong);
    EXPECT_EQ(ULONG_MAX, greatestLong);
    EXPECT_TRUE(yes);
    EXPECT_EQ("a;b \xC3\xBC", value);
    EXPECT_EQ((std::vector<std::string>{"one", "t;o", ""}), values);
}

TEST_F(ExchangeTest, WritesRequests)
{
    ASSERT_EQ(256, channel_.SendMessage(AllBytes()));
    EXPECT_EQ("00001794731358000000um.snd", CurrentFile(channel_));
    EXPECT_EQ(Stored("request"), ReadFile(InClientDir(CurrentFile(channel_))));
}

TEST_F(ExchangeTest, ReadsRequests)
{
    WriteFile(InClientDir("00001794731358000000um.snd"), Stored("request"));
    std::string text;
    ASSERT_TRUE(channel_.OpenStream());
    while (!channel_.IsEndStream()) {
        if (channel_.IsTransFile())
            text += ReadToEnd(OwnedFd(channel_.GetFileHandle()).get());
    }
    channel_.CloseStream();
    EXPECT_EQ(AllBytes(), text);
}

TEST_F(ExchangeTest, WritesLogs)
{
    CTraceUtility::Initialize("um", CTraceUtility::WRITE_MODE_BOTH);
    CTraceUtility::WriteTrace("um", "DONE", -2, "\xC3\xBC", 0xFEDCBA98UL);
    CTraceUtility::WriteDebug("um", kInfo, "%ld %lu %s", LONG_MIN, ULONG_MAX, "two\nlines");
    CTraceUtility::Terminate("um");

    EXPECT_EQ(Stored("operation-log"), OperationLog());
    char thread[sizeof "0x12345678"];
    std::snprintf(thread, sizeof thread, "0x%08x", static_cast<unsigned>(ThreadId()));
    std::string debugLog = DebugLog();
    const auto place = debugLog.find(thread);
    ASSERT_NE(std::string::npos, place);
    EXPECT_EQ(Stored("debug-log"), debugLog.replace(place, sizeof thread - 1, "0x00001234"));
}

TEST_F(ExchangeTest, ReadsLogs)
{
    WriteFile(LogPath(LogName(kOperationLog)), Stored("operation-log"));
    std::string from = "2026/11/15 08:29:18";
    std::list<std::string> records;
    CTraceUtility::ReadTrace("um", static_cast<CTraceUtility::TRACE_READ_TYPE>(0x100), 10, records,
                             &from);
    EXPECT_EQ((std::list<std::string>{"2026/11/15 08:29:18 info    -2 of \xC3\xBC, 0xfedcba98"}),
              records);
}

TEST_F(ExchangeTest, WritesSettings)
{
    MakeDirs("/opt/velmora/qor/um");
    ASSERT_TRUE(CIniFileWriter(kSettings).append("server", "port", "8443"));
    ASSERT_TRUE(WritePrivateProfileStringA("update", "note", "\xC3\xBC=1;", kSettings));
    ASSERT_TRUE(WritePrivateProfileStringA("server", "port", "-1", kSettings));
    EXPECT_EQ(Stored("settings.ini"), ReadFile(kSettings));
}

TEST_F(ExchangeTest, ReadsSettings)
{
    WriteFile(kSettings, Stored("settings.ini"));
    std::string note;
    EXPECT_TRUE(CIniFileReader(kSettings).find_section("update", "note", note));
    EXPECT_EQ("\xC3\xBC=1;", note);
    EXPECT_EQ(-1, GetPrivateProfileIntA("server", "port", 7, kSettings));
    char port[256 * sizeof(wchar_t)];
    GetPrivateProfileStringW("server", "port", "7", port, 256, kSettings);
    EXPECT_EQ(0, std::memcmp(port, L"-1", 3 * sizeof(wchar_t)));
}

}  // namespace
}  // namespace qor::test
