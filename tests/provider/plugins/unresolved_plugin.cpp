// A provider that calls a function which is nowhere to be found: it loads as long as nobody asks
// for all its symbols at once.
#include "provider/plugins/TestServices.h"

extern "C" ISomServices* QorDefinedNowhere();
extern "C" ISomServices* create();

extern "C" ISomServices* create()
{
    return QorDefinedNowhere();
}
