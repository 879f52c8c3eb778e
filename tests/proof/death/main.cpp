// The proof that a process may die at any system call. See docs/reliability.md.
// The short form takes every so many calls of some scenarios. A case is SCENARIO/MANNER/NUMBER, the
// number that of the call.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>

#include "proof/death/Death.h"
#include "proof/death/Scenarios.h"
#include "proof/engine/Proof.h"
#include "support/Files.h"

namespace qor::proof {

Content ContentOf(const std::string& path)
{
    return test::Exists(path) ? Content(test::ReadFile(path)) : Content();
}

void SetTraceLevel(const std::string& directory, const std::string& level)
{
    test::WriteFile("/opt/velmora/qor/" + directory + "/TraceSetting.ini",
                    "[APP_SETTING]\nTraceLevel=" + level + "\n");
}

std::vector<std::string> With(std::vector<std::string> states, const std::vector<std::string>& more)
{
    states.insert(states.end(), more.begin(), more.end());
    return states;
}

std::string Filler(std::size_t size)
{
    std::string text(size, ' ');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>('a' + (i * i + i / 251) % 26);
    return text;
}

namespace {

// The case at work, for the handler of SIGALRM.
char currentCase[128];

void ReportHang(int)
{
    const auto write = [](const char* text) { (void)!::write(1, text, std::strlen(text)); };
    write("VIOLATED ");
    write(currentCase);
    write(": does not end\n");
    ::_exit(EXIT_FAILURE);
}

constexpr unsigned kMostCalls = 100000;  // of an operation that does end
constexpr unsigned kHang = 60;           // seconds that no case takes

constexpr struct {
    Manner manner;
    const char* name;
} kManners[] = {
    {Manner::Tree, "tree"},           {Manner::Caller, "caller"},
    {Manner::Overtaken, "overtaken"}, {Manner::TornFirst, "torn-first"},
    {Manner::TornHalf, "torn-half"},  {Manner::TornLast, "torn-last"},
};

std::string NameOf(Manner manner)
{
    for (const auto& entry : kManners) {
        if (entry.manner == manner)
            return entry.name;
    }
    throw std::runtime_error("a manner without a name");
}

// "SCENARIO/MANNER/NUMBER".
struct Case {
    std::string scenario;
    std::string manner;
    unsigned number = 0;  // 0: no case
};

class Proof
{
public:
    Proof(const Options& options, const Case& one)
        : one_(one), isLong_(options.isLong), tally_(options.isVerbose || one.number != 0)
    {
    }

    void Run(const Scenario& scenario)
    {
        outcomes_.clear();
        points_ = 0;
        fault_.clear();
        for (const Manner manner : scenario.manners) {
            if (one_.manner.empty() || one_.manner == NameOf(manner))
                RunManner(scenario, manner);
        }
        if (one_.number == 0 && (isLong_ || scenario.stride == 1))
            RequireStates(scenario);
        if (!scenario.fault.empty()) {
            ++faults_;
            tally_.Add(scenario.name, fault_.empty() ? "deliberate fault not found" : "", fault_);
        }
        Print(scenario);
    }

    int Finish() const
    {
        return tally_.Finish("; " + std::to_string(faults_) + " deliberate faults made");
    }

private:
    void RunManner(const Scenario& scenario, Manner manner)
    {
        if (one_.number != 0) {
            (void)RunCase(scenario, manner, one_.number);
            return;
        }
        const unsigned stride = isLong_ ? 1 : scenario.stride;
        unsigned number = 1;
        for (; RunCase(scenario, manner, number); number += stride)
            Require(number < kMostCalls, scenario.name + " does not end");
        if (number == 1)
            Note(scenario, scenario.name + "/" + NameOf(manner), "no call to die at");
    }

    void RequireStates(const Scenario& scenario)
    {
        if (scenario.states.empty())
            Note(scenario, scenario.name, "lists no state");
        for (const std::string& state : scenario.states) {
            if (outcomes_.count(state) == 0)
                Note(scenario, scenario.name, "no death leaves \"" + state + "\"");
        }
    }

    // A violation, or the deliberate fault by its text.
    void Note(const Scenario& scenario, const std::string& where, const std::string& text)
    {
        if (!scenario.fault.empty() && StartsWith(text, scenario.fault)) {
            fault_ = text;
            return;
        }
        tally_.Add(where, text);
    }

    // False: the operation has fewer calls. Then, too, what it leaves is looked at.
    bool RunCase(const Scenario& scenario, Manner manner, unsigned number)
    {
        const std::string id = scenario.name + "/" + NameOf(manner) + "/" + std::to_string(number);
        (void)std::snprintf(currentCase, sizeof currentCase, "%s", id.c_str());
        (void)::alarm(kHang);
        test::EmptyDirectory("/opt");
        test::EmptyDirectory("/var/tmp");
        scenario.prepare();
        Death death;
        try {
            death = RunAndKill(scenario.operate, manner, number, [&scenario] {
                RequireInNewProcess("going on meanwhile", scenario.goOn);
            });
            const std::string outcome = scenario.judge(manner);
            RequireInNewProcess("going on after \"" + outcome + "\"", scenario.goOn);
            Count(id, death, outcome);
        } catch (const std::exception& failure) {
            points_ += death.happened ? 1 : 0;
            Note(scenario, id + " before " + death.call, failure.what());
        }
        return death.happened;
    }

    void Count(const std::string& id, const Death& death, const std::string& outcome)
    {
        if (!death.happened)
            return;
        tally_.Add(id, "", death.call + (death.ofMain ? ": " : " of a command: ") + outcome);
        ++points_;
        ++outcomes_[outcome];
    }

    void Print(const Scenario& scenario) const
    {
        std::cout << std::left << std::setw(30) << scenario.name << std::right << std::setw(6)
                  << points_ << " points:";
        const char* separator = " ";
        for (const auto& [outcome, count] : outcomes_) {
            std::cout << separator << outcome << " " << count;
            separator = "; ";
        }
        std::cout << std::endl;
    }

    Case one_;
    bool isLong_;
    Tally tally_;
    unsigned faults_ = 0;
    std::map<std::string, unsigned> outcomes_;
    unsigned points_ = 0;
    std::string fault_;  // text of the deliberate fault once it is found
};

Case ParseCase(const std::string& id)
{
    Case one;
    std::istringstream in(id);
    std::string number;
    if (!std::getline(in, one.scenario, '/') || !std::getline(in, one.manner, '/') ||
        !std::getline(in, number) ||
        (one.number = static_cast<unsigned>(std::atoi(number.c_str()))) == 0)
        throw std::runtime_error("no case: " + id);
    return one;
}

}  // namespace

int Prove(const Options& options)
{
    std::vector<Scenario> scenarios;
    AddChannelScenarios(scenarios);
    AddIniScenarios(scenarios);
    AddLogScenarios(scenarios);
    AddHostScenarios(scenarios);
    if (::setenv("TZ", "UTC", 1) != 0 || std::signal(SIGALRM, ReportHang) == SIG_ERR)
        throw std::runtime_error("setenv, signal");

    const Case one = options.id.empty() ? Case() : ParseCase(options.id);
    Proof proof(options, one);
    for (const Scenario& scenario : scenarios) {
        const bool isShort = options.isLong || !options.only.empty() || !scenario.longOnly;
        const bool isWanted = one.number == 0 ? isShort && options.Want(scenario.name)
                                              : one.scenario == scenario.name;
        if (isWanted)
            proof.Run(scenario);
    }
    return proof.Finish();
}

}  // namespace qor::proof
