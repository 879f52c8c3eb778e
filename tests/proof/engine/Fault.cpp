#include "proof/engine/Fault.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace qor::proof {
namespace {

using Names = std::vector<std::string>;

Names EffectsOnOpen(const SystemCall& call)
{
    Names effects = {"ENOENT", "EACCES", "EMFILE", "EINTR", "EIO"};
    if (call.writes)
        effects.push_back("EROFS");
    if (call.creates)
        effects.push_back("ENOSPC");
    if (call.exclusive)
        effects.push_back("EEXIST");
    return effects;
}

// sleep: of nanosleep(2) and its kin, whose callers are not to wait.
const std::map<std::string, Names>& EffectsByName()
{
    static const std::map<std::string, Names> effects = {
        {"read", {"EIO", "EINTR", "short", "end"}},
        {"write", {"ENOSPC", "EIO", "EINTR", "short"}},
        {"close", {"EIO", "EINTR"}},
        {"seek", {"EIO"}},
        {"truncate", {"EACCES", "EROFS", "EIO"}},
        {"access", {"EACCES", "ENOENT"}},
        {"mkdir", {"EACCES", "EROFS", "ENOSPC", "EEXIST", "ENOENT"}},
        {"rmdir", {"EACCES", "EROFS", "EIO", "ENOENT"}},
        {"unlink", {"EACCES", "EROFS", "EIO", "ENOENT"}},
        {"rename", {"EINVAL", "ENOSYS", "EEXIST", "EACCES", "EROFS", "ENOSPC", "EIO", "ENOENT"}},
        {"list", {"EIO", "ENOENT"}},
        {"fork", {"EAGAIN", "ENOMEM"}},
        {"pipe", {"EMFILE", "ENFILE"}},
        {"wait", {"EINTR", "ECHILD"}},
        {"kill", {"ESRCH", "EPERM"}},
        {"directory", {"ENOENT", "EACCES"}},
        {"socket", {"EMFILE", "EACCES"}},
        {"connect", {"ECONNREFUSED", "ENOENT", "EACCES"}},
        {"send", {"ENOBUFS", "ECONNRESET", "EINTR"}},
        {"map", {"ENOMEM"}},
        {"sleep", {"EINTR"}},
        {"dup", {"EBUSY", "EINTR", "EMFILE"}},
        {"control", {"EBADF"}},
        {"exec", {"ENOENT", "EACCES", "EIO", "ENOMEM", "E2BIG"}},
    };
    return effects;
}

struct Meeting {
    Names calls;
    Names effects;
};

// setrlimit(2), tmpfs(5)
const std::map<std::string, Meeting>& MeetingsWithLimits()
{
    static const std::map<std::string, Meeting> meetings = {
        {"descriptors", {{"open", "pipe", "socket"}, {"EMFILE"}}},
        {"filesize", {{"write"}, {"EFBIG", "short"}}},
        {"disk", {{"write"}, {"ENOSPC", "short"}}},
        {"files", {{"open", "mkdir"}, {"ENOSPC"}}},
    };
    return meetings;
}

bool HasName(const Names& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool IsOnSmallDisk(const std::string& path)
{
    return path.rfind("/opt/", 0) == 0 || path.rfind("/var/tmp/", 0) == 0;
}

}  // namespace

std::string KindOf(const std::string& call)
{
    return call.rfind(kOfChild, 0) == 0 ? call.substr(std::strlen(kOfChild)) : call;
}

std::vector<std::string> EffectsOn(const SystemCall& call)
{
    const std::string kind = KindOf(call.name);
    if (kind == "open")
        return EffectsOnOpen(call);
    if (kind == "stat")
        return call.byDescriptor ? Names{"EIO"} : Names{"ENOENT", "EACCES", "EIO"};
    const auto entry = EffectsByName().find(kind);
    return entry == EffectsByName().end() ? Names() : entry->second;
}

std::vector<std::string> LastingEffectsOn(const std::string& name)
{
    static const std::map<std::string, Names> effects = {
        {"open", {"EMFILE", "EACCES", "EIO"}},
        {"read", {"EIO"}},
        {"write", {"ENOSPC", "EIO"}},
        {"stat", {"EIO"}},
        {"fork", {"EAGAIN"}},
        {"mkdir", {"EROFS"}},
        {"unlink", {"EROFS"}},
        {"rename", {"EROFS"}},
        {"list", {"EIO"}},
        {"seek", {"EIO"}},
        {"map", {"ENOMEM"}},
        {"pipe", {"EMFILE"}},
        {"socket", {"EMFILE"}},
        {"dup", {"EMFILE"}},
    };
    const auto entry = effects.find(KindOf(name));
    return entry == effects.end() ? Names() : entry->second;
}

std::vector<Fault> AllLimits()
{
    std::vector<Fault> limits;
    for (const int number : {0, 1, 2, 3, 4, 5})
        limits.push_back({"descriptors", number, true, "EMFILE"});
    for (const int number : {0, 1, 10, 100})
        limits.push_back({"filesize", number, true, "EFBIG"});
    for (const int number : {0, 1, 2})
        limits.push_back({"disk", number, true, "ENOSPC"});
    for (const int number : {0, 1, 2})
        limits.push_back({"files", number, true, "ENOSPC"});
    return limits;
}

bool CanMeet(const Fault& limit, const SystemCall& call)
{
    if (call.name == "fork")
        return true;
    if (!HasName(CallsThatMeet(limit), call.name) ||
        (IsFullDisk(limit) && !IsOnSmallDisk(call.path)))
        return false;
    return limit.call != "files" || call.name != "open" || call.creates;
}

std::vector<std::string> CallsThatMeet(const Fault& fault)
{
    return IsLimit(fault) ? MeetingsWithLimits().at(fault.call).calls : Names{fault.call};
}

std::vector<std::string> EffectsOfMeeting(const Fault& fault)
{
    return IsLimit(fault) ? MeetingsWithLimits().at(fault.call).effects : Names{fault.effect};
}

int ErrnoOf(const std::string& effect)
{
    if (effect == "short" || effect == "end")
        return 0;
    constexpr int kMostErrors = 256;
    for (int error = 1; error < kMostErrors; ++error) {
        const char* const name = ::strerrorname_np(error);
        if (name != nullptr && effect == name)
            return error;
    }
    throw std::out_of_range("no such effect: " + effect);
}

}  // namespace qor::proof
