#include "proof/faults/Fault.h"

#include <cerrno>
#include <map>

namespace qor::proof {
namespace {

using Names = std::vector<std::string>;

Names EffectsOnOpen(const Call& call)
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
    };
    return effects;
}

}  // namespace

std::vector<std::string> EffectsOn(const Call& call)
{
    if (call.name == "open")
        return EffectsOnOpen(call);
    if (call.name == "stat")
        return call.byDescriptor ? Names{"EIO"} : Names{"ENOENT", "EACCES", "EIO"};
    const auto entry = EffectsByName().find(call.name);
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
    };
    const auto entry = effects.find(name);
    return entry == effects.end() ? Names() : entry->second;
}

int ErrnoOf(const std::string& effect)
{
    static const std::map<std::string, int> numbers = {
        {"short", 0},
        {"end", 0},
        {"EACCES", EACCES},
        {"EAGAIN", EAGAIN},
        {"ECHILD", ECHILD},
        {"ECONNREFUSED", ECONNREFUSED},
        {"ECONNRESET", ECONNRESET},
        {"EEXIST", EEXIST},
        {"EINTR", EINTR},
        {"EINVAL", EINVAL},
        {"EIO", EIO},
        {"EMFILE", EMFILE},
        {"ENFILE", ENFILE},
        {"ENOBUFS", ENOBUFS},
        {"ENOENT", ENOENT},
        {"ENOMEM", ENOMEM},
        {"ENOSPC", ENOSPC},
        {"ENOSYS", ENOSYS},
        {"EPERM", EPERM},
        {"EROFS", EROFS},
        {"ESRCH", ESRCH},
    };
    return numbers.at(effect);
}

}  // namespace qor::proof
