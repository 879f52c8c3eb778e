// The proof that a process may die at any system call: qor_proof_death [--all] [--verbose]
// [--case SCENARIO/MANNER/NUMBER] [--scenario NAME]. --all: every call is taken. See
// docs/reliability.md.
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

#include "proof/death/Scenarios.h"
#include "proof/support/Proof.h"
#include "support/Files.h"
#include "support/PrivateMounts.h"

namespace qor::proof {

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

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
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

void TellHang(int)
{
    const auto write = [](const char* text) { (void)!::write(1, text, std::strlen(text)); };
    write("VIOLATION ");
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

struct Options {
    bool takesAll = false;  // every call
    bool isVerbose = false;
    std::string scenario;
    std::string manner;
    unsigned number = 0;  // not 0: one case alone
};

struct Figures {
    unsigned points = 0;
    unsigned violations = 0;
    unsigned long faultsFound = 0;
    unsigned long faultsMade = 0;
};

class Proof
{
public:
    explicit Proof(const Options& options) : options_(options) {}

    void Run(const Scenario& scenario)
    {
        outcomes_.clear();
        points_ = 0;
        fault_.clear();
        for (const Manner manner : scenario.manners) {
            if (options_.manner.empty() || options_.manner == NameOf(manner))
                RunManner(scenario, manner);
        }
        if (options_.number == 0 && (options_.takesAll || scenario.stride == 1))
            RequireStates(scenario);
        if (scenario.fault.empty()) {
            figures.points += points_;
        } else {
            ++figures.faultsMade;
            figures.faultsFound += fault_.empty() ? 0 : 1;
        }
        Print(scenario);
    }

    Figures figures;

private:
    void RunManner(const Scenario& scenario, Manner manner)
    {
        if (options_.number != 0) {
            (void)RunCase(scenario, manner, options_.number);
            return;
        }
        const unsigned stride = options_.takesAll ? 1 : scenario.stride;
        unsigned number = 1;
        for (; RunCase(scenario, manner, number); number += stride)
            Require(number < kMostCalls, scenario.name + " does not end");
        if (number == 1)
            Tell(scenario, scenario.name + "/" + NameOf(manner), "no call to die at");
    }

    void RequireStates(const Scenario& scenario)
    {
        if (scenario.states.empty())
            Tell(scenario, scenario.name, "lists no state");
        for (const std::string& state : scenario.states) {
            if (outcomes_.count(state) == 0)
                Tell(scenario, scenario.name, "no death leaves \"" + state + "\"");
        }
    }

    // A violation, or the deliberate fault by its text.
    void Tell(const Scenario& scenario, const std::string& where, const std::string& text)
    {
        if (!scenario.fault.empty() && StartsWith(text, scenario.fault)) {
            fault_ = text;
            return;
        }
        ++figures.violations;
        std::cout << "VIOLATION " << where << ": " << text << std::endl;
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
            Tell(scenario, id + " before " + death.call, failure.what());
        }
        return death.happened;
    }

    void Count(const std::string& id, const Death& death, const std::string& outcome)
    {
        if (options_.isVerbose || options_.number != 0)
            std::cout << id << " " << (death.happened ? death.call : "nobody died")
                      << (death.happened && !death.ofMain ? " of a command: " : ": ") << outcome
                      << std::endl;
        if (!death.happened)
            return;
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
        if (!scenario.fault.empty())
            std::cout << separator << "deliberate fault "
                      << (fault_.empty() ? "NOT FOUND" : "found: " + fault_);
        std::cout << std::endl;
    }

    Options options_;
    std::map<std::string, unsigned> outcomes_;
    unsigned points_ = 0;
    std::string fault_;  // text of the deliberate fault once it is found
};

void ReadCase(const std::string& id, Options& options)
{
    std::istringstream in(id);
    std::string number;
    if (!std::getline(in, options.scenario, '/') || !std::getline(in, options.manner, '/') ||
        !std::getline(in, number) ||
        (options.number = static_cast<unsigned>(std::atoi(number.c_str()))) == 0)
        throw std::runtime_error("no case: " + id);
}

Options ReadOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--all")
            options.takesAll = true;
        else if (option == "--verbose")
            options.isVerbose = true;
        else if (option == "--case" && i + 1 < argc)
            ReadCase(argv[++i], options);
        else if (option == "--scenario" && i + 1 < argc)
            options.scenario = argv[++i];
        else
            throw std::runtime_error("unknown option: " + option);
    }
    return options;
}

bool Prove(const Options& options)
{
    std::vector<Scenario> scenarios;
    AddChannelScenarios(scenarios);
    AddIniScenarios(scenarios);
    AddLogScenarios(scenarios);
    AddHostScenarios(scenarios);

    if (std::signal(SIGALRM, TellHang) == SIG_ERR)
        throw std::runtime_error("signal failed");
    Proof proof(options);
    for (const Scenario& scenario : scenarios) {
        const bool wanted = options.scenario.empty() ? options.takesAll || !scenario.longOnly
                                                     : options.scenario == scenario.name;
        if (wanted)
            proof.Run(scenario);
    }
    const Figures& figures = proof.figures;
    std::cout << figures.points << " points of death, " << figures.violations << " violations; "
              << figures.faultsFound << " of " << figures.faultsMade << " deliberate faults found"
              << std::endl;
    return figures.points + figures.faultsMade > 0 && figures.violations == 0 &&
           figures.faultsFound == figures.faultsMade;
}

}  // namespace
}  // namespace qor::proof

int main(int argc, char** argv)
{
    try {
        const auto options = qor::proof::ReadOptions(argc, argv);
        qor::test::EnterPrivateMounts();
        qor::proof::CloseStandardInput();
        if (::setenv("TZ", "UTC", 1) != 0)
            return EXIT_FAILURE;
        return qor::proof::Prove(options) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& failure) {
        std::cerr << "qor_proof_death: " << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}
