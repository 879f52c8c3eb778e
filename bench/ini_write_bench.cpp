// INI files written: a key replaced, a key added to a section, a section added.
//
// Every update starts from the same file, which is written anew while the clock stands still.
#include <benchmark/benchmark.h>

#include <functional>
#include <string>

#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "ini_files.h"
#include "ini_limit.h"
#include "ini_peers.h"
#include "support/Files.h"

namespace {

using namespace qor::bench;

using Write =
    std::function<bool(const std::string& section, const std::string& key, const std::string&)>;

struct Update {
    std::string section;
    std::string key;
    std::string value;
    std::string outcome;  // the file's bytes afterwards
};

// Of the middle section, whose last line but a blank one is that of kIniKey.
Update Replacement(const IniFile& file)
{
    const std::size_t number = file.sections / 2;
    const std::string before = std::string(kIniKey) + " = " + IniOwner(number) + "\n";
    Update update = {IniSection(number), kIniKey, "somebody else", file.text};
    const std::string after = update.key + "=" + update.value + "\n";
    update.outcome.replace(file.text.find(before), before.size(), after);
    return update;
}

Update Addition(const IniFile& file)
{
    const std::size_t number = file.sections / 2;
    Update update = {IniSection(number), "polling_interval", "200", file.text};
    const std::size_t next = file.text.find("[" + IniSection(number + 1) + "]");
    update.outcome.insert(next, update.key + "=" + update.value + "\n");
    return update;
}

Update NewSection(const IniFile& file)
{
    Update update = {"filetran", "polling_interval", "200", file.text};
    update.outcome += "[" + update.section + "]\n" + update.key + "=" + update.value + "\n";
    return update;
}

bool OurWrite(const std::string& section, const std::string& key, const std::string& value)
{
    return CIniFileWriter(kIniFile).append(section, key, value);
}

bool BareWrite(const std::string& section, const std::string& key, const std::string& value)
{
    return LimitWrite(kIniFile, section, key, value);
}

bool HoldsBytes(const Update& update)
{
    return qor::test::ReadFile(kIniFile) == update.outcome;
}

// The libraries lay out a file in their own ways.
bool HoldsValue(const Update& update)
{
    std::string value;
    return CIniFileReader(kIniFile).find_section(update.section, update.key, value) &&
           value == update.value;
}

void Measure(benchmark::State& state, const IniFile& file, const Update& update, const Write& write,
             bool (*holds)(const Update&))
{
    qor::test::WriteFile(kIniFile, file.text);
    if (!write(update.section, update.key, update.value) || !holds(update))
        state.SkipWithError("another file");
    for (auto _ : state) {
        state.PauseTiming();
        qor::test::WriteFile(kIniFile, file.text);
        state.ResumeTiming();
        if (!write(update.section, update.key, update.value))
            state.SkipWithError("not written");
    }
}

void Register(const std::string& operation, const IniFile& file, const Update& update)
{
    const auto add = [&](const char* who, const Write& write, bool (*holds)(const Update&)) {
        (void)benchmark::RegisterBenchmark(
            (operation + "/" + who).c_str(),
            [=](benchmark::State& state) { Measure(state, file, update, write, holds); });
    };
    add("ours", OurWrite, HoldsBytes);
    add("limit", BareWrite, HoldsBytes);
    for (const IniPeer& peer : IniPeers()) {
        if (peer.write == nullptr || file.text.size() > peer.largestFile)
            continue;
        add(
            peer.name,
            [write = peer.write](const std::string& section, const std::string& key,
                                 const std::string& value) {
                return write(kIniFile, section, key, value);
            },
            HoldsValue);
    }
}

const bool registered = [] {
    for (const auto& size : kIniSizes) {
        const IniFile file = MakeIniFile(size.bytes);
        const std::string end = std::string(".") + size.name;
        Register("ini.replace" + end, file, Replacement(file));
        Register("ini.append" + end, file, Addition(file));
        Register("ini.section" + end, file, NewSection(file));
    }
    return true;
}();

}  // namespace
