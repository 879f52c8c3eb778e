#include "ini_peers.h"

#define SI_NO_CONVERSION  // texts are bytes, as they are to us
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <SimpleIni.h>

#include <cstdio>
#include <memory>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

namespace qor::bench {
namespace {

constexpr std::size_t kAnySize = static_cast<std::size_t>(-1);

namespace inih {

struct Question {
    const std::string& section;
    const std::string& key;
    std::string answer;
};

// The whole file is parsed, whatever the handler returns.
int TakeValue(void* user, const char* section, const char* name, const char* value)
{
    Question* const question = static_cast<Question*>(user);
    if (question->answer.empty() && question->section == section && question->key == name)
        question->answer = value;
    return 1;
}

std::string Value(const char* path, const std::string& section, const std::string& key)
{
    Question question = {section, key, {}};
    return ::ini_parse(path, TakeValue, &question) == 0 ? question.answer : std::string();
}

int TakeSection(void* user, const char* section, const char*, const char*)
{
    std::list<std::string>* const names = static_cast<std::list<std::string>*>(user);
    if (names->empty() || names->back() != section)
        names->emplace_back(section);
    return 1;
}

std::list<std::string> Sections(const char* path)
{
    std::list<std::string> names;
    (void)::ini_parse(path, TakeSection, &names);  // the names are compared
    return names;
}

}  // namespace inih

namespace simpleini {

std::string Value(const char* path, const std::string& section, const std::string& key)
{
    CSimpleIniA ini;
    if (ini.LoadFile(path) < 0)
        return {};
    return ini.GetValue(section.c_str(), key.c_str(), "");
}

std::list<std::string> Sections(const char* path)
{
    CSimpleIniA ini;
    if (ini.LoadFile(path) < 0)
        return {};
    CSimpleIniA::TNamesDepend entries;
    ini.GetAllSections(entries);
    entries.sort(CSimpleIniA::Entry::LoadOrder());
    std::list<std::string> names;
    for (const CSimpleIniA::Entry& entry : entries)
        names.emplace_back(entry.pItem);
    return names;
}

bool Write(const char* path, const std::string& section, const std::string& key,
           const std::string& value)
{
    CSimpleIniA ini;
    return ini.LoadFile(path) >= 0 &&
           ini.SetValue(section.c_str(), key.c_str(), value.c_str()) >= 0 &&
           ini.SaveFile(path, false) >= 0;
}

}  // namespace simpleini

namespace iniparser {

using Dictionary = std::unique_ptr<dictionary, void (*)(dictionary*)>;

Dictionary Load(const char* path)
{
    return Dictionary(::iniparser_load(path), ::iniparser_freedict);
}

std::string Value(const char* path, const std::string& section, const std::string& key)
{
    const Dictionary ini = Load(path);
    if (!ini)
        return {};
    return ::iniparser_getstring(ini.get(), (section + ":" + key).c_str(), "");
}

std::list<std::string> Sections(const char* path)
{
    const Dictionary ini = Load(path);
    std::list<std::string> names;
    for (int i = 0; ini && i < ::iniparser_getnsec(ini.get()); ++i)
        names.emplace_back(::iniparser_getsecname(ini.get(), i));
    return names;
}

bool Write(const char* path, const std::string& section, const std::string& key,
           const std::string& value)
{
    const Dictionary ini = Load(path);
    if (!ini)
        return false;
    (void)::iniparser_set(ini.get(), section.c_str(), nullptr);  // a new section needs it
    if (::iniparser_set(ini.get(), (section + ":" + key).c_str(), value.c_str()) != 0)
        return false;
    std::FILE* const file = std::fopen(path, "we");
    if (file == nullptr)
        return false;
    ::iniparser_dump_ini(ini.get(), file);
    return std::fclose(file) == 0;
}

}  // namespace iniparser

namespace glib {

using KeyFile = std::unique_ptr<GKeyFile, void (*)(GKeyFile*)>;

KeyFile Load(const char* path)
{
    KeyFile file(::g_key_file_new(), ::g_key_file_free);
    const GKeyFileFlags flags =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (!::g_key_file_load_from_file(file.get(), path, flags, nullptr))
        file.reset();
    return file;
}

std::string Value(const char* path, const std::string& section, const std::string& key)
{
    const KeyFile file = Load(path);
    if (!file)
        return {};
    const std::unique_ptr<char, void (*)(void*)> value(
        ::g_key_file_get_string(file.get(), section.c_str(), key.c_str(), nullptr), ::g_free);
    return value ? value.get() : "";
}

std::list<std::string> Sections(const char* path)
{
    const KeyFile file = Load(path);
    if (!file)
        return {};
    const std::unique_ptr<char*, void (*)(char**)> groups(
        ::g_key_file_get_groups(file.get(), nullptr), ::g_strfreev);
    std::list<std::string> names;
    for (char** group = groups.get(); *group != nullptr; ++group)
        names.emplace_back(*group);
    return names;
}

bool Write(const char* path, const std::string& section, const std::string& key,
           const std::string& value)
{
    const KeyFile file = Load(path);
    if (!file)
        return false;
    ::g_key_file_set_string(file.get(), section.c_str(), key.c_str(), value.c_str());
    return ::g_key_file_save_to_file(file.get(), path, nullptr) != 0;
}

}  // namespace glib

namespace property_tree {

using boost::property_tree::ptree;

ptree Load(const char* path)
{
    ptree tree;
    boost::property_tree::read_ini(path, tree);
    return tree;
}

std::string Value(const char* path, const std::string& section, const std::string& key)
{
    return Load(path).get(section + "." + key, "");
}

std::list<std::string> Sections(const char* path)
{
    std::list<std::string> names;
    for (const auto& entry : Load(path))
        names.push_back(entry.first);
    return names;
}

bool Write(const char* path, const std::string& section, const std::string& key,
           const std::string& value)
{
    ptree tree = Load(path);
    tree.put(section + "." + key, value);
    boost::property_tree::write_ini(path, tree);
    return true;
}

}  // namespace property_tree

}  // namespace

const std::vector<IniPeer>& IniPeers()
{
    // iniparser's time grows with the square of the file: seconds for 1 MiB.
    static const std::vector<IniPeer> peers = {
        {"inih", kAnySize, inih::Value, inih::Sections, nullptr},
        {"SimpleIni", kAnySize, simpleini::Value, simpleini::Sections, simpleini::Write},
        {"iniparser", 64 << 10, iniparser::Value, iniparser::Sections, iniparser::Write},
        {"GLib", kAnySize, glib::Value, glib::Sections, glib::Write},
        {"property_tree", kAnySize, property_tree::Value, property_tree::Sections,
         property_tree::Write},
    };
    return peers;
}

}  // namespace qor::bench
