// The login banner and the device list.
#include <sys/stat.h>
#include <unistd.h>

#include "COsInfo.h"
#include "proof/death/Scenarios.h"
#include "proof/engine/Proof.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using namespace test;

constexpr char kBanner[] = "/etc/motd";
constexpr char kScratch[] = "/tmp/motd";
constexpr char kMark[] = "/var/tmp/motds";
constexpr char kBlockFile[] = "/opt/velmora/qor/etc/motd.dat";
constexpr char kDevices[] = "/opt/velmora/qor/etc/devices.tmp";
constexpr char kScript[] = "/opt/velmora/qor/etc/lspcimn.sh";
constexpr char kBlock[] = "-qor ----\nmanaged by qor\nqor- ----\n";

void Put(const std::string& path, const Content& content)
{
    RemoveTree(path);
    if (content)
        WriteFile(path, *content);
}

// Made once, before the processes that die: its commands are no part of their operations.
COsInfo& Host()
{
    static COsInfo host;
    return host;
}

// ---- the banner

struct Banner {
    std::string name;
    Content banner;   // /etc/motd
    Content scratch;  // /tmp/motd
    Content mark;     // /var/tmp/motds
};

void PrepareBanner(const Banner& state)
{
    (void)Host();
    MakeLogDirectory();
    WriteFile(kBlockFile, kBlock);
    Put(kBanner, state.banner);
    Put(kScratch, state.scratch);
    Put(kMark, state.mark);
}

std::string JudgeAdding(const Banner& state, Manner manner)
{
    const Content mark = ContentOf(kMark);
    Require(!mark || mark == state.mark, "the mark has changed");
    Require(ContentOf(kBlockFile) == Content(kBlock), "the block's file has changed");
    const Content now = ContentOf(kBanner);
    if (now == state.banner)
        return "old";
    Require(now.has_value(), "the banner is gone");
    if (now->empty())
        return "empty";
    // A grep that dies finds nothing.
    Require(!state.mark || state.mark->find("qor") == std::string::npos || manner == Manner::Caller,
            "a block although the mark was there");
    Require(StartsWith(kBlock, *now), "neither empty nor the block");
    return *now == kBlock ? "block" : "prefix of the block";
}

// Once more, where the mark is no more there.
void AddAgain()
{
    (void)::unlink(kMark);
    Host().motd(true);
    Require(ContentOf(kBanner) == Content(kBlock), "the block is not the banner");
    Host().motd(false);
    Require(ContentOf(kBanner) == Content(""), "the block is not removed again");
}

Scenario Adding(const Banner& state)
{
    Scenario scenario;
    scenario.name = "banner-add-" + state.name;
    const bool isMarked = state.mark && state.mark->find("qor") != std::string::npos;
    scenario.manners = isMarked ? kCommandsWithoutWrites : kWithCommands;
    scenario.states = {"old", "empty", "block"};
    if (!isMarked)
        scenario.states.push_back("prefix of the block");
    scenario.stride = 61;
    scenario.prepare = [state] { PrepareBanner(state); };
    scenario.operate = [] { Host().motd(true); };
    scenario.judge = [state](Manner manner) { return JudgeAdding(state, manner); };
    scenario.goOn = AddAgain;
    return scenario;
}

// The text without its blocks, the line after each block and a last line without its end; no line
// here is as long as 128 bytes.
std::string WithoutBlocks(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        if (end == std::string::npos)
            break;
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    std::string kept;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!StartsWith(lines[i], "-qor")) {
            kept += lines[i] + "\n";
            continue;
        }
        while (i < lines.size() && !StartsWith(lines[i], "qor-"))
            ++i;
        ++i;  // the line after it
    }
    return kept;
}

std::string JudgeRemoving(const Banner& state)
{
    const std::string before = state.banner.value_or("");
    const std::string leftover = state.scratch.value_or("");
    const Content scratch = ContentOf(kScratch);
    const Content banner = ContentOf(kBanner);
    Require(!scratch || (StartsWith(*scratch, leftover) && StartsWith(leftover + before, *scratch)),
            "a strange copy");
    if (banner == state.banner && scratch)
        return *scratch == leftover + before ? "old, copy whole" : "old, copy in part";
    if (banner == state.banner && !state.scratch && !(before.empty() && banner))
        return "old, no copy";

    // From here on the banner is being rewritten: its text is whole in one of the two files.
    const std::string after = WithoutBlocks(leftover + before);
    Require(banner.has_value(), "the banner is gone");
    Require(StartsWith(after, *banner), "neither old nor a prefix of the new banner");
    if (!scratch) {
        Require(*banner == after, "the copy is gone, and the banner not whole");
        return "new";
    }
    Require(*scratch == leftover + before, "the banner is rewritten from a part of its copy");
    return *banner == after  ? "new, copy whole"
           : banner->empty() ? "empty, copy whole"
                             : "prefix, copy whole";
}

// What the copy holds comes first; the next removal leaves the blocks of neither.
void RemoveAgain()
{
    const std::string whole = ContentOf(kScratch).value_or("") + ContentOf(kBanner).value_or("");
    Host().motd(false);
    Require(ContentOf(kBanner) == Content(WithoutBlocks(whole)), "another banner than expected");
    Require(!Exists(kScratch), "the copy stays");
}

Scenario Removing(const Banner& state, const std::vector<std::string>& more)
{
    Scenario scenario;
    scenario.name = "banner-remove-" + state.name;
    scenario.manners = state.banner ? kAlone : kWithoutWrites;
    scenario.states = With({"old, copy whole", "new, copy whole", "new"}, more);
    scenario.prepare = [state] { PrepareBanner(state); };
    scenario.operate = [] { Host().motd(false); };
    scenario.judge = [state](Manner) { return JudgeRemoving(state); };
    scenario.goOn = RemoveAgain;
    return scenario;
}

// ---- the device list

constexpr int kRecords = 40;
constexpr char kOldList[] = "00:00.0-1111-2222\n";

std::string Address(int record)
{
    return "00:" + std::to_string(10 + record) + ".0";
}

std::string ScriptOutput()
{
    std::string output = "Bus Vendor Device\n";
    for (int i = 0; i < kRecords; ++i)
        output += Address(i) + " 80ab abcd\n";
    return output;
}

std::string NewList()
{
    std::string list;
    for (int i = 0; i < kRecords; ++i)
        list += Address(i) + "-80AB-ABCD\n";
    return list;
}

std::size_t CountScratchFiles()
{
    std::size_t count = 0;
    for (const std::string& name : ListDir("/var/tmp")) {
        Require(StartsWith(name, "qortmp") && name.size() == 26, "a strange file: " + name);
        ++count;
    }
    return count;
}

std::string JudgeList(const Content& before, Manner manner)
{
    const std::string scratch = CountScratchFiles() == 0 ? "" : ", scratch file left";
    Require(CountScratchFiles() <= 1, "more than one scratch file");
    const Content now = ContentOf(kDevices);
    if (now == before)
        return "old" + scratch;
    Require(now.has_value(), "the list is gone");
    if (now->empty())
        return "empty" + scratch;
    Require(StartsWith(NewList(), *now), "neither old nor a prefix of the new list");
    Require(now->back() == '\n' || IsTorn(manner), "a torn line");
    return (*now == NewList() ? "new" : "prefix") + scratch;
}

void ListAgain()
{
    const std::size_t left = CountScratchFiles();
    Require(Host().makeDeviceInfo(), "the list cannot be made again");
    Require(ContentOf(kDevices) == Content(NewList()), "another list than expected");
    Require(CountScratchFiles() == left, "a scratch file of the second run stays");
}

Scenario Listing(const std::string& name, const Content& before, const std::string& script,
                 const std::vector<std::string>& more = {})
{
    Scenario scenario;
    scenario.name = "devices-" + name;
    scenario.manners = kWithCommands;
    scenario.states = With(
        {"old", "empty", "empty, scratch file left", "prefix, scratch file left", "new"}, more);
    scenario.stride = 61;
    scenario.prepare = [before, script] {
        (void)Host();
        EmptyDirectory("/var/tmp");
        MakeLogDirectory();
        WriteFile("/opt/output", ScriptOutput());
        WriteFile(kScript, "#!/bin/sh\n" + script + "\n");
        Require(::chmod(kScript, 0755) == 0, "chmod");
        Put(kDevices, before);
    };
    scenario.operate = [] { (void)Host().makeDeviceInfo(); };
    scenario.judge = [before](Manner manner) { return JudgeList(before, manner); };
    scenario.goOn = ListAgain;
    return scenario;
}

}  // namespace

void AddHostScenarios(std::vector<Scenario>& scenarios)
{
    const std::string site = "Welcome\nto the site\n";
    const std::string both = "Welcome\n" + std::string(kBlock) + "dropped\nto the site\n";
    scenarios.push_back(Adding({"to-none", {}, {}, {}}));
    scenarios.push_back(Adding({"to-a-text", site, {}, {}}));
    scenarios.push_back(Adding({"with-a-mark", site, {}, "qor\n"}));
    scenarios.push_back(Adding({"with-another-mark", site, {}, "other\n"}));
    const std::vector<std::string> rewriting = {"empty, copy whole", "prefix, copy whole"};
    const std::vector<std::string> copying = {"old, no copy", "old, copy in part"};
    scenarios.push_back(Removing({"from-none", {}, {}, {}}, {"old, no copy"}));
    scenarios.push_back(Removing({"the-block", both, {}, {}}, With(copying, rewriting)));
    scenarios.push_back(Removing({"the-block-alone", kBlock, {}, {}}, copying));
    scenarios.push_back(Removing({"with-a-copy", both, "left by another\n", {}},
                                 With(rewriting, {"old, copy in part"})));
    scenarios.push_back(Listing("first", {}, "cat /opt/output"));
    scenarios.push_back(Listing("again", kOldList, "cat /opt/output; true"));
    scenarios.push_back(Listing("line-by-line", kOldList,
                                "while read -r line; do echo \"$line\"; done < /opt/output",
                                {"prefix", "new, scratch file left"}));
}

}  // namespace qor::proof
