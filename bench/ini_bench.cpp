// INI files: one key of the first, the middle or the last section, the list of sections, a profile
// string; a key replaced, a key added, a section added; the settings and the catalogue of a
// component at their first use in a process.
#include <algorithm>
#include <array>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <tuple>

#include "CIniFileReader.h"
#include "CIniFileWriter.h"
#include "ini_files.h"
#include "ini_limit.h"
#include "support/Engine.h"
#include "support/Files.h"
#include "winapi.h"

namespace {

using namespace qor::bench;
using qor::test::WriteFile;

using Names = std::list<std::string>;

constexpr Size kSizes[] = {{"1K", 1 << 10}, {"16K", 16 << 10}, {"1M", 1 << 20}};
constexpr Size kCatalogues[] = {{"100", 100}, {"1K", 1000}, {"10K", 10000}};

std::string OurValue(const char* path, const std::string& section, const std::string& key)
{
    std::string value;
    (void)CIniFileReader(path).find_section(section, key, value);
    return value;
}

Names OurSections(const char* path)
{
    Names names;
    CIniFileReader(path).list_section(names);
    return names;
}

bool OurWrite(const char* path, const std::string& section, const std::string& key,
              const std::string& value)
{
    return CIniFileWriter(path).append(section, key, value);
}

Setting_Info* OurSettings()
{
    CTraceUtilityCom::settingInfoMap.clear();
    return CTraceUtilityCom::GetSettingInfo("um");
}

const std::vector<IniContender>& Contenders()
{
    static const std::vector<IniContender> contenders = [] {
        std::vector<IniContender> all = {
            {"ours", kAnySize, kAnySize, OurValue, OurSections, OurWrite, OurSettings},
            {"limit", kAnySize, kAnySize, LimitValue, LimitSections, LimitWrite, LimitSettings},
        };
        for (const IniContender& peer : IniPeers())
            all.push_back(peer);
        return all;
    }();
    return contenders;
}

bool IsPeer(const IniContender& who)
{
    return who.value != OurValue && who.value != LimitValue;
}

void MeasureValue(benchmark::State& state, const IniContender& who, const IniFile& file,
                  std::size_t number)
{
    WriteFile(kIniFile, file.text);
    const std::string section = IniSection(number);
    const std::string key = kIniKey;
    Measure(
        state, [&] { benchmark::DoNotOptimize(who.value(kIniFile, section, key)); },
        [&] { return who.value(kIniFile, section, key) == IniOwner(number); });
}

void MeasureSections(benchmark::State& state, const IniContender& who, const IniFile& file)
{
    WriteFile(kIniFile, file.text);
    Names expected;
    for (std::size_t i = 0; i < file.sections; ++i)
        expected.push_back(IniSection(i));
    Measure(
        state, [&] { benchmark::DoNotOptimize(who.sections(kIniFile)); },
        [&] { return who.sections(kIniFile) == expected; });
}

using Buffer = std::array<char, 256>;

// As strncpy(3), which is mostly used for what the compiler warns of.
void CopyPadded(Buffer& buffer, const std::string& text)
{
    const std::size_t length = std::min(buffer.size(), text.size());
    std::memcpy(buffer.data(), text.data(), length);
    std::memset(buffer.data() + length, 0, buffer.size() - length);
}

// A peer's value is copied.
void MeasureProfileString(benchmark::State& state, const IniContender& who, const IniFile& file)
{
    WriteFile(kIniFile, file.text);
    const std::size_t number = file.sections / 2;
    const std::string section = IniSection(number);
    Buffer buffer;
    buffer.fill('x');
    const auto isRight = [&] {
        Buffer expected;
        CopyPadded(expected, IniOwner(number));
        return buffer == expected;
    };
    const auto measure = [&](auto read) {
        Measure(
            state,
            [&] {
                read();
                benchmark::DoNotOptimize(&buffer);
            },
            isRight);
    };
    if (IsPeer(who))
        measure([&] { CopyPadded(buffer, who.value(kIniFile, section, kIniKey)); });
    else if (who.value == LimitValue)
        measure([&] {
            LimitProfileString(section.c_str(), kIniKey, "", buffer.data(), buffer.size(),
                               kIniFile);
        });
    else
        measure([&] {
            GetPrivateProfileStringA(section.c_str(), kIniKey, "", buffer.data(), buffer.size(),
                                     kIniFile);
        });
}

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

// Every update starts from the same file. The peers lay out a file in their own ways.
void MeasureUpdate(benchmark::State& state, const IniContender& who, const IniFile& file,
                   const Update& update)
{
    Measure(
        state,
        [&] {
            if (!who.write(kIniFile, update.section, update.key, update.value))
                state.SkipWithError("not written");
        },
        [&] {
            return IsPeer(who) ? OurValue(kIniFile, update.section, update.key) == update.value
                               : qor::test::ReadFile(kIniFile) == update.outcome;
        },
        [&] { WriteFile(kIniFile, file.text); });
}

Msg_Info MessageOf(std::size_t number)
{
    const bool fails = number % 10 == 3;
    Msg_Info message;
    message.format = (fails ? "Update of package %s failed on server %s, step "
                            : "Update of package %s has begun on server %s, step ") +
                     std::to_string(number);
    message.read = fails ? "0x00000004" : "0x00000001";
    message.type = fails ? "fail" : "info";
    message.event = fails ? 1 : 0;
    return message;
}

// A section per message, in no order, in lower case because one of the peers knows no other.
void WriteSettings(std::size_t messages, Setting_Info& expected)
{
    WriteFile(kSettingsFile, "[APP_SETTING]\nTraceLevel=5F\nLang=EN\n");
    std::string catalogue;
    for (std::size_t i = 0; i < messages; ++i) {
        const std::string id = "msg_" + std::to_string(100000 + i * 7919 % 10007);
        const Msg_Info message = MessageOf(i);
        catalogue += "[" + id + "]\nFormatEng=" + message.format + "\nFormat=Lokaler Text " +
                     std::to_string(i) + " (%s, %s)\nType=" + message.type +
                     "\nRead=" + message.read + "\nEvent=" + std::to_string(message.event) + "\n\n";
        expected.messages.emplace(id, message);
    }
    WriteFile(kCatalogueFile, catalogue);
    expected.traceLevel = 0x5F;
}

bool AreEqual(const Setting_Info& a, const Setting_Info& b)
{
    const auto fields = [](const Msg_Info& message) {
        return std::tie(message.format, message.read, message.type, message.event);
    };
    return a.traceLevel == b.traceLevel && a.language == b.language &&
           std::equal(a.messages.begin(), a.messages.end(), b.messages.begin(), b.messages.end(),
                      [&](const auto& x, const auto& y) {
                          return x.first == y.first && fields(x.second) == fields(y.second);
                      });
}

void MeasureSettings(benchmark::State& state, const IniContender& who, std::size_t messages)
{
    Setting_Info expected;
    WriteSettings(messages, expected);
    std::unique_ptr<Setting_Info> settings;
    Measure(
        state, [&] { settings.reset(who.settings()); },
        [&] { return expected.messages.size() == messages && AreEqual(expected, *settings); },
        [&] { settings.reset(); });
    CTraceUtilityCom::settingInfoMap.clear();  // what it points to is freed here
}

void AddFileRows(const Size& size, const IniContender& who)
{
    const IniFile file = MakeIniFile(size.count);
    const auto add = [&](const std::string& operation, auto measure, const auto&... arguments) {
        Add("ini." + operation + "." + size.name, who.name,
            [=](benchmark::State& state) { measure(state, who, file, arguments...); });
    };
    add("key.first", MeasureValue, std::size_t{0});
    add("key.middle", MeasureValue, file.sections / 2);
    add("key.last", MeasureValue, file.sections - 1);
    add("list", MeasureSections);
    add("profile", MeasureProfileString);
    if (who.write != nullptr) {
        add("replace", MeasureUpdate, Replacement(file));
        add("append", MeasureUpdate, Addition(file));
        add("section", MeasureUpdate, NewSection(file));
    }
}

[[maybe_unused]] const bool kRegistered = [] {
    for (const IniContender& who : Contenders()) {
        for (const Size& size : kSizes) {
            if (size.count <= who.largestFile)
                AddFileRows(size, who);
        }
        for (const Size& size : kCatalogues) {
            if (size.count <= who.mostMessages)
                Add(std::string("settings.") + size.name, who.name,
                    [=](auto& state) { MeasureSettings(state, who, size.count); });
        }
    }
    return true;
}();

}  // namespace
