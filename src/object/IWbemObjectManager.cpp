#include "IWbemObjectManager.h"

#include <memory>

#include "trace/TraceScope.h"

IWbemObjectManager::IWbemObjectManager() = default;

IWbemObjectManager::~IWbemObjectManager() = default;

long IWbemObjectManager::GetObject(const std::string&, int, void*, IWbemClassObject** object,
                                   void**)
{
    if (object != nullptr)
        *object = new IWbemClassObject;
    return 0;
}

void IWbemObjectManager::AddObject(IWbemClassObject* object)
{
    objects_.push_back(object);
}

void IWbemObjectManager::ReleaseObject()
{
    const std::string tag = "som";
    qor::TraceScope(tag, "void IWbemObjectManager::ReleaseObject()").Enter();

    while (!objects_.empty()) {
        const std::unique_ptr<IWbemClassObject> last(objects_.back());
        objects_.pop_back();
    }
}

void IWbemObjectManager::Release() {}
