// ExitStatus.h - what qor_cli reports to its caller; --help lists the values.
#ifndef ONE_REQUEST_TOOL_EXITSTATUS_H
#define ONE_REQUEST_TOOL_EXITSTATUS_H

namespace one_request {

enum ExitStatus {
    kSuccess = 0,
    kErrorAnswer = 1,
    kUsage = 2,
    kRefused = 3,
    kNoAnswer = 4,
    kTrouble = 5,
    kNoLog = 6
};

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_EXITSTATUS_H
