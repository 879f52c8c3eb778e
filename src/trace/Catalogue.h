// Catalogue.h - looking up messages without copying them.
#ifndef QOR_TRACE_CATALOGUE_H
#define QOR_TRACE_CATALOGUE_H

#include "CTraceUtilityCom.h"

namespace qor {

// The catalogue's own entry; null for an unknown identifier.
inline const Msg_Info* FindMessage(const Setting_Info& settings, const char* id)
{
    const auto entry = settings.messages.find(id);
    return entry == settings.messages.end() ? nullptr : &entry->second;
}

}  // namespace qor

#endif  // QOR_TRACE_CATALOGUE_H
