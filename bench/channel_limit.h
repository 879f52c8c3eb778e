// channel_limit.h - the channel's messages by bare system calls: the least work that leaves the
// same files, the same results and the same debug records.
#ifndef QOR_BENCH_CHANNEL_LIMIT_H
#define QOR_BENCH_CHANNEL_LIMIT_H

#include <functional>
#include <string>

#include "log_limit.h"

namespace qor::bench {

class BareChannel
{
public:
    // log: null when no record is wanted.
    BareChannel(std::string tag, BareLog* log) : tag_(std::move(tag)), log_(log) {}

    // Publishes a request in the client directory. Its length, or -1.
    int Send(const std::string& message);

    // Takes the response to the request in hand, polling as the channel does. Its length, or -1.
    int Receive(char* buffer, int size);

    // Calls `serve(descriptor, name)` for each request in the client directory.
    bool Scan(const std::function<void(int, const char*)>& serve) const;

    const std::string& CurrentFile() const { return currentFile_; }
    void SetCurrentFile(const std::string& name) { currentFile_ = name; }

private:
    std::string tag_;
    std::string currentFile_;
    BareLog* log_;
};

}  // namespace qor::bench

#endif  // QOR_BENCH_CHANNEL_LIMIT_H
