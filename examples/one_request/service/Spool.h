// Spool.h - the service's side of the two spool directories: take requests, publish answers.
#ifndef ONE_REQUEST_SERVICE_SPOOL_H
#define ONE_REQUEST_SERVICE_SPOOL_H

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

#include "CFileTransfer.h"
#include "service/StopSignal.h"
#include "shared/FileDescriptor.h"

namespace one_request {

/// The service's trace component; its settings and texts lie in the install directory "som".
constexpr char kComponent[] = "som";

/// In bytes; no request of the tool comes near it.
constexpr std::size_t kMaxRequestLength = 1024 * 1024;

/// A request that is out of the client directory.
struct TakenRequest {
    std::string name;     ///< of its file, and of the answer's
    std::string text;     ///< cut somewhere after kMaxRequestLength
    std::string trouble;  ///< why it could not be read; empty: it was
};

/// Another service takes the requests of the same directory.
struct SpoolTaken : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Spool
{
public:
    /// Locks the client directory (flock(2)) until the process ends, however it ends. Throws
    /// SpoolTaken when another process has the lock, and something else when the configuration or
    /// one of the directories cannot be used.
    explicit Spool(const std::string& configFile);

    /// Microseconds between two scans.
    int Interval() { return channel_.Interval(); }

    /// Deletes the answers that nobody has collected for two days; requests of that age are
    /// deleted by every scan. Throws std::system_error.
    void DeleteExpiredAnswers();

    /// Hands every waiting request to `serve`, taken, until a stop is asked for. Throws when the
    /// client directory cannot be read, or a request in it not be taken.
    void Scan(StopSignal& stop, const std::function<void(const TakenRequest&)>& serve);

    /// The answer appears under the request's name, whole or not at all. Throws
    /// std::system_error.
    void Publish(const std::string& name, const std::string& text);

private:
    bool Take(TakenRequest& request);
    std::string ClientDirectory();
    std::string ServerDirectory();
    std::string PathOf(const std::string& directory, std::string name);

    CFileTransfer channel_;
    FileDescriptor lock_;  // on the client directory
};

}  // namespace one_request

#endif  // ONE_REQUEST_SERVICE_SPOOL_H
