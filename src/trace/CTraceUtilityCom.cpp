#include "CTraceUtilityCom.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/InstallPath.h"
#include "base/Numbers.h"
#include "base/Paths.h"
#include "config/IniSnapshot.h"

namespace {

constexpr int kProviderType = 0;
constexpr std::string_view kProviderKey = "provider";  // all providers share one entry
constexpr std::string_view kSettingSection = "APP_SETTING";

// In the order in which a name is tried.
constexpr struct {
    std::string_view keyword;
    int type;
} kComponentTypes[] = {{"um", 2}, {"som", 6}, {"cli", 5}};

constexpr struct {
    std::string_view name;
    const char* path;
} kBasePaths[] = {
    {"um", qor::paths::kUpdateManager},
    {"som", qor::paths::kSbin},
    {"cli", qor::paths::kBin},
    {"lan", qor::paths::kProvider},
    {"cna", qor::paths::kProvider},
    {"fc", qor::paths::kProvider},
    {"raid", qor::paths::kProvider},
    {"sas", qor::paths::kProvider},
    {"hdd", qor::paths::kProvider},
    {"bios", qor::paths::kProvider},
    {"bmc", qor::paths::kProvider},
    {"hoge", qor::paths::kProvider},
    {"umprovider", qor::paths::kProvider},
    {"providerupdater", qor::paths::kProvider},
    {"logmanager", qor::paths::kProvider},
    {"msraid", qor::paths::kProvider},
};

std::string InstalledFile(const char* component, const char* name)
{
    return std::string(qor::InstallPath(CTraceUtilityCom::GetComponentType(component))) + "/" +
           name;
}

// Reads "TraceSetting.ini". Returns the catalogue key of the language's texts.
std::string_view LoadSettings(const char* component, Setting_Info& settings)
{
    std::string path;
    CTraceUtilityCom::GetIniFileName(component, path);
    const qor::IniSnapshot file(qor::ReadFile(path));

    if (const auto level = file.Find(kSettingSection, "TraceLevel"))
        settings.traceLevel =
            static_cast<unsigned int>(std::strtoul(std::string(*level).c_str(), nullptr, 16));
    if (const auto language = file.Find(kSettingSection, "Lang"))
        settings.language = *language;
    return settings.language == "EN" ? "FormatEng" : "Format";
}

// Takes a catalogue's sections in their order.
class CatalogueReader
{
public:
    CatalogueReader(std::string_view textKey, std::map<std::string, Msg_Info>& messages)
        : keys_{textKey, "Type", "Read", "Event"}, messages_(messages)
    {
    }

    void Read(std::string text)
    {
        if (ReadInOnePass(text))
            return;
        messages_.clear();
        last_ = {};
        const qor::IniSnapshot file(std::move(text));
        for (const std::string_view id : file.SectionNames())
            (void)Add(id, file.Find(id, keys_));
    }

private:
    // False when a section has no text, or the values of one may depend on another.
    bool ReadInOnePass(std::string_view text)
    {
        qor::IniSections sections(text);
        while (sections.Next()) {
            if (!Add(sections.Name(), sections.Find(keys_)))
                return false;
        }
        return sections.IsAtEnd();
    }

    // Whether it is a new message. The first entry stays.
    bool Add(std::string_view id, const std::array<qor::IniValue, 4>& values)
    {
        const auto& [format, type, read, event] = values;
        if (!format)
            return false;
        last_.type = type.value_or(last_.type);
        last_.read = read.value_or(last_.read);
        last_.event = event.value_or(last_.event);
        return messages_
            .try_emplace(std::string(id),
                         Msg_Info{std::string(*format), std::string(last_.read),
                                  std::string(last_.type), qor::ToInt(std::string(last_.event))})
            .second;
    }

    const std::array<std::string_view, 4> keys_;
    std::map<std::string, Msg_Info>& messages_;

    // Intended: kept from section to section; see the header.
    struct {
        std::string_view type;
        std::string_view read;
        std::string_view event;
    } last_;
};

// Reads "TraceSettingMsg.ini".
void LoadCatalogue(const char* component, std::string_view textKey, Setting_Info& settings)
{
    std::string path;
    CTraceUtilityCom::GetMsgFileName(component, path);
    CatalogueReader(textKey, settings.messages).Read(qor::ReadFile(path));
}

// The settings belong to the process and are never freed: writers on any thread point to them,
// also while the process ends.
Setting_Info& NewSettings()
{
    static auto& all = *new std::list<const Setting_Info*>;
    auto settings = std::make_unique<Setting_Info>();
    all.push_back(settings.get());
    return *settings.release();
}

using SettingsMap = std::map<std::string, Setting_Info*>;

std::mutex g_cacheLock;

// Null until the process ends. Threads may still log then: this map, which is never destroyed,
// takes over the entries of the public one.
SettingsMap* g_lastCache = nullptr;

struct CacheKeeper {
    ~CacheKeeper()
    {
        const std::lock_guard<std::mutex> lock(g_cacheLock);
        alignas(SettingsMap) static unsigned char storage[sizeof(SettingsMap)];
        g_lastCache = new (storage) SettingsMap(std::move(CTraceUtilityCom::settingInfoMap));
    }
};

SettingsMap& Cache()
{
    return g_lastCache == nullptr ? CTraceUtilityCom::settingInfoMap : *g_lastCache;
}

}  // namespace

std::map<std::string, Setting_Info*> CTraceUtilityCom::settingInfoMap;

namespace {

// Defined after the map, and so destroyed before it.
const CacheKeeper g_cacheKeeper;

}  // namespace

int CTraceUtilityCom::GetComponentType(const char* name)
{
    if (name == nullptr)
        return kProviderType;

    for (const auto& entry : kComponentTypes) {
        // Intended: a leading part of the keyword matches, the empty name included.
        if (entry.keyword.substr(0, std::strlen(name)) == name)
            return entry.type;
    }
    return kProviderType;
}

std::string CTraceUtilityCom::GetBasePath(const char* name)
{
    if (name == nullptr)
        return {};

    const auto* const entry = std::find_if(std::begin(kBasePaths), std::end(kBasePaths),
                                           [name](const auto& e) { return e.name == name; });
    return entry == std::end(kBasePaths) ? std::string() : entry->path;
}

void CTraceUtilityCom::GetIniFileName(const char* component, std::string& out)
{
    out = InstalledFile(component, qor::paths::kTraceSettingFile);
}

void CTraceUtilityCom::GetMsgFileName(const char* component, std::string& out)
{
    out = InstalledFile(component, qor::paths::kTraceMessageFile);
}

Setting_Info* CTraceUtilityCom::GetSettingInfo(const char* component)
{
    if (component == nullptr)
        return nullptr;

    const std::lock_guard<std::mutex> lock(g_cacheLock);
    SettingsMap& cache = Cache();
    const bool isProvider = GetComponentType(component) == kProviderType;
    std::string key(isProvider ? kProviderKey : component);
    const auto cached = cache.find(key);
    if (cached != cache.end())
        return cached->second;

    const qor::CancelGuard guard;
    Setting_Info& settings = NewSettings();
    LoadCatalogue(component, LoadSettings(component, settings), settings);
    cache.emplace(std::move(key), &settings);
    return &settings;
}
