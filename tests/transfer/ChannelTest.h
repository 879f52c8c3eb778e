// ChannelTest.h - the spool directories and the debug log of a channel, as its tests see them.
#ifndef QOR_TEST_CHANNELTEST_H
#define QOR_TEST_CHANNELTEST_H

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

// Debug records as "LEVEL TEXT", without stamp and thread.
inline std::vector<std::string> Records(const std::string& tag = kTag)
{
    std::vector<std::string> records;
    for (const DebugLine& line : DebugTexts(tag))
        records.push_back(line.level + " " + line.text);
    return records;
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
