// Answers requests from the spool with their text in capitals.
//   channel_server COUNT    ends after that many requests
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "CFileTransfer.h"
#include "CTraceUtility.h"

namespace {

std::string ReadToEnd(int fd)
{
    std::string text;
    char block[4096];
    for (ssize_t count; (count = ::read(fd, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(count));
    return text;
}

// The response appears under its name only when it is whole.
bool Publish(CFileTransfer& channel, std::string path, const std::string& response)
{
    std::string directory, temporary;
    channel.GetSendDir(directory);
    channel.GetTmpFileName(temporary);
    channel.AppendFullPath(directory, temporary);
    channel.AppendFullPath(directory, path);

    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0660);
    if (fd < 0)
        return false;
    const ssize_t written = ::write(fd, response.data(), response.size());
    const bool closed = ::close(fd) == 0;
    if (closed && written == static_cast<ssize_t>(response.size()) &&
        std::rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    ::unlink(temporary.c_str());
    return false;
}

bool Serve(CFileTransfer& channel)
{
    const int fd = channel.GetFileHandle();
    std::string response = ReadToEnd(fd);
    ::close(fd);  // the channel does not

    std::string name, path, directory;
    channel.GetTransFile(name);
    channel.GetRecvDir(directory);
    channel.AppendFullPath(directory, path = name);
    ::unlink(path.c_str());  // taken: from here on its client waits without limit

    for (char& c : response)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return Publish(channel, name, response);
}

}  // namespace

int main(int argc, char** argv)
{
    int left = argc == 2 ? std::atoi(argv[1]) : 0;
    CTraceUtility::Initialize("som", CTraceUtility::WRITE_MODE_DEBUG);
    CFileTransfer channel;
    for (; left > 0; ::usleep(10000)) {
        if (!channel.OpenStream())
            return 1;
        while (left > 0 && !channel.IsEndStream()) {
            if (channel.IsTransFile() && Serve(channel))
                --left;
        }
        channel.CloseStream();
    }
}
