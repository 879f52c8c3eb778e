// ObjectTree.h - the owner of a class object and of everything below it.
//
//     ObjectTree result = NewObjectTree();
//     FillIn(result.get());
//
// Release() frees nested objects, but not the elements of class arrays, since readers may hold
// those pointers. Whoever reads them last frees them: the service when the answer is written, the
// tool when it is printed. Both hold their messages in an ObjectTree.
#ifndef ONE_REQUEST_SHARED_OBJECTTREE_H
#define ONE_REQUEST_SHARED_OBJECTTREE_H

#include <memory>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "IWbemClassObject.h"

namespace one_request {

/// How a class array is stored in a class object.
using ObjectArray = boost::shared_ptr<std::vector<IWbemClassObject*>>;

struct DeleteObjectTree {
    void operator()(IWbemClassObject* object) const;
};

using ObjectTree = std::unique_ptr<IWbemClassObject, DeleteObjectTree>;

inline ObjectTree NewObjectTree()
{
    return ObjectTree(new IWbemClassObject);
}

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_OBJECTTREE_H
