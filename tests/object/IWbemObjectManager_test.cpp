#include "IWbemObjectManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "object/Bags.h"
#include "support/Allocations.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/PrivateDiskTest.h"
#include "support/Text.h"

namespace qor::test {
namespace {

static_assert(std::is_polymorphic<IWbemObjectManager>::value, "");
static_assert(std::has_virtual_destructor<IWbemObjectManager>::value, "");

// No operation gives access to the managed objects. C++ checks no access in an explicit
// instantiation.
const std::vector<IWbemClassObject*>& Managed(const IWbemObjectManager& manager);

template <std::vector<IWbemClassObject*> IWbemObjectManager::*objects>
struct ManagedAccess {
    friend const std::vector<IWbemClassObject*>& Managed(const IWbemObjectManager& manager)
    {
        return manager.*objects;
    }
};
template struct ManagedAccess<&IWbemObjectManager::objects_>;

class IWbemObjectManagerTest : public PrivateDiskTest
{
protected:
    IWbemObjectManagerTest() { MakeLogDirectory(); }

    // A new object that notes its end under `label`.
    IWbemClassObject* NewObject(const char* label)
    {
        auto object = std::make_unique<IWbemClassObject>();
        object->push("mark", deaths_.Mark(label));
        return object.release();
    }

    Deaths deaths_;
    IWbemObjectManager manager_;
};

TEST_F(IWbemObjectManagerTest, BeginsWithoutManagedObjects)
{
    EXPECT_TRUE(Managed(manager_).empty());
}

TEST_F(IWbemObjectManagerTest, HandsOutANewEmptyObjectAndIgnoresTheRest)
{
    for (const char* const path : {"", "Inventory", "/no/such/path"}) {
        SCOPED_TRACE(path);
        int context = 1;
        void* callResult = &context;
        IWbemClassObject* object = nullptr;
        EXPECT_EQ(0, manager_.GetObject(path, -1, &context, &object, &callResult));

        const std::unique_ptr<IWbemClassObject> owned(object);
        ASSERT_NE(nullptr, owned);
        EXPECT_EQ(Strings(), Names(*owned));
        EXPECT_EQ(1, context);
        EXPECT_EQ(&context, callResult);
    }
}

TEST_F(IWbemObjectManagerTest, LeavesTheObjectHandedOutToTheCaller)
{
    IWbemClassObject* object = nullptr;
    (void)manager_.GetObject("path", 0, nullptr, &object, nullptr);
    const std::unique_ptr<IWbemClassObject> owned(object);
    EXPECT_TRUE(Managed(manager_).empty());

    owned->push("mark", deaths_.Mark("handed out"));
    manager_.ReleaseObject();

    EXPECT_EQ(Strings(), deaths_.labels());
}

TEST_F(IWbemObjectManagerTest, AllocatesNothingWithoutAPlaceForTheObject)
{
    const std::string path = "path";
    const AllocationCount count;
    const long result = manager_.GetObject(path, 0, nullptr, nullptr, nullptr);
    const std::size_t made = count.Made();

    EXPECT_EQ(0, result);
    EXPECT_EQ(0U, made);

    IWbemClassObject* object = nullptr;
    (void)manager_.GetObject(path, 0, nullptr, &object, nullptr);
    EXPECT_LT(0U, count.Made());  // the count works
    delete object;
}

TEST_F(IWbemObjectManagerTest, DeletesTheManagedObjectsFromTheLastToTheFirst)
{
    for (const char* const label : {"first", "second", "third"})
        manager_.AddObject(NewObject(label));
    EXPECT_EQ(Strings(), deaths_.labels());

    manager_.ReleaseObject();

    EXPECT_EQ(Strings({"third", "second", "first"}), deaths_.labels());
    EXPECT_TRUE(Managed(manager_).empty());
}

TEST_F(IWbemObjectManagerTest, DropsNullEntriesToo)
{
    manager_.AddObject(nullptr);
    manager_.AddObject(NewObject("first"));
    manager_.AddObject(nullptr);
    manager_.AddObject(NewObject("second"));
    manager_.AddObject(nullptr);
    ASSERT_EQ(5U, Managed(manager_).size());

    manager_.ReleaseObject();

    EXPECT_EQ(Strings({"second", "first"}), deaths_.labels());
    EXPECT_TRUE(Managed(manager_).empty());
}

TEST_F(IWbemObjectManagerTest, ManagesAgainAfterReleasing)
{
    manager_.AddObject(NewObject("first"));
    manager_.ReleaseObject();
    manager_.AddObject(NewObject("second"));
    manager_.ReleaseObject();

    EXPECT_EQ(Strings({"first", "second"}), deaths_.labels());
}

TEST_F(IWbemObjectManagerTest, KeepsNestedObjectsOfTheObjectsThatItDeletes)
{
    IWbemClassObject* const object = NewObject("object");
    const std::unique_ptr<IWbemClassObject> nested(NewObject("nested"));
    object->push("nested", nested.get());
    const std::unique_ptr<IWbemClassObject> stored(Nested(*object, "nested"));
    manager_.AddObject(object);

    manager_.ReleaseObject();

    EXPECT_EQ(Strings({"object"}), deaths_.labels());
    EXPECT_EQ(Strings({"mark"}), Names(*stored));
}

TEST_F(IWbemObjectManagerTest, TracesTheEntryOfReleaseObjectAlone)
{
    manager_.AddObject(NewObject("object"));

    manager_.ReleaseObject();

    EXPECT_EQ(Strings({"--FUNC-- [ENTER] void IWbemObjectManager::ReleaseObject()"}),
              Records("som"));
}

TEST_F(IWbemObjectManagerTest, OnlyTracesWhenThereIsNothingToRelease)
{
    manager_.ReleaseObject();

    EXPECT_EQ(1U, DebugTexts("som").size());
    EXPECT_EQ(Strings(), LogFileNames("som", kOperationLog));
    EXPECT_EQ(1U, ListDir(kLogDirectory).size());
}

TEST_F(IWbemObjectManagerTest, TracesNothingElse)
{
    IWbemClassObject* object = nullptr;
    {
        IWbemObjectManager manager;
        (void)manager.GetObject("path", 0, nullptr, &object, nullptr);
        manager.AddObject(object);
        manager.Release();
    }

    EXPECT_EQ(Strings(), ListDir(kLogDirectory));
    delete object;
}

TEST_F(IWbemObjectManagerTest, ReleasesObjectsWhereNothingCanBeLogged)
{
    RemoveTree("/opt/velmora");
    manager_.AddObject(NewObject("object"));

    manager_.ReleaseObject();

    EXPECT_EQ(Strings({"object"}), deaths_.labels());
}

TEST_F(IWbemObjectManagerTest, DoesNothingOnRelease)
{
    manager_.AddObject(NewObject("object"));

    manager_.Release();

    EXPECT_EQ(Strings(), deaths_.labels());
    EXPECT_EQ(1U, Managed(manager_).size());
    manager_.ReleaseObject();
}

TEST_F(IWbemObjectManagerTest, KeepsManagedObjectsAliveWhenDestroyed)
{
    const std::unique_ptr<IWbemClassObject> object(NewObject("object"));
    {
        IWbemObjectManager manager;
        manager.AddObject(object.get());
    }

    EXPECT_EQ(Strings(), deaths_.labels());
    EXPECT_EQ(Strings({"mark"}), Names(*object));
}

}  // namespace
}  // namespace qor::test
