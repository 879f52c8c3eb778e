// Rewriting an INI file.
#include <fcntl.h>
#include <unistd.h>

#include "config/IniModel.h"
#include "proof/death/Scenarios.h"
#include "proof/engine/Proof.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "winapi.h"

namespace qor::proof {
namespace {

using namespace test;

const std::string kFile = "/opt/setting.ini";

std::string Judge(const Content& before, const std::string& after)
{
    const Content now = ContentOf(kFile);
    if (now == before)
        return "old";
    Require(now.has_value(), "the file is gone");
    if (*now == after)
        return "new";
    if (now->empty())
        return "empty";
    Require(StartsWith(after, *now), "neither old nor a prefix of the new text");
    return "prefix";
}

// The update is made again and reads back, unless a torn line is in its way; in any case the file
// is what the rules for such a beginning say.
void GoOn()
{
    const Content before = ContentOf(kFile);
    Require(WritePrivateProfileStringA("network", "port", "65535", kFile.c_str()),
            "the file cannot be written again");
    Require(ReadFile(kFile) == AppendModel(before, "network", "port", "65535"),
            "the second update wrote another text");
    char value[256] = {};
    (void)GetPrivateProfileStringA("network", "port", "", value, 255, kFile.c_str());
    Require(value == IniReaderModel(kFile).FindSection("network", "port").value_or(""),
            "another value is read than stands in the file");
    const bool wholeLines = !before || before->empty() || before->back() == '\n';
    Require(!wholeLines || value == std::string("65535"), "the second update does not read back");
}

Scenario Rewriting(const std::string& name, const Content& before)
{
    Scenario scenario;
    scenario.name = "ini-" + name;
    scenario.manners = kAlone;
    scenario.prepare = [before] {
        if (before)
            WriteFile(kFile, *before);
    };
    scenario.operate = [] {
        (void)WritePrivateProfileStringA("network", "port", "80", kFile.c_str());
    };
    const std::string after = AppendModel(before, "network", "port", "80");
    scenario.judge = [before, after](Manner) { return Judge(before, after); };
    scenario.goOn = GoOn;
    scenario.states = {"old", "prefix", "new"};
    if (before != std::string())
        scenario.states.push_back("empty");
    return scenario;
}

// Overwrites without truncation: the new text with the old one's tail has to be found.
Scenario FaultyRewriting()
{
    Scenario scenario = Rewriting("", "[network]\nport=8080\nhost=a\n");
    scenario.name = "faulty-ini-in-place";
    scenario.fault = "neither old nor a prefix of the new text";
    scenario.states = {"old", "new"};
    scenario.operate = [] {
        const OwnedFd file(::open(kFile.c_str(), O_WRONLY | O_CLOEXEC));
        const std::string text = "[network]\nport=80\nhost=a\n";
        (void)!::write(file.get(), text.data(), text.size());
        (void)!::ftruncate(file.get(), static_cast<off_t>(text.size()));
    };
    return scenario;
}

// Lists a state that no death leaves: it has to be missed.
Scenario FaultyStates()
{
    Scenario scenario = Rewriting("", "");
    scenario.name = "faulty-state-never-left";
    scenario.fault = "no death leaves \"empty\"";
    scenario.states.push_back("empty");
    return scenario;
}

// Writes nothing: there is no write to die in.
Scenario FaultyManner()
{
    Scenario scenario = Rewriting("", "");
    scenario.name = "faulty-no-write";
    scenario.fault = "no call to die at";
    scenario.states = {"old"};
    scenario.manners = {Manner::Tree, Manner::TornHalf};
    scenario.operate = [] { (void)ContentOf(kFile); };
    return scenario;
}

}  // namespace

void AddIniScenarios(std::vector<Scenario>& scenarios)
{
    std::string large = "[first]\n";
    for (int i = 0; i < 20000; ++i)
        large += "key" + std::to_string(i) + "=" + std::to_string(i * 7919) + "\n";
    scenarios.push_back(Rewriting("missing", {}));
    scenarios.push_back(Rewriting("empty", ""));
    scenarios.push_back(Rewriting("new-section", "[host]\nname=a\n"));
    scenarios.push_back(Rewriting("new-key", "[network]\nhost=a\n[x]\ny=1\n"));
    scenarios.push_back(Rewriting("known-key", "[network]\nport = 8080 ; old\nhost=a\n"));
    scenarios.push_back(Rewriting("large-new-section", large));
    scenarios.push_back(Rewriting("large-known-key", large + "[network]\nport=1\n" + large));
    scenarios.push_back(FaultyRewriting());
    scenarios.push_back(FaultyStates());
    scenarios.push_back(FaultyManner());
}

}  // namespace qor::proof
