// Lines of tmpfiles.d(5) that make the installation's directories at each boot.
#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <sstream>

#include "checks/Checks.h"
#include "Files.h"
#include "Text.h"

namespace doctor {
namespace {

constexpr int kOctal = 8;

// The administrator's come first: of files of one name, the first takes the place of the others.
constexpr struct {
    const char* path;
    bool isPackages;
} kDirectories[] = {{"/etc/tmpfiles.d", false},
                    {"/run/tmpfiles.d", false},
                    {"/usr/local/lib/tmpfiles.d", true},
                    {"/usr/lib/tmpfiles.d", true}};

// "d PATH MODE USER GROUP": makes or corrects a directory.
struct Line {
    Place place;
    std::string path;
    std::string mode = "-";
    std::string user = "-";
    std::string group = "-";
};

mode_t ModeOf(const Line& line)
{
    const auto digits = line.mode.find_first_of("01234567");  // after "~" or ":"
    return digits == std::string::npos
               ? 0755
               : static_cast<mode_t>(std::strtoul(line.mode.c_str() + digits, nullptr, kOctal));
}

std::string UserOf(const Line& line)
{
    return line.user == "-" ? "root" : line.user;
}

std::string GroupOf(const Line& line)
{
    return line.group == "-" ? "root" : line.group;
}

bool IsUser(const std::string& name, uid_t id)
{
    const passwd* const entry = ::getpwnam(name.c_str());
    return entry == nullptr ? name == std::to_string(id) : entry->pw_uid == id;
}

bool IsGroup(const std::string& name, gid_t id)
{
    const group* const entry = ::getgrnam(name.c_str());
    return entry == nullptr ? name == std::to_string(id) : entry->gr_gid == id;
}

// Those for directories of the installation.
std::vector<Line> LinesOf(const std::string& file)
{
    std::vector<Line> lines;
    std::istringstream text(ReadFile(file).value_or(""));
    std::string type;
    std::size_t number = 0;
    for (std::string row; std::getline(text, row);) {
        Line line;
        line.place = {file, ++number};
        std::istringstream(row) >> type >> line.path >> line.mode >> line.user >> line.group;
        if (StartsWith(type, "d") && StartsWith(line.path + "/", std::string(kRoot) + "/"))
            lines.push_back(line);
    }
    return lines;
}

struct Lines {
    std::map<std::string, std::string> files;  // by name: the path of the one that counts
    std::map<std::string, Line> effective;     // by directory: the first of all files
    std::vector<Line> packages;
};

Lines ReadLines(Report& report)
{
    Lines lines;
    for (const auto& directory : kDirectories) {
        if (!IsDirectory(directory.path))
            continue;
        for (const std::string& name : NamesIn(directory.path, report)) {
            if (!EndsWith(name, ".conf"))
                continue;
            const std::string path = directory.path + ("/" + name);
            lines.files.emplace(name, path);
            if (!directory.isPackages)
                continue;
            for (const Line& line : LinesOf(path))
                lines.packages.push_back(line);
        }
    }
    for (const auto& [name, path] : lines.files) {
        for (const Line& line : LinesOf(path))
            lines.effective.emplace(line.path, line);
    }
    return lines;
}

// The group is the administrator's choice: that opens the channel.
void CheckOverridden(const Line& packages, const Lines& lines, Report& report)
{
    const std::string& file = packages.place.file;
    const auto line = lines.effective.find(packages.path);
    if (line == lines.effective.end())
        report.Add("tmpfiles-line-overridden/file",
                   {lines.files.at(file.substr(file.rfind('/') + 1))}, {file, packages.path});
    else if (ModeOf(line->second) != ModeOf(packages) || UserOf(line->second) != UserOf(packages))
        report.Add("tmpfiles-line-overridden", line->second.place,
                   {packages.path, ModeText(ModeOf(line->second)), UserOf(line->second),
                    ModeText(ModeOf(packages)), UserOf(packages), file});
}

void CheckApplied(const Line& line, Report& report)
{
    const auto status = StatusOf(line.path);
    if (!status || !S_ISDIR(status->st_mode))
        return;  // findings of their own
    if ((status->st_mode & 07777) != ModeOf(line) || !IsUser(UserOf(line), status->st_uid) ||
        !IsGroup(GroupOf(line), status->st_gid))
        report.Add(
            "tmpfiles-line-not-applied", line.place,
            {line.path, ModeText(status->st_mode), std::to_string(status->st_uid),
             std::to_string(status->st_gid), ModeText(ModeOf(line)), UserOf(line), GroupOf(line)});
}

}  // namespace

void CheckTmpfiles(Report& report)
{
    const Lines lines = ReadLines(report);
    for (const Line& line : lines.packages)
        CheckOverridden(line, lines, report);
    for (const auto& [path, line] : lines.effective)
        CheckApplied(line, report);
}

}  // namespace doctor
