// The peers read the benchmark's files alike; of the grammar of docs/ini.md beyond that (repeated
// sections, comments, case) each has its own idea.
#define SI_NO_CONVERSION  // texts are bytes, as they are to us
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <SimpleIni.h>

#include <array>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ini_files.h"

namespace qor::bench {
namespace {

using Names = std::list<std::string>;

constexpr char kSettings[] = "APP_SETTING";

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

// inih calls a handler for each key, in the file's order. The whole file is parsed, whatever the
// handler returns.

template <typename Take>
void ParseByInih(const char* path, Take take)
{
    const auto handler = [](void* user, const char* section, const char* name, const char* value) {
        (*static_cast<Take*>(user))(section, name, value);
        return 1;
    };
    (void)::ini_parse(path, handler, &take);  // what it took is compared
}

std::string ValueByInih(const char* path, const std::string& section, const std::string& key)
{
    std::string answer;
    ParseByInih(path, [&](const char* itsSection, const char* name, const char* value) {
        if (answer.empty() && section == itsSection && key == name)
            answer = value;
    });
    return answer;
}

Names SectionsByInih(const char* path)
{
    Names names;
    ParseByInih(path, [&](const char* section, const char*, const char*) {
        if (names.empty() || names.back() != section)
            names.emplace_back(section);
    });
    return names;
}

// For catalogues that give every message all its keys.
Setting_Info* SettingsByInih()
{
    auto settings = std::make_unique<Setting_Info>();
    ParseByInih(kSettingsFile, [&](const char* section, const char* name, const char* value) {
        if (std::strcmp(section, kSettings) == 0 && std::strcmp(name, "TraceLevel") == 0)
            SetLevel(*settings, value);
        else if (std::strcmp(section, kSettings) == 0 && std::strcmp(name, "Lang") == 0)
            SetLanguage(*settings, value);
    });
    const char* const textKey = TextKey(*settings);
    std::string id;
    Msg_Info* message = nullptr;
    ParseByInih(kCatalogueFile, [&](const char* section, const char* name, const char* value) {
        if (message == nullptr || id != section) {
            id = section;
            message = &settings->messages[section];
        }
        if (std::strcmp(name, textKey) == 0)
            message->format = value;
        else if (std::strcmp(name, "Type") == 0)
            message->type = value;
        else if (std::strcmp(name, "Read") == 0)
            message->read = value;
        else if (std::strcmp(name, "Event") == 0)
            message->event = static_cast<int>(std::strtol(value, nullptr, 10));
    });
    return settings.release();
}

// The other libraries load a file. Get gives null for a key that is missing; what it points to
// lives until the eighth Get after it, at least.

class SimpleIni
{
public:
    explicit SimpleIni(const char* path) { (void)ini_.LoadFile(path); }

    const char* Get(const std::string& section, const char* key)
    {
        return ini_.GetValue(section.c_str(), key);
    }
    Names Sections()
    {
        CSimpleIniCaseA::TNamesDepend entries;
        ini_.GetAllSections(entries);
        entries.sort(CSimpleIniCaseA::Entry::LoadOrder());
        Names names;
        for (const auto& entry : entries)
            names.emplace_back(entry.pItem);
        return names;
    }
    bool Write(const char* path, const std::string& section, const std::string& key,
               const std::string& value)
    {
        return ini_.SetValue(section.c_str(), key.c_str(), value.c_str()) >= 0 &&
               ini_.SaveFile(path, false) >= 0;
    }

private:
    CSimpleIniCaseA ini_;
};

// Its names are in lower case.
class IniParser
{
public:
    explicit IniParser(const char* path) : ini_(::iniparser_load(path), ::iniparser_freedict) {}

    const char* Get(const std::string& section, const char* key)
    {
        return ::iniparser_getstring(ini_.get(), (section + ":" + key).c_str(), nullptr);
    }
    Names Sections()
    {
        Names names;
        const int count = ::iniparser_getnsec(ini_.get());
        for (int i = 0; i < count; ++i)
            names.emplace_back(::iniparser_getsecname(ini_.get(), i));
        return names;
    }
    bool Write(const char* path, const std::string& section, const std::string& key,
               const std::string& value)
    {
        (void)::iniparser_set(ini_.get(), section.c_str(), nullptr);  // a new section needs it
        if (::iniparser_set(ini_.get(), (section + ":" + key).c_str(), value.c_str()) != 0)
            return false;
        std::FILE* const file = std::fopen(path, "we");
        if (file == nullptr)
            return false;
        ::iniparser_dump_ini(ini_.get(), file);
        return std::fclose(file) == 0;
    }

private:
    std::unique_ptr<dictionary, void (*)(dictionary*)> ini_;
};

class GlibKeyFile
{
public:
    explicit GlibKeyFile(const char* path)
    {
        const auto flags =
            static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
        (void)::g_key_file_load_from_file(file_.get(), path, flags, nullptr);
    }

    const char* Get(const std::string& section, const char* key)
    {
        Text& text = texts_[next_++ % texts_.size()];
        text.reset(::g_key_file_get_value(file_.get(), section.c_str(), key, nullptr));
        return text.get();
    }
    Names Sections()
    {
        const std::unique_ptr<char*, void (*)(char**)> groups(
            ::g_key_file_get_groups(file_.get(), nullptr), ::g_strfreev);
        Names names;
        for (char** group = groups.get(); *group != nullptr; ++group)
            names.emplace_back(*group);
        return names;
    }
    bool Write(const char* path, const std::string& section, const std::string& key,
               const std::string& value)
    {
        ::g_key_file_set_string(file_.get(), section.c_str(), key.c_str(), value.c_str());
        return ::g_key_file_save_to_file(file_.get(), path, nullptr) != 0;
    }

private:
    struct Free {
        void operator()(char* text) const { ::g_free(text); }
    };
    using Text = std::unique_ptr<char, Free>;

    std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> file_{::g_key_file_new(), ::g_key_file_free};
    std::array<Text, 8> texts_;
    std::size_t next_ = 0;
};

class PropertyTree
{
public:
    explicit PropertyTree(const char* path) { boost::property_tree::read_ini(path, tree_); }

    const char* Get(const std::string& section, const char* key)
    {
        const auto found = tree_.find(section);
        if (found == tree_.not_found())
            return nullptr;
        const auto entry = found->second.find(key);
        return entry == found->second.not_found() ? nullptr : entry->second.data().c_str();
    }
    Names Sections()
    {
        Names names;
        for (const auto& entry : tree_)
            names.push_back(entry.first);
        return names;
    }
    bool Write(const char* path, const std::string& section, const std::string& key,
               const std::string& value)
    {
        tree_.put(section + "." + key, value);
        boost::property_tree::write_ini(path, tree_);
        return true;
    }

private:
    boost::property_tree::ptree tree_;
};

template <typename Library>
Setting_Info* ReadSettings()
{
    auto settings = std::make_unique<Setting_Info>();
    Library file(kSettingsFile);
    SetLevel(*settings, file.Get(kSettings, "TraceLevel"));
    SetLanguage(*settings, file.Get(kSettings, "Lang"));

    const char* const textKey = TextKey(*settings);
    Library catalogue(kCatalogueFile);
    Msg_Info message;  // keys that a section lacks come from the section before it
    for (const std::string& id : catalogue.Sections()) {
        const char* const format = catalogue.Get(id, textKey);
        if (format == nullptr)
            continue;
        message.format = format;
        if (const char* const type = catalogue.Get(id, "Type"))
            message.type = type;
        if (const char* const read = catalogue.Get(id, "Read"))
            message.read = read;
        if (const char* const event = catalogue.Get(id, "Event"))
            message.event = static_cast<int>(std::strtol(event, nullptr, 10));
        settings->messages.emplace(id, message);
    }
    return settings.release();
}

template <typename Library>
IniContender Peer(const char* name, std::size_t largestFile = kAnySize,
                  std::size_t mostMessages = kAnySize)
{
    return {name,
            largestFile,
            mostMessages,
            [](const char* path, const std::string& section, const std::string& key) {
                Library file(path);
                const char* const value = file.Get(section, key.c_str());
                return std::string(value == nullptr ? "" : value);
            },
            [](const char* path) { return Library(path).Sections(); },
            [](const char* path, const std::string& section, const std::string& key,
               const std::string& value) { return Library(path).Write(path, section, key, value); },
            ReadSettings<Library>};
}

}  // namespace

std::vector<IniContender> IniPeers()
{
    return {
        {"inih", kAnySize, kAnySize, ValueByInih, SectionsByInih, nullptr, SettingsByInih},
        Peer<SimpleIni>("SimpleIni"),
        // Its time grows with the square of the file: seconds for 1 MiB.
        Peer<IniParser>("iniparser", 64 << 10, 1000),
        Peer<GlibKeyFile>("GLib"),
        Peer<PropertyTree>("property_tree"),
    };
}

}  // namespace qor::bench
