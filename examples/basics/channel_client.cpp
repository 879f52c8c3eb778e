// Sends one request through the spool and prints the response.
//   channel_client TEXT
#include <cerrno>
#include <cstring>
#include <iostream>
#include <vector>

#include "CFileTransfer.h"
#include "CTraceUtility.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: channel_client TEXT\n";
        return 2;
    }
    // The component that the channel's debug records go to.
    CTraceUtility::Initialize("cli", CTraceUtility::WRITE_MODE_DEBUG);

    CFileTransfer channel("cli", "/opt/velmora/qor/som/socket.conf");
    if (channel.SendMessage(argv[1]) < 0) {
        std::cerr << "cannot send: " << std::strerror(errno) << "\n";
        return 1;
    }
    // A NUL is written after what was read, and before the buffer when reading failed.
    const int size = 65536;
    std::vector<char> memory(1 + size + 1);
    char* const buffer = memory.data() + 1;
    const int length = channel.RecvMessage(buffer, size, 0);
    CTraceUtility::Terminate("cli");
    if (length < 0) {
        std::cerr << "no response\n";
        return 1;
    }
    std::cout.write(buffer, length) << "\n";
    return 0;
}
