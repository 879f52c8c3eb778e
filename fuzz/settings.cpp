// Settings and catalogue: CTraceUtilityCom against the plain model; what the writer makes of
// message identifiers and of their formats. The library remembers all settings that it ever read:
// settings.options keeps the engine from looking for leaks after each input.
//   identifier; then the settings, "----", the catalogue
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/Format.h"
#include "CTraceUtilityCom.h"
#include "CTraceWrite.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"
#include "support/LogFiles.h"
#include "trace/TraceModel.h"

namespace qor::fuzz {
namespace {

constexpr char kSettings[] = "/opt/velmora/qor/um/TraceSetting.ini";
constexpr char kCatalogue[] = "/opt/velmora/qor/um/TraceSettingMsg.ini";
constexpr std::size_t kTextLimit = 64;
constexpr std::size_t kMostMessages = 12;  // the model reads the file four times for each

using test::FieldsOf;
using test::MessagesOf;

// Settings live as long as the process, which does not read millions of them.
void ForgetSettings()
{
    for (const auto& entry : CTraceUtilityCom::settingInfoMap)
        delete entry.second;
    CTraceUtilityCom::settingInfoMap.clear();
}

Msg_Info MessageModel(const Setting_Info& settings, const std::string& id)
{
    const auto entry = settings.messages.find(id);
    if (entry != settings.messages.end())
        return entry->second;
    Msg_Info unknown;
    unknown.format = "[Error] Message ID Not Found!! id=(" + id + ")";
    unknown.read = "0xFFFFFFFF";
    return unknown;
}

void CompareMessage(CTraceWrite& writer, const Setting_Info& expected, const std::string& id)
{
    Msg_Info message;
    message.format = message.type = "former";
    EXPECT_TRUE(writer.GetMessageInfo(id.c_str(), &message));
    EXPECT_EQ(FieldsOf(MessageModel(expected, id.c_str())), FieldsOf(message)) << Shown(id);
}

}  // namespace

void Prepare()
{
    test::MakeLogDirectory();
    test::MakeDirs("/opt/velmora/qor/um");
}

void TestInput(Input input)
{
    const std::string id = input.Text();
    const std::string settings = input.Part();
    const std::string catalogue = input.Rest();
    PutFile(kSettings, settings);
    PutFile(kCatalogue, catalogue);
    ForgetSettings();

    if (static_cast<std::size_t>(std::count(catalogue.begin(), catalogue.end(), '[')) >
        kMostMessages)
        return;

    const Setting_Info expected = test::SettingsModel(kSettings, kCatalogue);
    const Setting_Info& found = *CTraceUtilityCom::GetSettingInfo("um");
    EXPECT_EQ(expected.traceLevel, found.traceLevel) << Shown(settings);
    EXPECT_EQ(expected.language, found.language) << Shown(settings);
    EXPECT_EQ(MessagesOf(expected), MessagesOf(found)) << Shown(settings) << Shown(catalogue);

    CTraceWrite writer("um", static_cast<CTraceUtility::WRITE_MODE>(0));
    CompareMessage(writer, expected, id);
    for (const auto& [known, message] : expected.messages) {
        CompareMessage(writer, expected, known);
        const char* const format = message.format.c_str();
        if (!MayStoreThroughArgument(format)) {
            EXPECT_GE(kTextLimit, ExpandWithoutArguments(format, kTextLimit).size());
        }
    }
}

}  // namespace qor::fuzz
