#include "proof/operations/Operation.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "CTraceUtility.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/ReplacedFile.h"

namespace qor::proof {
namespace {

constexpr char kMark[] = "the log goes on";

std::vector<test::DebugLine> Records(const std::string& component)
{
    try {
        return test::DebugTexts(component);
    } catch (const std::runtime_error&) {
        return {test::DebugLine{"", 0, "**FAIL**", "a torn record"}};
    }
}

}  // namespace

std::function<Call()> CallMaker(AnyMake make, AnyUse use, AnyLook look)
{
    return [make = std::move(make), use = std::move(use), look = std::move(look)] {
        const std::shared_ptr<void> object = make ? make() : nullptr;
        Call call;
        call.run = [object, use](Result& result) { use(object.get(), result); };
        if (look)
            call.look = [object, look] { return look(object.get()); };
        return call;
    };
}

Operations AllOperations()
{
    Operations rows;
    const Table table(rows);
    AddConfigOperations(table);
    AddTraceOperations(table);
    AddChannelOperations(table);
    AddHostOperations(table);
    AddObjectOperations(table);
    AddSystemOperations(table);
    AddTextOperations(table);
    AddAliases(table);
    for (Operation& operation : rows) {
        if (std::none_of(operation.rows.begin(), operation.rows.end(),
                         [](const Row& row) { return HasWord(row.calls, "allocation"); })) {
            const std::string state = operation.outcome.substr(operation.FirstResult().size());
            operation.rows.push_back({"allocation", {"bad_alloc" + state}});
        }
    }
    return rows;
}

std::vector<LeftOut> LeftOutNames()
{
    return {
        {"CTraceUtilityCom::settingInfoMap", "data, which GetSettingInfo fills"},
    };
}

std::vector<std::string> ExportedNames(const Operations& operations)
{
    std::vector<std::string> names;
    for (const Operation& operation : operations)
        names.push_back(operation.name.substr(0, operation.name.find(": ")));
    return names;
}

int ProveOperations(const Options& options, const TableProof& proof)
{
    const Operations operations = AllOperations();
    if (options.listsNames)
        return PrintNames(ExportedNames(operations), LeftOutNames());
    (void)::umask(022);
    const HostCommands commands;
    const auto slash = options.id.rfind('/');
    for (const Operation& operation : operations) {
        if (slash != std::string::npos && operation.name == options.id.substr(0, slash))
            return proof.replay(operation, options.id.substr(slash + 1));
        if (options.Want(operation.name) && !operation.isOnlyRepeated)
            proof.add(operation);
    }
    if (!options.id.empty())
        throw std::runtime_error("no such case: " + options.id);
    if (options.only.empty())
        proof.findFaulty();
    return proof.finish();
}

void LayAgain(const Operation& operation, Call& call)
{
    operation.lay();
    if (operation.isUsedUp) {
        call = {};
        call = operation.make();
    }
}

std::string StateAfter(const Operation& operation, const Call& call)
{
    return (call.look ? " | " + call.look() : "") +
           (operation.state ? " | " + operation.state() : "");
}

std::vector<std::string> ScratchFiles()
{
    std::vector<std::string> names = test::ListDir("/var/tmp");
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const auto& name) { return name.rfind("qortmp", 0) != 0; }),
                names.end());
    return names;
}

int WaitForChildren()
{
    int left = 0;
    while (::waitpid(-1, nullptr, 0) > 0)
        ++left;
    return left;
}

std::string LogsOn(const std::string& component)
{
    CTraceUtility::WriteDebug(component.c_str(), CTraceUtility::TRACE_DBG_INFO, "%s", kMark);
    std::string logs;
    for (const std::string& name : test::LogFileNames(component, test::kDebugLog)) {
        if (name.find(".gz") == std::string::npos)
            logs += test::ReadFile(test::LogPath(name));
    }
    return logs.find(kMark) == std::string::npos ? "the log of " + component + " is silent" : "";
}

void EndLogs(const Operation& operation)
{
    for (const std::string& component : {operation.component, std::string("um")})
        CTraceUtility::Terminate(component.c_str());
    ::closelog();
}

bool HasWord(const std::string& words, const std::string& word)
{
    return (" " + words + " ").find(" " + word + " ") != std::string::npos;
}

bool Matches(std::string_view pattern, std::string_view text)
{
    if (pattern.empty())
        return text.empty();
    if (pattern[0] != '*')
        return !text.empty() && pattern[0] == text[0] && Matches(pattern.substr(1), text.substr(1));
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (Matches(pattern.substr(1), text.substr(i)))
            return true;
    }
    return false;
}

void EmptyDisk()
{
    test::EmptyDirectory("/opt");
    test::EmptyDirectory("/var/tmp");
    for (const char* const path : {"/etc/motd", "/tmp/motd", "/dev/log"})
        test::RemoveTree(path);
    test::MakeDirs("/opt/velmora/qor");  // which an installation brings
}

struct HostCommands::Stubs {
    test::StubCommand uname{"/usr/bin/uname", "echo is$1 and more"};
    test::StubCommand dmidecode{"/usr/sbin/dmidecode",
                                "printf 'System Information\\n\\tUUID: 42\\n'"};
    test::StubCommand wall{"/usr/bin/wall", "echo \"$1\" > /opt/message"};
};

HostCommands::HostCommands() : stubs_(std::make_unique<Stubs>()) {}

HostCommands::~HostCommands() = default;

std::string Holds(const std::string& path, const std::vector<Named>& texts)
{
    if (!test::Exists(path))
        return "absent";
    const std::string content = test::ReadFile(path);
    if (content.empty())
        return "empty";
    for (const Named& named : texts) {
        if (content == named.text)
            return named.name;
    }
    for (const Named& named : texts) {
        if (named.text.compare(0, content.size(), content) == 0)
            return std::string("part of ") + named.name;
    }
    return "\"" + content + "\"";
}

std::string DebugRecords(const std::string& component)
{
    std::string texts;
    for (const test::DebugLine& line : Records(component))
        texts += (texts.empty() ? "" : "; ") + line.text;
    return texts;
}

std::string Failures(const std::string& component, const std::string& signature)
{
    std::string texts;
    for (const test::DebugLine& line : Records(component)) {
        if (line.level != "**FAIL**")
            continue;
        const std::string beginning = signature.empty() ? "" : signature + " ";
        const bool isSigned = line.text.compare(0, beginning.size(), beginning) == 0;
        texts += (texts.empty() ? "" : "; ");
        texts += isSigned ? line.text.substr(beginning.size()) : line.text;
    }
    return texts;
}

std::string Names(const std::string& directory)
{
    constexpr std::size_t kStampDigits = 6;
    if (!test::Exists(directory))
        return "absent";
    std::string names;
    for (const std::string& name : test::ListDir(directory)) {
        names += names.empty() ? "" : " ";
        for (std::size_t i = 0; i < name.size();) {
            std::size_t end = i;
            while (end < name.size() && std::isdigit(static_cast<unsigned char>(name[end])) != 0)
                ++end;
            if (end - i >= kStampDigits)
                names += "N";
            else
                names += name.substr(i, end == i ? 1 : end - i);
            i = end == i ? i + 1 : end;
        }
    }
    return names;
}

Kept OneSymbolText()
{
    Kept kept;
    kept.what = "what backtrace_symbols(3) allocated";
    kept.heap = [](long) { return SymbolTexts(); };
    return kept;
}

}  // namespace qor::proof
