#include "CFileUtility.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Format.h"
#include "base/InstallPath.h"
#include "base/ScratchFile.h"
#include "trace/TraceScope.h"

namespace {

constexpr char kTag[] = "QorCom";

// Opens a directory; a failure is traced with the operation's signature.
qor::UniqueDir OpenDirectory(const qor::TraceScope& trace, const std::string& directory)
{
    qor::UniqueDir stream(::opendir(directory.c_str()));
    if (!stream)
        trace.Fail("opendir(%s) failed! (%d)", directory.c_str(), errno);
    return stream;
}

// The rest of the pattern after its "*", as a part of the name.
bool MatchesStar(const std::string& pattern, std::size_t star, const std::string& name)
{
    if (star == 0)
        return name.find(pattern.substr(1)) != std::string::npos;
    return name.substr(0, star - 1) == pattern;  // Intended: never; see the header.
}

bool MatchesQuestionMarks(const std::string& pattern, std::size_t mark, std::string name)
{
    const std::size_t end = std::min(pattern.find_first_not_of('?', mark), pattern.size());
    name.replace(mark, end - mark, end - mark, '?');  // throws when the name ends before
    return name == pattern;
}

}  // namespace

std::string CFileUtility::GetInstallPath(int kind)
{
    return qor::InstallPath(kind);
}

bool CFileUtility::IsElfFile(const char* path)
{
    if (path == nullptr)
        return false;
    const qor::CancelGuard guard;
    const qor::UniqueFd file = qor::OpenForReading(path);
    if (!file)
        return false;

    char magic[16] = {};
    ssize_t count;
    do {
        count = ::read(file.get(), magic, sizeof magic);
    } while (count < 0 && errno == EINTR);
    (void)count;                                   // what is missing stays zero
    return std::memcmp(magic + 1, "ELF", 3) == 0;  // Intended: byte 0 may be anything.
}

bool CFileUtility::IsFileExist(std::string path)
{
    return qor::Exists(path);
}

std::string CFileUtility::ReadConfigString(std::string, std::string, std::string)
{
    throw std::logic_error("CFileUtility::ReadConfigString is not implemented");
}

bool CFileUtility::RenName(std::string from, std::string to)
{
    if (to.find('/') == std::string::npos) {
        const auto slash = from.rfind('/');
        const std::string directory = slash == std::string::npos ? "" : from.substr(0, slash);
        to = directory + "/" + to;  // Intended: "/" without a directory; see the header.
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

int CFileUtility::RunVBS(std::string command, std::string arguments)
{
    if (!arguments.empty())
        command += " " + arguments;
    const qor::CancelGuard guard;
    const int status = qor::ScratchFile().Run(guard, command);
    return (status & 0x7f) == 0 ? (status >> 8) & 0xff : -1;
}

bool CFileUtility::isMatch(std::string pattern, std::string name)
{
    const auto star = pattern.find('*');
    if (star != std::string::npos)
        return MatchesStar(pattern, star, name);
    const auto mark = pattern.find('?');
    if (mark != std::string::npos)
        return MatchesQuestionMarks(pattern, mark, std::move(name));
    return name == pattern;
}

std::string CFileUtility::RemoveFileExtension(std::string name)
{
    const auto dot = name.rfind('.');
    return dot == std::string::npos ? std::string() : name.substr(0, dot);
}

int CFileUtility::ChangeFilePermission(std::string path, int mode)
{
    const qor::CancelGuard guard;
    return qor::ScratchFile().Run(
        guard, qor::Format("/bin/chmod 0%o ", static_cast<unsigned int>(mode)) + path);
}

bool CFileUtility::DeleteAllFileByExtendName(std::string directory, std::string extension)
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(
        kTag, "static bool CFileUtility::DeleteAllFileByExtendName(std::string, std::string)");
    const qor::UniqueDir stream = OpenDirectory(trace, directory);
    if (!stream)
        return false;

    bool allDeleted = true;
    while (const dirent* const entry = ::readdir(stream.get())) {
        if (std::string_view(entry->d_name).find(extension) == std::string_view::npos)
            continue;
        const std::string path = directory + "/" + entry->d_name;
        if (::unlink(path.c_str()) != 0) {
            trace.Fail("unlink(%s) failed! (%d)", path.c_str(), errno);
            allDeleted = false;
        }
    }
    return allDeleted;
}

void CFileUtility::SearchFile(std::string directory, std::string pattern,
                              std::list<std::string>* found)
{
    const qor::CancelGuard guard;
    const qor::TraceScope trace(kTag,
                                "static void CFileUtility::SearchFile(std::string, std::string, "
                                "std::list<std::string>*)");
    const qor::UniqueDir stream = OpenDirectory(trace, directory);
    if (!stream || found == nullptr)
        return;

    while (const dirent* const entry = ::readdir(stream.get())) {
        if (isMatch(pattern, entry->d_name))
            found->emplace_back(entry->d_name);
    }
}
