// A provider: exports "create".
#include "provider/plugins/TestServices.h"

namespace {

class Services : public ISomServices
{
public:
    int Answer() const override { return 42; }
};

}  // namespace

extern "C" ISomServices* create();

extern "C" ISomServices* create()
{
    return new Services;
}
