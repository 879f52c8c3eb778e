// Compiled as C++11, whose rules for braces are the strictest; GoogleTest needs a newer standard.
#include "trace/Msg_InfoBraces.h"

static_assert(__cplusplus < 201402L, "CMakeLists.txt chooses the standard");

Msg_Info WholeMessage()
{
    const Msg_Info all = {"text %d", "0x00000001", "info", 7};
    return all;
}

Msg_Info PartOfMessage()
{
    const Msg_Info some{"text %d"};
    return some;
}

Msg_Info NoMessage()
{
    const Msg_Info none;
    return none;
}
