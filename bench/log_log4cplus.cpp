#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <memory>

#include "log_peers.h"

namespace qor::bench {
namespace {

constexpr char kPattern[] = "%D{%Y/%m/%d %H:%M:%S} ThId:%t %-8p %m%n";
constexpr long kMaxFileSize = 10 << 20;
constexpr int kMaxFiles = 4;

log4cplus::Logger& Logger()
{
    static log4cplus::Logger logger = log4cplus::Logger::getInstance("bench");
    return logger;
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

}  // namespace

Peer OpenLog4cplus(const std::string& directory)
{
    static log4cplus::Initializer initializer;
    const std::string path = directory + "/log4cplus.log";
    const bool immediateFlush = true;
    log4cplus::SharedAppenderPtr appender(
        new log4cplus::RollingFileAppender(path, kMaxFileSize, kMaxFiles, immediateFlush));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>(kPattern));
    Logger().addAppender(appender);
    Logger().setAdditivity(false);
    Logger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
    return {"log4cplus", path, Write, WriteRejected};
}

}  // namespace qor::bench
