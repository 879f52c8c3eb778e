// Answers requests from the spool with their text backwards.
//   channel_server COUNT    ends after that many requests
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "CFileTransfer.h"
#include "CTraceUtility.h"

namespace {

bool ReadToEnd(int fd, std::string& text)
{
    char block[4096];
    ssize_t count;
    while ((count = ::read(fd, block, sizeof block)) > 0)
        text.append(block, static_cast<std::size_t>(count));
    return count == 0;
}

// The response appears under its name only when it is whole. The temporary name is made from the
// request's, which no other server has: two servers can draw one time stamp.
bool Publish(CFileTransfer& channel, std::string path, const std::string& response)
{
    std::string directory;
    channel.GetSendDir(directory);
    channel.AppendFullPath(directory, path);
    const std::string temporary = path + ".tmp";

    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0660);
    if (fd < 0)
        return false;
    const ssize_t written = ::write(fd, response.data(), response.size());
    const bool whole = ::close(fd) == 0 && written == static_cast<ssize_t>(response.size());
    if (whole && std::rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    ::unlink(temporary.c_str());
    return false;
}

// False: the request was another server's, or its client has given up.
bool Serve(CFileTransfer& channel)
{
    const int fd = channel.GetFileHandle();
    std::string response;
    if (!ReadToEnd(fd, response))
        response = "the request cannot be read";
    ::close(fd);  // the channel does not

    std::string name, path, directory;
    channel.GetTransFile(name);
    channel.GetRecvDir(directory);
    channel.AppendFullPath(directory, path = name);
    if (::unlink(path.c_str()) != 0)
        return false;

    // Taken: from here on its client waits without limit.
    std::reverse(response.begin(), response.end());
    if (!Publish(channel, name, response))
        std::cerr << name << ": the response cannot be written\n";
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    int left = argc == 2 ? std::atoi(argv[1]) : 0;
    CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG);
    CFileTransfer channel;
    for (; left > 0 && channel.OpenStream(); ::usleep(10000)) {
        while (left > 0 && !channel.IsEndStream()) {
            if (channel.IsTransFile() && Serve(channel))
                --left;
        }
        channel.CloseStream();
    }
    return left > 0 ? 1 : 0;  // no spool: see the debug log of som
}
