// The settings and the catalogue of a component, at their first use in a process.
#include "settings_bench.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include "support/Files.h"

namespace {

namespace peers = qor::bench;
using peers::kCatalogueFile;
using peers::kSettingsFile;

constexpr char kComponent[] = "um";

constexpr struct {
    const char* name;
    std::size_t messages;
} kSizes[] = {{"100", 100}, {"1K", 1000}, {"10K", 10000}};

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
void WriteFiles(std::size_t messages, Setting_Info& expected)
{
    qor::test::WriteFile(kSettingsFile, "[APP_SETTING]\nTraceLevel=5F\nLang=EN\n");
    std::string catalogue;
    for (std::size_t i = 0; i < messages; ++i) {
        const std::string id = "msg_" + std::to_string(100000 + i * 7919 % 10007);
        const Msg_Info message = MessageOf(i);
        catalogue += "[" + id + "]\nFormatEng=" + message.format + "\nFormat=Lokaler Text " +
                     std::to_string(i) + " (%s, %s)\nType=" + message.type +
                     "\nRead=" + message.read + "\nEvent=" + std::to_string(message.event) + "\n\n";
        expected.messages.emplace(id, message);
    }
    qor::test::WriteFile(kCatalogueFile, catalogue);
    expected.traceLevel = 0x5F;
}

Setting_Info* Ours()
{
    CTraceUtilityCom::settingInfoMap.clear();
    return CTraceUtilityCom::GetSettingInfo(kComponent);
}

// --- The limit: each file read at once, one pass over its lines, the map filled on the way. What a
// section lacks comes from the section before it; the catalogue must name each section once.

class FileText
{
public:
    explicit FileText(const char* path)
    {
        const int file = ::open(path, O_RDONLY | O_CLOEXEC);
        struct stat status;
        if (::fstat(file, &status) != 0)
            std::abort();
        bytes_.reset(static_cast<char*>(std::malloc(static_cast<std::size_t>(status.st_size))));
        const ssize_t count = ::read(file, bytes_.get(), static_cast<std::size_t>(status.st_size));
        (void)::close(file);
        rest_ = std::string_view(bytes_.get(), static_cast<std::size_t>(count));
    }

    // Without the line feed; the files of the benchmark end with one.
    bool NextLine(std::string_view& line)
    {
        if (rest_.empty())
            return false;
        line = rest_.substr(0, rest_.find('\n'));
        rest_.remove_prefix(line.size() + 1);
        return true;
    }

private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    std::unique_ptr<char[], Free> bytes_;
    std::string_view rest_;
};

bool Split(std::string_view line, std::string_view& key, std::string_view& value)
{
    const auto equals = line.find('=');
    if (equals == std::string_view::npos || line.front() == ';')
        return false;
    key = line.substr(0, equals);
    while (!key.empty() && key.back() == ' ')
        key.remove_suffix(1);
    value = line.substr(equals + 1);
    while (!value.empty() && value.front() == ' ')
        value.remove_prefix(1);
    return true;
}

void LimitSettings(Setting_Info& settings)
{
    FileText file(kSettingsFile);
    bool inside = false;
    std::string_view line, key, value;
    while (file.NextLine(line)) {
        if (!line.empty() && line.front() == '[')
            inside = line == "[APP_SETTING]";
        else if (!inside || !Split(line, key, value))
            continue;
        else if (key == "TraceLevel")
            settings.traceLevel =
                static_cast<unsigned int>(std::strtoul(std::string(value).c_str(), nullptr, 16));
        else if (key == "Lang")
            settings.language = value;
    }
}

void LimitCatalogue(Setting_Info& settings)
{
    const std::string_view textKey = settings.language == "EN" ? "FormatEng" : "Format";
    FileText file(kCatalogueFile);
    std::string_view id, format, type, read, event = "0";
    const auto finish = [&] {
        if (format.data() == nullptr)
            return;
        Msg_Info& message = settings.messages[std::string(id)];
        message.format = format;
        message.read = read;
        message.type = type;
        message.event = static_cast<int>(std::strtol(event.data(), nullptr, 10));
        format = {};
    };

    std::string_view line, key, value;
    while (file.NextLine(line)) {
        if (!line.empty() && line.front() == '[') {
            finish();
            id = line.substr(1, line.rfind(']') - 1);
        } else if (Split(line, key, value)) {
            if (key == textKey)
                format = value;
            else if (key == "Type")
                type = value;
            else if (key == "Read")
                read = value;
            else if (key == "Event")
                event = value;
        }
    }
    finish();
}

Setting_Info* Limit()
{
    auto settings = std::make_unique<Setting_Info>();
    LimitSettings(*settings);
    LimitCatalogue(*settings);
    return settings.release();
}

// --- The measurement.

bool AreEqual(const Msg_Info& a, const Msg_Info& b)
{
    return std::tie(a.format, a.read, a.type, a.event) ==
           std::tie(b.format, b.read, b.type, b.event);
}

bool AreEqual(const Setting_Info& a, const Setting_Info& b)
{
    return a.traceLevel == b.traceLevel && a.language == b.language &&
           std::equal(a.messages.begin(), a.messages.end(), b.messages.begin(), b.messages.end(),
                      [](const auto& x, const auto& y) {
                          return x.first == y.first && AreEqual(x.second, y.second);
                      });
}

using Reader = Setting_Info* (*)();

void Measure(benchmark::State& state, std::size_t messages, Reader reader)
{
    Setting_Info expected;
    WriteFiles(messages, expected);
    std::unique_ptr<Setting_Info> settings(reader());
    if (expected.messages.size() != messages || !AreEqual(expected, *settings)) {
        state.SkipWithError("other settings than those written");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        settings.reset();
        state.ResumeTiming();
        settings.reset(reader());
    }
    CTraceUtilityCom::settingInfoMap.clear();  // what it points to is freed here
}

bool RegisterAll()
{
    static const struct {
        const char* name;
        Reader reader;
        std::size_t messages = 10000;  // at most
    } readers[] = {
        {"ours", Ours},
        {"limit", Limit},
        {"inih", peers::ReadByInih},
        {"SimpleIni", peers::ReadBySimpleIni},
        {"iniparser", peers::ReadByIniparser, 1000},  // quadratic: 3 s for 10,000
        {"GLib", peers::ReadByGlib},
        {"Boost property_tree", peers::ReadByPropertyTree},
    };
    for (const auto& size : kSizes) {
        for (const auto& who : readers) {
            if (size.messages > who.messages)
                continue;
            const std::string name = std::string("settings.") + size.name + "/" + who.name;
            (void)benchmark::RegisterBenchmark(name.c_str(), [&size, &who](auto& state) {
                Measure(state, size.messages, who.reader);
            });
        }
    }
    return true;
}

const bool kRegistered = RegisterAll();

}  // namespace
