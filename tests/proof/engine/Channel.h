// Channel.h - where the channel of a proof lies, and how a server takes requests and answers them.
#ifndef QOR_PROOF_CHANNEL_H
#define QOR_PROOF_CHANNEL_H

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "CFileTransfer.h"
#include "proof/engine/Proof.h"
#include "support/Descriptors.h"

namespace qor::proof {

inline const std::string kHome = "/opt/velmora/qor/som";
inline const std::string kConfig = kHome + "/socket.conf";
inline const std::string kClientDir = kHome + "/CS/";  // as a name follows
inline const std::string kServerDir = kHome + "/SS/";

// One scan. serve: called with each request's name and what it holds.
template <typename Serve>
void ScanRequests(CFileTransfer& channel, Serve serve)
{
    Require(channel.OpenStream(), "the client directory cannot be scanned");
    while (!channel.IsEndStream()) {
        if (!channel.IsTransFile())
            continue;
        std::string request;
        {
            const test::OwnedFd file(channel.GetFileHandle());
            request = test::ReadToEnd(file.get());
        }
        std::string name;
        channel.GetTransFile(name);
        serve(name, request);
    }
    channel.CloseStream();
}

// The answer to the request of that name, published as docs/channel.md shows.
inline void Publish(const std::string& name, const std::string& answer)
{
    const std::string temporary = name + ".tmp";
    {
        const test::OwnedFd file(::open((kServerDir + temporary).c_str(),
                                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0660));
        Require(::write(file.get(), answer.data(), answer.size()) ==
                    static_cast<ssize_t>(answer.size()),
                "an answer cannot be written");
    }
    Require(::rename((kServerDir + temporary).c_str(), (kServerDir + name).c_str()) == 0,
            "an answer cannot be published");
}

}  // namespace qor::proof

#endif  // QOR_PROOF_CHANNEL_H
