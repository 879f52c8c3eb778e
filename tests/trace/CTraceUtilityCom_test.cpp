#include "CTraceUtilityCom.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "support/Processes.h"
#include "support/WithoutPrivileges.h"
#include "trace/Msg_InfoBraces.h"
#include "trace/RandomTrace.h"
#include "trace/TraceModel.h"
#include "trace/TraceTest.h"

namespace qor::test {
namespace {

const char kUmSettings[] = "/opt/velmora/qor/um/TraceSetting.ini";
const char kUmCatalogue[] = "/opt/velmora/qor/um/TraceSettingMsg.ini";
const char kProviderSettings[] = "/opt/velmora/qor/provider/TraceSetting.ini";

using Messages = std::map<std::string, MessageFields>;

class CTraceUtilityComTest : public TraceTest
{
protected:
    static Messages Load(const std::string& catalogue)
    {
        SetCatalogue(catalogue);
        return MessagesOf(*CTraceUtilityCom::GetSettingInfo("um"));
    }
};

// A message with all its keys.
std::string Section(const std::string& id, const std::string& text)
{
    return "[" + id + "]\nFormatEng=" + text +
           "\nFormat=other\nType=info\nRead=0x00000001\nEvent=0\n";
}

int (*g_atTheEnd)(const Setting_Info* um) = nullptr;
const Setting_Info* g_um = nullptr;

// Registered before all static objects are made, so called after they were destroyed.
void AtTheEnd()
{
    if (g_atTheEnd == nullptr)
        return;
    for (int i = 0; i < 1000; ++i) {  // writes over what was freed; 80 bytes hold a map's node
        void* const block = std::malloc(72);
        std::memset(block, 0x5A, 72);
    }
    ::_exit(g_atTheEnd(g_um));
}

__attribute__((constructor(101))) void Register()
{
    (void)std::atexit(AtTheEnd);
}

const Msg_Info& Message(const std::string& id)
{
    return CTraceUtilityCom::GetSettingInfo("um")->messages.at(id);
}

TEST_F(CTraceUtilityComTest, KnowsTheTypesOfComponents)
{
    static const struct {
        const char* name;
        int type;
    } cases[] = {
        {"um", 2},   {"cli", 5},      {"som", 6},  {"lan", 0},  {"umprovider", 0},
        {"hoge", 0}, {"provider", 0}, {"UM", 0},   {"Som", 0},  {"um ", 0},
        {" um", 0},  {nullptr, 0},    {"cli2", 0}, {"soms", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.name));
        EXPECT_EQ(c.type, CTraceUtilityCom::GetComponentType(c.name));
    }
}

TEST_F(CTraceUtilityComTest, TakesALeadingPartForTheWholeNameByIntent)
{
    static const struct {
        const char* name;
        int type;
    } cases[] = {
        {"", 2},  {"u", 2},  {"umx", 0},  {"s", 6},  {"so", 6},  {"c", 5},  {"cl", 5},
        {"m", 0}, {"om", 0}, {"somx", 0}, {"ux", 0}, {"sox", 0}, {"cx", 0}, {"clix", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.name));
        EXPECT_EQ(c.type, CTraceUtilityCom::GetComponentType(c.name));
    }
}

TEST_F(CTraceUtilityComTest, KnowsTheBasePathsOfComponentsAndNoneOfOtherNames)
{
    EXPECT_EQ("/opt/velmora/qor/um", CTraceUtilityCom::GetBasePath("um"));
    EXPECT_EQ("/opt/velmora/qor/sbin", CTraceUtilityCom::GetBasePath("som"));
    EXPECT_EQ("/opt/velmora/qor/bin", CTraceUtilityCom::GetBasePath("cli"));
    for (const char* const provider :
         {"lan", "cna", "fc", "raid", "sas", "hdd", "bios", "bmc", "hoge", "umprovider",
          "providerupdater", "logmanager", "msraid"})
        EXPECT_EQ("/opt/velmora/qor/provider", CTraceUtilityCom::GetBasePath(provider)) << provider;

    for (const char* const name : {"", "u", "so", "umx", "UM", "la", "lan2", "provider", "unknown"})
        EXPECT_EQ("", CTraceUtilityCom::GetBasePath(name)) << name;
    EXPECT_EQ("", CTraceUtilityCom::GetBasePath(nullptr));
}

TEST_F(CTraceUtilityComTest, NamesTheSettingsFilesOfComponents)
{
    static const struct {
        const char* component;
        const char* directory;
    } cases[] = {
        {"um", "/opt/velmora/qor/um"},        {"cli", "/opt/velmora/qor/cli"},
        {"som", "/opt/velmora/qor/som"},      {"lan", "/opt/velmora/qor/provider"},
        {"umx", "/opt/velmora/qor/provider"}, {"u", "/opt/velmora/qor/um"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.component);
        std::string path = "former";
        CTraceUtilityCom::GetIniFileName(c.component, path);
        EXPECT_EQ(c.directory + std::string("/TraceSetting.ini"), path);
        CTraceUtilityCom::GetMsgFileName(c.component, path);
        EXPECT_EQ(c.directory + std::string("/TraceSettingMsg.ini"), path);
    }
}

void ExpectDefaults(const Setting_Info* settings)
{
    ASSERT_NE(nullptr, settings);
    EXPECT_EQ(0xFFFFFFFFU, settings->traceLevel);
    EXPECT_EQ("EN", settings->language);
    EXPECT_TRUE(settings->messages.empty());
}

TEST_F(CTraceUtilityComTest, TracesEverythingInEnglishWithoutSettingsFiles)
{
    ExpectDefaults(CTraceUtilityCom::GetSettingInfo("um"));
}

TEST_F(CTraceUtilityComTest, ReadsTheTraceLevelAsHexadecimal)
{
    static const struct {
        const char* text;
        unsigned int level;
    } cases[] = {
        {"0", 0},     {"40", 64},   {"1F", 31},
        {"1f", 31},   {"0x1F", 31}, {"0X1d", 29},
        {"  3F", 63}, {"10", 16},   {"FFFFFFFF", 0xFFFFFFFFU},
        {"none", 0},  {"", 0},      {"0xFFFFFFBF", 0xFFFFFFBFU},
        {"1G", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        SetLevel(c.text);
        CTraceUtilityCom::settingInfoMap.clear();
        EXPECT_EQ(c.level, CTraceUtilityCom::GetSettingInfo("um")->traceLevel);
    }
}

TEST_F(CTraceUtilityComTest, ReadsTheSettingsOfItsSectionAlone)
{
    WriteFile(kUmSettings,
              "TraceLevel=1\nLang=JP\n[OTHER]\nTraceLevel=2\nLang=JP\n"
              "[APP_SETTING]\ntracelevel=3\n;TraceLevel=4\nLANG=JP\n");

    ExpectDefaults(CTraceUtilityCom::GetSettingInfo("um"));
}

TEST_F(CTraceUtilityComTest, TakesTheTextsOfTheLanguage)
{
    static const struct {
        const char* settings;
        const char* language;
        const char* text;
    } cases[] = {
        {"", "EN", "english"},
        {"[APP_SETTING]\n", "EN", "english"},
        {"[APP_SETTING]\nLang=EN\n", "EN", "english"},
        {"[APP_SETTING]\nLang = EN\n", "EN", "english"},
        {"[APP_SETTING]\nLang=en\n", "en", "local"},
        {"[APP_SETTING]\nLang=JP\n", "JP", "local"},
        {"[APP_SETTING]\nLang=EN \n", "EN ", "local"},
        {"[APP_SETTING]\nLang=EN\r\n", "EN\r", "local"},
        {"[APP_SETTING]\nLang=ENG\n", "ENG", "local"},
        {"[APP_SETTING]\nLang=\n", "", "local"},
    };
    SetCatalogue("[ID]\nFormatEng=english\nFormat=local\nType=info\nRead=0x1\nEvent=0\n");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.settings);
        WriteFile(kUmSettings, c.settings);
        CTraceUtilityCom::settingInfoMap.clear();
        EXPECT_EQ(c.language, CTraceUtilityCom::GetSettingInfo("um")->language);
        EXPECT_EQ(c.text, Message("ID").format);
    }
}

TEST_F(CTraceUtilityComTest, ReadsEachSectionOfTheCatalogueAsAMessage)
{
    EXPECT_EQ((Messages{{"MSG_START", {"Update %s started.", "0x00000001", "info", 0}},
                        {"MSG_FAIL", {"Update failed (%d)", "0x00000004", "fail", 1}},
                        {"APP_SETTING", {"a message too", "code", "", 2}}}),
              Load("[MSG_START]\nFormatEng=Update %s started.\nType=info\nRead=0x00000001\n"
                   "Event=0\n\n"
                   "[MSG_FAIL]\nEvent=1\nRead=0x00000004\nType=fail\n"
                   "FormatEng=Update failed (%d)\n"
                   "[APP_SETTING]\nFormatEng=a message too\nType=\nRead=code\nEvent=2\n"));
}

TEST_F(CTraceUtilityComTest, ReadsTheEventAsADecimalNumber)
{
    static const struct {
        const char* text;
        int event;
    } cases[] = {
        {"0", 0},   {"1", 1}, {"12", 12},  {"-1", -1},  {"yes", 0},
        {"0x1", 0}, {"", 0},  {"3 no", 3}, {"010", 10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        SetCatalogue(std::string("[ID]\nFormatEng=text\nEvent=") + c.text + "\n");
        CTraceUtilityCom::settingInfoMap.clear();
        EXPECT_EQ(c.event, Message("ID").event);
    }
}

TEST_F(CTraceUtilityComTest, InheritsMissingKeysFromTheSectionBeforeByIntent)
{
    SetCatalogue(
        "[FIRST]\nFormatEng=1\n"
        "[SECOND]\nFormatEng=2\nType=fail\nRead=0x00000002\nEvent=1\n"
        "[THIRD]\nFormatEng=3\n"
        "[FOURTH]\nFormatEng=4\nType=warn\n"
        "[FIFTH]\nFormatEng=5\nRead=0x00000005\nEvent=0\n");
    static const struct {
        const char* id;
        const char* type;
        const char* read;
        int event;
    } cases[] = {
        {"FIRST", "", "", 0},
        {"SECOND", "fail", "0x00000002", 1},
        {"THIRD", "fail", "0x00000002", 1},
        {"FOURTH", "warn", "0x00000002", 1},
        {"FIFTH", "warn", "0x00000005", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        EXPECT_EQ(c.type, Message(c.id).type);
        EXPECT_EQ(c.read, Message(c.id).read);
        EXPECT_EQ(c.event, Message(c.id).event);
    }
}

TEST_F(CTraceUtilityComTest, PassesOverASectionWithoutText)
{
    EXPECT_EQ((Messages{{"FIRST", {"1", "0x1", "info", 0}}, {"LAST", {"3", "0x1", "info", 0}}}),
              Load("[FIRST]\nFormatEng=1\nType=info\nRead=0x1\nEvent=0\n"
                   "[SKIPPED]\nFormat=other language\nType=fail\nRead=0x2\nEvent=1\n"
                   "[LAST]\nFormatEng=3\n"));
}

TEST_F(CTraceUtilityComTest, KeepsAnEmptyText)
{
    EXPECT_EQ((Messages{{"ID", {"", "0x1", "info", 0}}}),
              Load("[ID]\nFormatEng=\nType=info\nRead=0x1\nEvent=0\n"));
}

TEST_F(CTraceUtilityComTest, KeepsTheFirstEntryOfARepeatedSection)
{
    EXPECT_EQ((Messages{{"ID", {"first", "0x00000001", "info", 0}},
                        {"OTHER", {"other", "0x00000001", "info", 0}}}),
              Load(Section("ID", "first") + Section("OTHER", "other") + Section("ID", "second") +
                   Section("ID", "third")));
}

TEST_F(CTraceUtilityComTest, KeepsWhatTheFirstOfRepeatedSectionsInherited)
{
    EXPECT_EQ((Messages{{"FIRST", {"1", "0x1", "info", 0}},
                        {"ID", {"2", "0x1", "info", 0}},
                        {"OTHER", {"3", "0x2", "fail", 1}}}),
              Load("[FIRST]\nFormatEng=1\nType=info\nRead=0x1\nEvent=0\n"
                   "[ID]\nFormatEng=2\n"
                   "[OTHER]\nFormatEng=3\nType=fail\nRead=0x2\nEvent=1\n"
                   "[ID]\nFormatEng=4\n"));
}

TEST_F(CTraceUtilityComTest, LooksForEachKeyInAllSectionsOfTheName)
{
    EXPECT_EQ(
        (Messages{{"ID", {"text", "0x2", "info", 0}}, {"OTHER", {"other", "0x2", "info", 0}}}),
        Load("[ID]\nType=info\n[OTHER]\nFormatEng=other\n[ID]\nFormatEng=text\nRead=0x2\n"));
}

TEST_F(CTraceUtilityComTest, InheritsNothingFromALaterSection)
{
    EXPECT_EQ((Messages{{"FIRST", {"1", "", "fail", 0}}, {"SECOND", {"2", "0x1", "info", 1}}}),
              Load("[FIRST]\nFormatEng=1\n"
                   "[SECOND]\nFormatEng=2\nType=info\nRead=0x1\nEvent=1\n"
                   "[FIRST]\nType=fail\n"));
}

TEST_F(CTraceUtilityComTest, NeverReadsSettingsAgain)
{
    SetLevel("1F");
    SetCatalogue(Section("ID", "first"));
    const Setting_Info* const settings = CTraceUtilityCom::GetSettingInfo("um");

    SetLevel("3");
    SetCatalogue(Section("ID", "second"));

    EXPECT_EQ(settings, CTraceUtilityCom::GetSettingInfo("um"));
    EXPECT_EQ(31U, settings->traceLevel);
    EXPECT_EQ("first", Message("ID").format);
}

TEST_F(CTraceUtilityComTest, NeverReadsMissingSettingsAgain)
{
    ASSERT_EQ(0xFFFFFFFFU, CTraceUtilityCom::GetSettingInfo("um")->traceLevel);
    SetLevel("3");

    EXPECT_EQ(0xFFFFFFFFU, CTraceUtilityCom::GetSettingInfo("um")->traceLevel);
}

TEST_F(CTraceUtilityComTest, SharesOneEntryAmongAllProviders)
{
    WriteFile(kProviderSettings, "[APP_SETTING]\nTraceLevel=5\n");
    const Setting_Info* const settings = CTraceUtilityCom::GetSettingInfo("lan");

    EXPECT_EQ(5U, settings->traceLevel);
    for (const char* const provider : {"hdd", "provider", "umx", "any"})
        EXPECT_EQ(settings, CTraceUtilityCom::GetSettingInfo(provider)) << provider;
    EXPECT_EQ(1U, CTraceUtilityCom::settingInfoMap.size());
    EXPECT_EQ(settings, CTraceUtilityCom::settingInfoMap.at("provider"));
}

TEST_F(CTraceUtilityComTest, KeepsAnEntryForEachOtherName)
{
    SetLevel("7");
    Setting_Info* const um = CTraceUtilityCom::GetSettingInfo("um");

    EXPECT_NE(um, CTraceUtilityCom::GetSettingInfo("som"));
    EXPECT_NE(um, CTraceUtilityCom::GetSettingInfo("cli"));
    EXPECT_NE(um, CTraceUtilityCom::GetSettingInfo("u"));
    EXPECT_EQ(7U, CTraceUtilityCom::GetSettingInfo("u")->traceLevel);
    const std::map<std::string, Setting_Info*>& all = CTraceUtilityCom::settingInfoMap;
    EXPECT_EQ(4U, all.size());
    EXPECT_EQ(um, all.at("um"));
    EXPECT_EQ(1U, all.count("som") * all.count("cli") * all.count("u"));
}

TEST_F(CTraceUtilityComTest, HandsOutAnEntryThatIsThere)
{
    Setting_Info mine;
    CTraceUtilityCom::settingInfoMap["um"] = &mine;
    SetLevel("7");

    EXPECT_EQ(&mine, CTraceUtilityCom::GetSettingInfo("um"));

    EXPECT_EQ(0xFFFFFFFFU, mine.traceLevel);
    CTraceUtilityCom::settingInfoMap.clear();
}

TEST_F(CTraceUtilityComTest, KnowsSettingsWhileTheProcessEnds)
{
    EXPECT_EQ(0, InChild([] {
                  static Setting_Info callers;
                  CTraceUtilityCom::settingInfoMap["lan"] = &callers;
                  CTraceUtilityCom::settingInfoMap["provider"] = &callers;
                  g_atTheEnd = [](const Setting_Info* um) {
                      return CTraceUtilityCom::GetSettingInfo("um") == um &&
                                     CTraceUtilityCom::GetSettingInfo("som") != um &&
                                     CTraceUtilityCom::GetSettingInfo("hdd") == &callers
                                 ? 0
                                 : 1;
                  };
                  g_um = CTraceUtilityCom::GetSettingInfo("um");
                  std::exit(2);
                  return 3;
              }));
}

TEST_F(CTraceUtilityComTest, HasNoSettingsForNull)
{
    EXPECT_EQ(nullptr, CTraceUtilityCom::GetSettingInfo(nullptr));
    EXPECT_TRUE(CTraceUtilityCom::settingInfoMap.empty());
}

TEST_F(CTraceUtilityComTest, FallsBackToDefaultsWhenFilesCannotBeRead)
{
    MakeDirs(kUmSettings);
    MakeDirs(kUmCatalogue);
    ExpectDefaults(CTraceUtilityCom::GetSettingInfo("um"));

    for (const char* const path : {kUmSettings, kUmCatalogue}) {
        RemoveTree(path);
        WriteFile(path, "[APP_SETTING]\nTraceLevel=1F\nLang=JP\n" + Section("ID", "text"));
        ASSERT_EQ(0, ::chmod(path, 0));
    }
    CTraceUtilityCom::settingInfoMap.clear();
    const WithoutPrivileges ordinary;
    ExpectDefaults(CTraceUtilityCom::GetSettingInfo("um"));
}

TEST_F(CTraceUtilityComTest, ReadsPastBinaryAndEndlessLines)
{
    const std::string noise = std::string(1 << 20, 'x') + std::string("\0\1\377=[\n", 6);
    WriteFile(kUmSettings, noise + "[APP_SETTING]\nTraceLevel=1F\n");
    SetCatalogue(noise + Section("ID", "text") + "[LAST]\nFormatEng=cut off");

    EXPECT_EQ(31U, CTraceUtilityCom::GetSettingInfo("um")->traceLevel);
    EXPECT_EQ("text", Message("ID").format);
    EXPECT_EQ("cut off", Message("LAST").format);
}

TEST_F(CTraceUtilityComTest, ReadsRandomFilesAsTheRulesSay)
{
    std::size_t messages = 0;
    for (unsigned seed = 1; seed <= kRandomTraces; ++seed) {
        RandomTrace random(seed);
        const std::string settingsText = random.Settings();
        const std::string catalogue = random.Catalogue();
        WriteFile(kUmSettings, settingsText);
        SetCatalogue(catalogue);
        CTraceUtilityCom::settingInfoMap.clear();

        const Setting_Info expected = SettingsModel(kUmSettings, kUmCatalogue);
        const Setting_Info& settings = *CTraceUtilityCom::GetSettingInfo("um");
        ASSERT_EQ(expected.traceLevel, settings.traceLevel) << DescribeCase(seed, settingsText);
        ASSERT_EQ(expected.language, settings.language) << DescribeCase(seed, settingsText);
        ASSERT_EQ(MessagesOf(expected), MessagesOf(settings)) << DescribeCase(seed, catalogue);
        messages += expected.messages.size();
    }
    EXPECT_LT(kRandomTraces, messages) << "The catalogues hold too few messages.";
}

TEST(Msg_InfoTest, IsInitialisedWithBracesInCpp11)
{
    const Msg_Info all = WholeMessage();
    const Msg_Info some = PartOfMessage();
    const Msg_Info none = NoMessage();

    EXPECT_EQ("text %d", all.format);
    EXPECT_EQ("0x00000001", all.read);
    EXPECT_EQ("info", all.type);
    EXPECT_EQ(7, all.event);
    EXPECT_EQ("text %d", some.format);
    EXPECT_EQ(0, some.event);
    EXPECT_EQ("", none.format);
    EXPECT_EQ(0, none.event);
}

}  // namespace
}  // namespace qor::test
