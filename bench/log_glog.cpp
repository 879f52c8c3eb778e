#include <glog/logging.h>

#include "log_peers.h"
#include "support/Files.h"

namespace qor::bench {
namespace {

void Write(const LogFact& fact)
{
    LOG(INFO) << "Update of " << fact.name << ": package " << fact.number << " of " << fact.count;
}

void WriteRejected(const LogFact& fact)
{
    VLOG(1) << "Update of " << fact.name << ": package " << fact.number << " of " << fact.count;
}

}  // namespace

Peer OpenGlog(const std::string& directory)
{
    const std::string path = directory + "/glog.log";
    test::WriteFile(path, "");  // glog makes it with the first line only
    FLAGS_logbuflevel = -1;     // flush each line
    FLAGS_timestamp_in_logfile_name = false;
    google::SetLogDestination(google::GLOG_INFO, path.c_str());
    google::SetLogSymlink(google::GLOG_INFO, "");
    google::InitGoogleLogging("bench");
    return {"glog", path, Write, WriteRejected};
}

}  // namespace qor::bench
