// ini_files.h - the INI files that are measured: settings of many components, in a grammar that
// all of the libraries read alike.
#ifndef QOR_BENCH_INI_FILES_H
#define QOR_BENCH_INI_FILES_H

#include <cstdio>
#include <string>

namespace qor::bench {

constexpr char kIniFile[] = "/opt/bench/settings.ini";
constexpr char kIniKey[] = "owner";  // the last one of each section

constexpr struct {
    const char* name;
    std::size_t bytes;
} kIniSizes[] = {{"1K", 1 << 10}, {"16K", 16 << 10}, {"1M", 1 << 20}};

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

}  // namespace qor::bench

#endif  // QOR_BENCH_INI_FILES_H
