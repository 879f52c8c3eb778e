#include "shared/ObjectTree.h"

namespace one_request {
namespace {

void DeleteArrayElements(IWbemClassObject& object);

// Emptied, as a copy of the object that holds the array shares it.
void DeleteElements(std::vector<IWbemClassObject*>& elements)
{
    for (IWbemClassObject* const element : elements)
        DeleteObjectTree()(element);
    elements.clear();
}

void DeleteArrayElements(IWbemClassObject& object)
{
    for (auto property = object.getIterator(); object.hasNext(property); ++property) {
        const auto* const nested = boost::any_cast<IWbemClassObject*>(&property->second);
        const auto* const array = boost::any_cast<ObjectArray>(&property->second);
        if (nested != nullptr && *nested != nullptr)
            DeleteArrayElements(**nested);
        else if (array != nullptr && *array)
            DeleteElements(**array);
    }
}

}  // namespace

void DeleteObjectTree::operator()(IWbemClassObject* object) const
{
    if (object == nullptr)
        return;
    DeleteArrayElements(*object);
    (void)object->Release();  // 0 always
    delete object;
}

}  // namespace one_request
