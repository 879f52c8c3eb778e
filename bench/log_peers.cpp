#include "log_peers.h"

#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include <glog/logging.h>

#include "support/Files.h"

namespace qor::bench {
namespace {

constexpr std::size_t kMaxFileSize = 10 << 20;
constexpr int kMaxFiles = 4;

namespace by_spdlog {

std::shared_ptr<spdlog::logger>& Logger()
{
    static std::shared_ptr<spdlog::logger> logger;
    return logger;
}

void Prepare(spdlog::logger& logger)
{
    logger.set_pattern("%Y/%m/%d %H:%M:%S ThId:%t %l %v");
    logger.set_level(spdlog::level::info);
    logger.flush_on(spdlog::level::trace);
}

void Open(const std::string& path)
{
    Logger() = spdlog::rotating_logger_mt("bench", path, kMaxFileSize, kMaxFiles);
    Prepare(*Logger());
}

void Write(const LogFact& fact)
{
    Logger()->info("Update of {}: package {} of {}", fact.name, fact.number, fact.count);
}

void WriteRejected(const LogFact& fact)
{
    Logger()->debug("Update of {}: package {} of {}", fact.name, fact.number, fact.count);
}

}  // namespace by_spdlog

namespace by_glog {

void Open(const std::string& path)
{
    test::WriteFile(path, "");  // glog makes it with the first line only
    FLAGS_logbuflevel = -1;     // flush each line
    FLAGS_timestamp_in_logfile_name = false;
    google::SetLogDestination(google::GLOG_INFO, path.c_str());
    google::SetLogSymlink(google::GLOG_INFO, "");
    google::InitGoogleLogging("bench");
}

void Write(const LogFact& fact)
{
    LOG(INFO) << "Update of " << fact.name << ": package " << fact.number << " of " << fact.count;
}

void WriteRejected(const LogFact& fact)
{
    VLOG(1) << "Update of " << fact.name << ": package " << fact.number << " of " << fact.count;
}

}  // namespace by_glog

namespace by_log4cplus {

log4cplus::Logger& Logger()
{
    static log4cplus::Logger logger = log4cplus::Logger::getInstance("bench");
    return logger;
}

void Open(const std::string& path)
{
    static log4cplus::Initializer initializer;
    const bool immediateFlush = true;
    log4cplus::SharedAppenderPtr appender(new log4cplus::RollingFileAppender(
        path, static_cast<long>(kMaxFileSize), kMaxFiles, immediateFlush));
    appender->setLayout(
        std::make_unique<log4cplus::PatternLayout>("%D{%Y/%m/%d %H:%M:%S} ThId:%t %-8p %m%n"));
    Logger().addAppender(appender);
    Logger().setAdditivity(false);
    Logger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
}

void Write(const LogFact& fact)
{
    LOG4CPLUS_INFO_FMT(Logger(), "Update of %s: package %d of %d", fact.name, fact.number,
                       fact.count);
}

void WriteRejected(const LogFact& fact)
{
    LOG4CPLUS_DEBUG_FMT(Logger(), "Update of %s: package %d of %d", fact.name, fact.number,
                        fact.count);
}

}  // namespace by_log4cplus

}  // namespace

std::vector<LogPeer> LogPeers()
{
    return {
        {"spdlog", by_spdlog::Open, by_spdlog::Write, by_spdlog::WriteRejected},
        {"glog", by_glog::Open, by_glog::Write, by_glog::WriteRejected},
        {"log4cplus", by_log4cplus::Open, by_log4cplus::Write, by_log4cplus::WriteRejected},
    };
}

void WriteOnceBySpdlog(const std::string& path, const LogFact& fact)
{
    spdlog::logger logger("once", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path));
    by_spdlog::Prepare(logger);
    logger.info("Update of {}: package {} of {}", fact.name, fact.number, fact.count);
}

}  // namespace qor::bench
