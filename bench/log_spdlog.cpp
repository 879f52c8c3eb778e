#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "log_peers.h"

namespace qor::bench {
namespace {

constexpr char kPattern[] = "%Y/%m/%d %H:%M:%S ThId:%t %l %v";
constexpr std::size_t kMaxFileSize = 10 << 20;
constexpr std::size_t kMaxFiles = 4;

std::shared_ptr<spdlog::logger>& Logger()
{
    static std::shared_ptr<spdlog::logger> logger;
    return logger;
}

void Prepare(spdlog::logger& logger)
{
    logger.set_pattern(kPattern);
    logger.set_level(spdlog::level::info);
    logger.flush_on(spdlog::level::trace);
}

void Write(const LogFact& fact)
{
    Logger()->info("Update of {}: package {} of {}", fact.name, fact.number, fact.count);
}

void WriteRejected(const LogFact& fact)
{
    Logger()->debug("Update of {}: package {} of {}", fact.name, fact.number, fact.count);
}

}  // namespace

Peer OpenSpdlog(const std::string& directory)
{
    const std::string path = directory + "/spdlog.log";
    Logger() = spdlog::rotating_logger_mt("bench", path, kMaxFileSize, kMaxFiles);
    Prepare(*Logger());
    return {"spdlog", path, Write, WriteRejected};
}

void WriteOnceBySpdlog(const std::string& path, const LogFact& fact)
{
    spdlog::logger logger("once", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path));
    Prepare(logger);
    logger.info("Update of {}: package {} of {}", fact.name, fact.number, fact.count);
}

}  // namespace qor::bench
