// ini_files.h - the INI files that are measured, and what each contender can do with them.
#ifndef QOR_BENCH_INI_FILES_H
#define QOR_BENCH_INI_FILES_H

#include <list>
#include <string>
#include <vector>

#include "CTraceUtilityCom.h"

namespace qor::bench {

// Settings of many components, in a grammar that all of the libraries read alike.

inline constexpr char kIniFile[] = "/opt/bench/settings.ini";
inline constexpr char kIniKey[] = "owner";  // the last one of each section

inline std::string IniSection(std::size_t number)
{
    return "component" + std::to_string(number);
}

inline std::string IniOwner(std::size_t number)
{
    return "operator " + std::to_string(number);
}

// Sections 0 to `sections` - 1 in full, of at most `bytes` together.
struct IniFile {
    std::string text;
    std::size_t sections = 0;
};

inline IniFile MakeIniFile(std::size_t bytes)
{
    IniFile file;
    for (;; ++file.sections) {
        const std::string name = IniSection(file.sections);
        std::string section = "[" + name + "]\n";
        section += "title = The settings of " + name + "\n";
        section += "library = /opt/demo/lib/lib" + name + ".so.1\n";
        section += "interval = " + std::to_string(100 + file.sections % 900) + "\n";
        section += "retries = " + std::to_string(file.sections % 10) + "\n";
        section += "level = warning\n";
        section += "enabled = true\n";
        section += std::string(kIniKey) + " = " + IniOwner(file.sections) + "\n\n";
        if (file.text.size() + section.size() > bytes)
            return file;
        file.text += section;
    }
}

// The settings and the message catalogue of a component.

inline constexpr char kSettingsFile[] = "/opt/velmora/qor/um/TraceSetting.ini";
inline constexpr char kCatalogueFile[] = "/opt/velmora/qor/um/TraceSettingMsg.ini";

struct IniContender {
    const char* name;
    std::size_t largestFile;   // in bytes, that it is measured with
    std::size_t mostMessages;  // of a catalogue, likewise

    // Empty when the file does not have it.
    std::string (*value)(const char* path, const std::string& section, const std::string& key);

    std::list<std::string> (*sections)(const char* path);

    // False when it failed; null when the library writes no files.
    bool (*write)(const char* path, const std::string& section, const std::string& key,
                  const std::string& value);

    // Reads kSettingsFile and kCatalogueFile into an object that the caller deletes.
    Setting_Info* (*settings)();
};

inline constexpr std::size_t kAnySize = static_cast<std::size_t>(-1);

// inih, SimpleIni, iniparser, GLib key files, Boost property_tree, each as its manual shows it: a
// file is loaded, asked or changed, and saved.
std::vector<IniContender> IniPeers();

}  // namespace qor::bench

#endif  // QOR_BENCH_INI_FILES_H
