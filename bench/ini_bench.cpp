// INI files read: one key of the first, the middle or the last section, the list of sections, a
// profile string.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <list>
#include <string>

#include "CIniFileReader.h"
#include "ini_files.h"
#include "ini_limit.h"
#include "ini_peers.h"
#include "support/Files.h"
#include "winapi.h"

namespace {

using namespace qor::bench;

using Names = std::list<std::string>;
using ValueOf = std::function<std::string(const std::string& section)>;
using NamesOf = std::function<Names()>;
// GetPrivateProfileStringA, whatever it returns.
using ReadText = std::function<void(const char* section, const char* key, const char* defaultValue,
                                    char* buffer, unsigned long size, const char* path)>;

constexpr std::size_t kBuffer = 256;

std::string OurValue(const std::string& section)
{
    std::string value;
    (void)CIniFileReader(kIniFile).find_section(section, kIniKey, value);
    return value;
}

std::string BareValue(const std::string& section)
{
    std::string value;
    (void)LimitValue(kIniFile, section, kIniKey, value);
    return value;
}

Names OurNames()
{
    Names names;
    CIniFileReader(kIniFile).list_section(names);
    return names;
}

Names BareNames()
{
    Names names;
    LimitSections(kIniFile, names);
    return names;
}

// As strncpy(3), which is mostly used for what the compiler warns of.
void CopyPadded(char* buffer, const std::string& text, std::size_t size)
{
    const std::size_t length = std::min(size, text.size());
    std::memcpy(buffer, text.data(), length);
    std::memset(buffer + length, 0, size - length);
}

void MeasureValue(benchmark::State& state, const IniFile& file, std::size_t number,
                  const ValueOf& valueOf)
{
    qor::test::WriteFile(kIniFile, file.text);
    const std::string section = IniSection(number);
    if (valueOf(section) != IniOwner(number))
        state.SkipWithError("another value");
    for (auto _ : state)
        benchmark::DoNotOptimize(valueOf(section));
}

void MeasureNames(benchmark::State& state, const IniFile& file, const NamesOf& namesOf)
{
    qor::test::WriteFile(kIniFile, file.text);
    Names expected;
    for (std::size_t i = 0; i < file.sections; ++i)
        expected.push_back(IniSection(i));
    if (namesOf() != expected)
        state.SkipWithError("other names");
    for (auto _ : state)
        benchmark::DoNotOptimize(namesOf());
}

void MeasureProfileString(benchmark::State& state, const IniFile& file, const ReadText& read)
{
    qor::test::WriteFile(kIniFile, file.text);
    const std::size_t number = file.sections / 2;
    const std::string section = IniSection(number);
    char expected[kBuffer];
    CopyPadded(expected, IniOwner(number), sizeof expected);
    char buffer[kBuffer];
    std::memset(buffer, 'x', sizeof buffer);
    read(section.c_str(), kIniKey, "", buffer, sizeof buffer, kIniFile);
    if (std::memcmp(buffer, expected, sizeof buffer) != 0)
        state.SkipWithError("another text");
    for (auto _ : state) {
        read(section.c_str(), kIniKey, "", buffer, sizeof buffer, kIniFile);
        benchmark::DoNotOptimize(&buffer);
    }
}

template <typename Measure>
void Register(const std::string& operation, const char* who, const Measure& measure)
{
    (void)benchmark::RegisterBenchmark((operation + "/" + who).c_str(), measure);
}

void RegisterValue(const std::string& operation, const IniFile& file, std::size_t number)
{
    const auto add = [&](const char* who, const ValueOf& valueOf) {
        Register(operation, who, [file, number, valueOf](benchmark::State& state) {
            MeasureValue(state, file, number, valueOf);
        });
    };
    add("ours", OurValue);
    add("limit", BareValue);
    for (const IniPeer& peer : IniPeers()) {
        if (file.text.size() > peer.largestFile)
            continue;
        add(peer.name, [value = peer.value](const std::string& section) {
            return value(kIniFile, section, kIniKey);
        });
    }
}

void RegisterNames(const std::string& operation, const IniFile& file)
{
    const auto add = [&](const char* who, const NamesOf& namesOf) {
        Register(operation, who,
                 [file, namesOf](benchmark::State& state) { MeasureNames(state, file, namesOf); });
    };
    add("ours", OurNames);
    add("limit", BareNames);
    for (const IniPeer& peer : IniPeers()) {
        if (file.text.size() <= peer.largestFile)
            add(peer.name, [sections = peer.sections] { return sections(kIniFile); });
    }
}

void RegisterProfileString(const std::string& operation, const IniFile& file)
{
    const auto add = [&](const char* who, const ReadText& read) {
        Register(operation, who, [file, read](benchmark::State& state) {
            MeasureProfileString(state, file, read);
        });
    };
    add("ours", GetPrivateProfileStringA);
    add("limit", LimitProfileString);
    for (const IniPeer& peer : IniPeers()) {
        if (file.text.size() > peer.largestFile)
            continue;
        add(peer.name, [value = peer.value](const char* section, const char* key, const char*,
                                            char* buffer, std::size_t size, const char* path) {
            CopyPadded(buffer, value(path, section, key), size);
        });
    }
}

const bool registered = [] {
    for (const auto& size : kIniSizes) {
        const IniFile file = MakeIniFile(size.bytes);
        const std::string end = std::string(".") + size.name;
        RegisterValue("ini.key.first" + end, file, 0);
        RegisterValue("ini.key.middle" + end, file, file.sections / 2);
        RegisterValue("ini.key.last" + end, file, file.sections - 1);
        RegisterNames("ini.list" + end, file);
        RegisterProfileString("ini.profile" + end, file);
    }
    return true;
}();

}  // namespace
