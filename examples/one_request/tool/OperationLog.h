// OperationLog.h - a component's operation log, read without leaving anything in the log directory.
#ifndef ONE_REQUEST_TOOL_OPERATIONLOG_H
#define ONE_REQUEST_TOOL_OPERATIONLOG_H

#include <list>
#include <stdexcept>
#include <string>

namespace one_request {

/// There is no log to read, or it may not be read.
struct NoLog : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The records of the current file, from the time stamp `since` on when it is not empty. Throws
/// NoLog with the reason; CTraceUtility::ReadTrace would give an empty list, and make a debug log
/// of a component that has no log.
std::list<std::string> ReadOperationLog(const std::string& component, std::string since);

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_OPERATIONLOG_H
