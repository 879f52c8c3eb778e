// Settings and catalogue by the INI libraries that one would use instead: each loads a file, then
// every section is asked for its keys. They read the benchmark's files alike; of the grammar of
// docs/ini.md beyond that (repeated sections, comments, case) each has its own idea.
#define SI_CONVERT_ICU  // what Debian's package is built with
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <SimpleIni.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "settings_bench.h"

namespace qor::bench {
namespace {

constexpr char kSection[] = "APP_SETTING";

void SetLevel(Setting_Info& settings, const char* text)
{
    if (text != nullptr)
        settings.traceLevel = static_cast<unsigned int>(std::strtoul(text, nullptr, 16));
}

void SetLanguage(Setting_Info& settings, const char* text)
{
    if (text != nullptr)
        settings.language = text;
}

const char* TextKey(const Setting_Info& settings)
{
    return settings.language == "EN" ? "FormatEng" : "Format";
}

// The messages of a catalogue; keys that a section lacks come from the section before it.
class Catalogue
{
public:
    explicit Catalogue(Setting_Info& settings) : settings_(settings) {}

    // Null: not there.
    void Add(const char* id, const char* format, const char* type, const char* read,
             const char* event)
    {
        if (format == nullptr)
            return;
        if (type != nullptr)
            last_.type = type;
        if (read != nullptr)
            last_.read = read;
        if (event != nullptr)
            last_.event = static_cast<int>(std::strtol(event, nullptr, 10));
        last_.format = format;
        settings_.messages.emplace(id, last_);
    }

private:
    Setting_Info& settings_;
    Msg_Info last_;
};

// --- inih: a call for each key, in the file's order.

int TakeSetting(void* user, const char* section, const char* name, const char* value)
{
    auto& settings = *static_cast<Setting_Info*>(user);
    if (std::strcmp(section, kSection) == 0 && std::strcmp(name, "TraceLevel") == 0)
        SetLevel(settings, value);
    else if (std::strcmp(section, kSection) == 0 && std::strcmp(name, "Lang") == 0)
        SetLanguage(settings, value);
    return 1;
}

// For catalogues that give every message all its keys.
struct InihCatalogue {
    Setting_Info& settings;
    const char* textKey;
    std::string id;
    Msg_Info* message;
};

int TakeMessageKey(void* user, const char* section, const char* name, const char* value)
{
    auto& catalogue = *static_cast<InihCatalogue*>(user);
    if (catalogue.message == nullptr || catalogue.id != section) {
        catalogue.id = section;
        catalogue.message = &catalogue.settings.messages[section];
    }
    if (std::strcmp(name, catalogue.textKey) == 0)
        catalogue.message->format = value;
    else if (std::strcmp(name, "Type") == 0)
        catalogue.message->type = value;
    else if (std::strcmp(name, "Read") == 0)
        catalogue.message->read = value;
    else if (std::strcmp(name, "Event") == 0)
        catalogue.message->event = static_cast<int>(std::strtol(value, nullptr, 10));
    return 1;
}

}  // namespace

Setting_Info* ReadByInih()
{
    auto settings = std::make_unique<Setting_Info>();
    (void)::ini_parse(kSettingsFile, TakeSetting, settings.get());
    InihCatalogue catalogue{*settings, TextKey(*settings), "", nullptr};
    (void)::ini_parse(kCatalogueFile, TakeMessageKey, &catalogue);
    return settings.release();
}

Setting_Info* ReadBySimpleIni()
{
    auto settings = std::make_unique<Setting_Info>();
    CSimpleIniCaseA file;
    (void)file.LoadFile(kSettingsFile);
    SetLevel(*settings, file.GetValue(kSection, "TraceLevel"));
    SetLanguage(*settings, file.GetValue(kSection, "Lang"));

    const char* const textKey = TextKey(*settings);
    CSimpleIniCaseA messages;
    (void)messages.LoadFile(kCatalogueFile);
    CSimpleIniCaseA::TNamesDepend sections;
    messages.GetAllSections(sections);
    sections.sort(CSimpleIniCaseA::Entry::LoadOrder());
    Catalogue catalogue(*settings);
    for (const auto& section : sections) {
        const char* const id = section.pItem;
        catalogue.Add(id, messages.GetValue(id, textKey), messages.GetValue(id, "Type"),
                      messages.GetValue(id, "Read"), messages.GetValue(id, "Event"));
    }
    return settings.release();
}

// Its names are in lower case.
Setting_Info* ReadByIniparser()
{
    using Dictionary = std::unique_ptr<dictionary, decltype(&::iniparser_freedict)>;
    auto settings = std::make_unique<Setting_Info>();
    const Dictionary file(::iniparser_load(kSettingsFile), ::iniparser_freedict);
    SetLevel(*settings, ::iniparser_getstring(file.get(), "app_setting:tracelevel", nullptr));
    SetLanguage(*settings, ::iniparser_getstring(file.get(), "app_setting:lang", nullptr));

    const char* const textKey = TextKey(*settings);
    const Dictionary messages(::iniparser_load(kCatalogueFile), ::iniparser_freedict);
    Catalogue catalogue(*settings);
    const int sections = ::iniparser_getnsec(messages.get());
    for (int i = 0; i < sections; ++i) {
        const std::string id = ::iniparser_getsecname(messages.get(), i);
        const auto get = [&](const char* key) {
            return ::iniparser_getstring(messages.get(), (id + ":" + key).c_str(), nullptr);
        };
        catalogue.Add(id.c_str(), get(textKey), get("Type"), get("Read"), get("Event"));
    }
    return settings.release();
}

Setting_Info* ReadByGlib()
{
    using KeyFile = std::unique_ptr<GKeyFile, decltype(&::g_key_file_free)>;
    using Text = std::unique_ptr<char, decltype(&::g_free)>;
    using Texts = std::unique_ptr<char*, decltype(&::g_strfreev)>;
    const auto load = [](const char* path) {
        KeyFile file(::g_key_file_new(), ::g_key_file_free);
        (void)::g_key_file_load_from_file(file.get(), path, G_KEY_FILE_NONE, nullptr);
        return file;
    };
    const auto get = [](const KeyFile& file, const char* group, const char* key) {
        return Text(::g_key_file_get_value(file.get(), group, key, nullptr), ::g_free);
    };

    auto settings = std::make_unique<Setting_Info>();
    const KeyFile file = load(kSettingsFile);
    SetLevel(*settings, get(file, kSection, "TraceLevel").get());
    SetLanguage(*settings, get(file, kSection, "Lang").get());

    const char* const textKey = TextKey(*settings);
    const KeyFile messages = load(kCatalogueFile);
    const Texts groups(::g_key_file_get_groups(messages.get(), nullptr), ::g_strfreev);
    Catalogue catalogue(*settings);
    for (char** id = groups.get(); *id != nullptr; ++id)
        catalogue.Add(*id, get(messages, *id, textKey).get(), get(messages, *id, "Type").get(),
                      get(messages, *id, "Read").get(), get(messages, *id, "Event").get());
    return settings.release();
}

Setting_Info* ReadByPropertyTree()
{
    using boost::property_tree::ptree;
    const auto get = [](const ptree& section, const char* key) -> const char* {
        const auto entry = section.find(key);
        return entry == section.not_found() ? nullptr : entry->second.data().c_str();
    };

    auto settings = std::make_unique<Setting_Info>();
    ptree file;
    boost::property_tree::read_ini(kSettingsFile, file);
    const ptree& section = file.get_child(kSection);
    SetLevel(*settings, get(section, "TraceLevel"));
    SetLanguage(*settings, get(section, "Lang"));

    const char* const textKey = TextKey(*settings);
    ptree messages;
    boost::property_tree::read_ini(kCatalogueFile, messages);
    Catalogue catalogue(*settings);
    for (const auto& [id, keys] : messages)
        catalogue.Add(id.c_str(), get(keys, textKey), get(keys, "Type"), get(keys, "Read"),
                      get(keys, "Event"));
    return settings.release();
}

}  // namespace qor::bench
