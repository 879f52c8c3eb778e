// Service.h - the object-manager service: answers the requests in the spool, one after the other.
//
// Whatever a request contains, its client gets an answer and the service continues.
#ifndef ONE_REQUEST_SERVICE_SERVICE_H
#define ONE_REQUEST_SERVICE_SERVICE_H

#include <string>

#include "service/ProviderRegistry.h"
#include "service/Spool.h"
#include "service/StopSignal.h"
#include "shared/Messages.h"

namespace one_request {

class Service
{
public:
    /// Both live longer than the service.
    Service(Spool& spool, ProviderRegistry& providers);

    /// Until a stop is requested; a request that was taken is answered first.
    void Run(StopSignal& stop);

private:
    // False, with a record, when it failed. sweep: look for answers that nobody has collected too.
    bool ScanOnce(StopSignal& stop, bool sweep);
    void Serve(const TakenRequest& request);
    std::string AnswerTo(const TakenRequest& request);

    Spool& spool_;
    ProviderRegistry& providers_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_SERVICE_SERVICE_H
