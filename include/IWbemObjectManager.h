// IWbemObjectManager.h - makes class objects, and frees a list of them in one call.
//
//     IWbemObjectManager manager;
//     IWbemClassObject* object = nullptr;
//     manager.GetObject("Inventory", 0, nullptr, &object, nullptr);    // free it yourself, or:
//     manager.AddObject(object);
//     manager.ReleaseObject();
//
// Threads: one object, one thread at a time.
#ifndef QOR_IWBEMOBJECTMANAGER_H
#define QOR_IWBEMOBJECTMANAGER_H

#include <string>
#include <vector>

#include "IWbemClassObject.h"
#include "QorExport.h"

class QOR_API IWbemObjectManager
{
public:
    /// No managed objects.
    IWbemObjectManager();

    IWbemObjectManager(const IWbemObjectManager&) = delete;
    IWbemObjectManager& operator=(const IWbemObjectManager&) = delete;

    /// Intended: objects still managed are not deleted; call ReleaseObject() first.
    virtual ~IWbemObjectManager();

    /// Stores a new empty object in `*object`; null is allowed. The caller owns it: it is not
    /// managed. The other arguments are ignored. Returns 0 always.
    long GetObject(const std::string& path, int flags, void* context, IWbemClassObject** object,
                   void** callResult);

    /// Adds an object, made with new, for ReleaseObject to delete; add it only once. Null is
    /// allowed.
    void AddObject(IWbemClassObject* object);

    /// Writes the debug record "[ENTER] void IWbemObjectManager::ReleaseObject()" of component
    /// "som" at level 4, then deletes the managed objects, the last first, and empties the list.
    ///
    /// Intended: the objects are deleted without Release(), so nested objects leak: call Release()
    /// first on objects that have some.
    void ReleaseObject();

    /// Does nothing.
    void Release();

private:
    std::vector<IWbemClassObject*> objects_;
};

#endif  // QOR_IWBEMOBJECTMANAGER_H
