// ChannelTest.h - the spool directories and the debug log of a channel, as its tests see them.
#ifndef QOR_TEST_CHANNELTEST_H
#define QOR_TEST_CHANNELTEST_H

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "CFileTransfer.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/PrivateDiskTest.h"

namespace qor::test {

inline constexpr char kChannelHome[] = "/opt/velmora/qor/som";
inline constexpr char kConfig[] = "/opt/velmora/qor/som/socket.conf";
inline constexpr char kClientDir[] = "/opt/velmora/qor/som/CS";
inline constexpr char kServerDir[] = "/opt/velmora/qor/som/SS";
inline constexpr char kTag[] = "som";

using Texts = std::vector<std::string>;

inline const std::string kSend = "int CFileTransfer::SendMessage(std::string)";
inline const std::string kRecv = "int CFileTransfer::RecvMessage(char*, int, int)";
inline const std::string kIsTransFile = "bool CFileTransfer::IsTransFile()";
inline const std::string kOpenStream = "bool CFileTransfer::OpenStream()";
inline const std::string kDeleteExpired = "void CFileTransfer::DeleteExpiredFile(const char*)";

// Names at 1700000000.000042 seconds.
inline const std::string kTmp = "00001700000000000042som.tmp";
inline const std::string kSnd = "00001700000000000042som.snd";

// Records, as of Records().
inline std::string Func(const std::string& text)
{
    return "--FUNC-- " + text;
}

inline std::string Info(const std::string& text)
{
    return "--INFO-- " + text;
}

inline std::string Fail(const std::string& text)
{
    return "**FAIL** " + text;
}

inline std::string InClientDir(const std::string& name)
{
    return std::string(kClientDir) + "/" + name;
}

inline std::string InServerDir(const std::string& name)
{
    return std::string(kServerDir) + "/" + name;
}

inline std::string CurrentFile(CFileTransfer& channel)
{
    std::string name;
    channel.GetTransFile(name);
    return name;
}

inline Texts Records()
{
    return Records(kTag);
}

// What the open scan serves up to its end; each descriptor is closed at once.
inline Texts ServedByScan(CFileTransfer& channel)
{
    Texts names;
    while (!channel.IsEndStream()) {
        if (channel.IsTransFile()) {
            names.push_back(CurrentFile(channel));
            EXPECT_EQ(0, ::close(channel.GetFileHandle()));
        }
    }
    channel.CloseStream();
    return names;
}

inline void BindSocket(const char* path)
{
    const OwnedFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::string(path).copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(0, ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
}

// Begins with the directories that an installation brings: the log's and the channel's home.
class ChannelTest : public PrivateDiskTest
{
protected:
    ChannelTest()
    {
        MakeLogDirectory();
        MakeDirs(kChannelHome);
    }

    // The lines of [filetran].
    static void Configure(const std::string& lines) { WriteFile(kConfig, "[filetran]\n" + lines); }

    static void SetInterval(const std::string& microseconds)
    {
        Configure("polling_interval=" + microseconds + "\n");
    }
};

}  // namespace qor::test

#endif  // QOR_TEST_CHANNELTEST_H
