// OwnedObject.h - owns a class object and all its nested objects.
#ifndef QOR_OBJECT_OWNEDOBJECT_H
#define QOR_OBJECT_OWNEDOBJECT_H

#include <memory>

#include "IWbemClassObject.h"

namespace qor {

struct ObjectReleaser {
    void operator()(IWbemClassObject* object) const
    {
        (void)object->Release();
        delete object;
    }
};

// For copies that have no owner yet: their destructor alone would leak their nested objects.
using OwnedObject = std::unique_ptr<IWbemClassObject, ObjectReleaser>;

}  // namespace qor

#endif  // QOR_OBJECT_OWNEDOBJECT_H
