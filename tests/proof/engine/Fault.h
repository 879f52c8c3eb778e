// Fault.h - a single fault, and its name in the log: "open#3=EMFILE".
#ifndef QOR_PROOF_FAULT_H
#define QOR_PROOF_FAULT_H

#include <string>
#include <vector>

namespace qor::proof {

constexpr char kOfChild[] = "child-";

// Calls are named for what they do, whichever system call does it: "open", "read", "stat". Those of
// a forked child begin with kOfChild: "child-open".
// Five more are none of the kernel's: "allocation", and the limits "descriptors" (number: how many
// more can be opened), "filesize" (number: bytes), "disk" (number: pages that are free) and "files"
// (number: how many more can be made).
struct Fault {
    std::string call;    // empty: none
    int number = 0;      // from 1 on, counted per name of call
    bool lasts = false;  // this call and all that follow: "open#3+=EMFILE"
    std::string effect;  // an errno's name; "short": one byte only; "end": nothing more to read
};

inline bool IsFullDisk(const Fault& fault)
{
    return fault.call == "disk" || fault.call == "files";
}

inline bool IsLimit(const Fault& fault)
{
    return fault.call == "descriptors" || fault.call == "filesize" || IsFullDisk(fault);
}

inline std::string NameOf(const Fault& fault)
{
    if (fault.call.empty())
        return "none";
    return fault.call + "#" + std::to_string(fault.number) + (fault.lasts ? "+" : "") + "=" +
           fault.effect;
}

// A call as it was seen: its name, the file it is about ("" for none; " for writing" follows when
// it is opened so), and whether it opens for writing, can create, must create.
struct SystemCall {
    std::string name;
    std::string path;
    bool writes = false;
    bool creates = false;
    bool exclusive = false;
    bool byDescriptor = false;
    bool staysOpen = false;  // what it opens stays open in commands: not close-on-exec
};

// "open" of "child-open", too.
std::string KindOf(const std::string& call);

// What a call can meet with: names of errno values, "short", "end".
std::vector<std::string> EffectsOn(const SystemCall& call);

// Those of them that last: a full disk, a process out of descriptors.
std::vector<std::string> LastingEffectsOn(const std::string& name);

// The limits that are tried.
std::vector<Fault> AllLimits();

// Whether an operation that makes this call can meet the limit. A command makes calls of its own.
bool CanMeet(const Fault& limit, const SystemCall& call);

// Of a fault that lasts: the names of the calls that it makes fail, and how they fail.
std::vector<std::string> CallsThatMeet(const Fault& fault);
std::vector<std::string> EffectsOfMeeting(const Fault& fault);

// 0 for "short" and "end". Throws std::out_of_range for a name that is not known.
int ErrnoOf(const std::string& effect);

}  // namespace qor::proof

#endif  // QOR_PROOF_FAULT_H
