#include "service/Service.h"

#include <chrono>
#include <exception>

#include "CIWbemUtil.h"
#include "CTraceUtility.h"
#include "QorException.h"
#include "service/Spool.h"
#include "shared/Messages.h"

namespace one_request {
namespace {

// After a scan that failed; the next one may well fail too, and each leaves a record.
constexpr std::chrono::seconds kPauseAfterFailure(5);

// How many scans there are from one look for answers that nobody has collected to the next.
constexpr int kScansPerSweep = 200;

Request Parse(const TakenRequest& taken)
{
    if (!taken.trouble.empty())
        throw QorException("the request cannot be read: %s", taken.trouble.c_str());
    if (taken.text.size() > kMaxRequestLength)
        throw Refusal("the request is too long");
    try {
        return Request::FromText(taken.text);
    } catch (const QorException& error) {
        throw Refusal(error.what());
    }
}

unsigned long ReturnValue(const Answer& answer)
{
    unsigned long status = 0;
    if (CIWbemUtil::getReturnValueFromIWbemClassObject(answer.Result(), &status) != 0)
        throw QorException("the provider returned no status");
    return status;
}

// The answer of a request that came to nothing, with its "fail" record.
std::string FailedAnswer(const TakenRequest& request, Outcome outcome, const char* messageId,
                         const char* reason)
{
    const Answer answer(outcome, reason);
    CTraceUtility::WriteTrace(kComponent, messageId, request.name.c_str(), answer.Reason().c_str());
    return answer.ToText();
}

}  // namespace

Service::Service(Spool& spool, ProviderRegistry& providers) : spool_(spool), providers_(providers)
{
}

void Service::Run(StopSignal& stop)
{
    const std::chrono::microseconds interval(spool_.Interval());
    bool scanned;
    int scans = 0;
    do {
        scanned = ScanOnce(stop, scans++ % kScansPerSweep == 0);
    } while (!stop.Wait(scanned ? interval : kPauseAfterFailure));
}

bool Service::ScanOnce(StopSignal& stop, bool sweep)
{
    try {
        if (sweep)
            spool_.DeleteExpiredAnswers();
        spool_.Scan(stop, [this](const TakenRequest& request) { Serve(request); });
        return true;
    } catch (const std::exception& error) {
        CTraceUtility::WriteTrace(kComponent, "SOM_SCAN_FAILED", OneLine(error.what()).c_str());
        return false;
    }
}

void Service::Serve(const TakenRequest& request)
{
    const std::string answer = AnswerTo(request);
    try {
        spool_.Publish(request.name, answer);
    } catch (const std::exception& error) {
        CTraceUtility::WriteTrace(kComponent, "SOM_PUBLISH_FAILED", request.name.c_str(),
                                  OneLine(error.what()).c_str());
    }
}

std::string Service::AnswerTo(const TakenRequest& taken)
{
    try {
        const Request request = Parse(taken);
        const Answer answer(Outcome::kDone);
        providers_.Run(request, answer.Result());
        const unsigned long status = ReturnValue(answer);
        const std::string text = answer.ToText();
        CTraceUtility::WriteTrace(kComponent, "SOM_DONE", taken.name.c_str(),
                                  request.ClassName().c_str(), request.MethodName().c_str(),
                                  status);
        return text;
    } catch (const Refusal& error) {
        return FailedAnswer(taken, Outcome::kRefused, "SOM_REFUSED", error.what());
    } catch (const std::exception& error) {
        return FailedAnswer(taken, Outcome::kFailed, "SOM_FAILED", error.what());
    } catch (...) {  // a provider may throw anything
        return FailedAnswer(taken, Outcome::kFailed, "SOM_FAILED", "the provider failed");
    }
}

}  // namespace one_request
