// Msg_InfoBraces.h - messages that C++11 initialises with braces.
#ifndef QOR_TEST_MSG_INFOBRACES_H
#define QOR_TEST_MSG_INFOBRACES_H

#include "CTraceUtilityCom.h"

Msg_Info WholeMessage();   // four members are given
Msg_Info PartOfMessage();  // the first one is
Msg_Info NoMessage();      // none is

#endif  // QOR_TEST_MSG_INFOBRACES_H
