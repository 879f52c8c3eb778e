#include "IWbemObjectSink.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "object/Bags.h"
#include "support/Allocations.h"
#include "support/Text.h"

namespace qor::test {
namespace {

static_assert(std::is_polymorphic<IWbemObjectSink>::value, "");
static_assert(std::has_virtual_destructor<IWbemObjectSink>::value, "");

class IWbemObjectSinkTest : public testing::Test
{
protected:
    // Indicates an object that is gone afterwards, with a mark named `label`.
    void Indicate(IWbemObjectSink& sink, const char* label)
    {
        IWbemClassObject object = With(label, deaths_.Mark(label));
        IWbemClassObject* objects[] = {&object};
        EXPECT_EQ(0, sink.Indicate(1, objects));
    }

    Deaths deaths_;
};

TEST_F(IWbemObjectSinkTest, BeginsWithoutAnOutParameter)
{
    IWbemObjectSink sink;

    EXPECT_EQ(nullptr, sink.GetOutParam());
}

TEST_F(IWbemObjectSinkTest, KeepsACopyOfTheObjectIndicated)
{
    IWbemClassObject object = With("n", 1);
    IWbemClassObject* objects[] = {&object};
    IWbemObjectSink sink;
    EXPECT_EQ(0, sink.Indicate(1, objects));
    object.push("later", 2);

    ASSERT_NE(nullptr, sink.GetOutParam());
    EXPECT_NE(&object, sink.GetOutParam());
    EXPECT_EQ(Strings({"n"}), Names(*sink.GetOutParam()));
}

TEST_F(IWbemObjectSinkTest, CopiesNestedObjectsToo)
{
    IWbemClassObject nested = With("n", 1);
    Bag object;
    object.push("nested", &nested);
    IWbemClassObject* objects[] = {&object};
    IWbemObjectSink sink;
    (void)sink.Indicate(1, objects);
    Nested(object, "nested")->push("later", 2);

    IWbemClassObject* const copy = Nested(*sink.GetOutParam(), "nested");
    EXPECT_NE(Nested(object, "nested"), copy);
    EXPECT_EQ(Strings({"n"}), Names(*copy));
    (void)sink.GetOutParam()->Release();
}

TEST_F(IWbemObjectSinkTest, TakesTheFirstObjectWhateverTheCount)
{
    for (const long count : {-1L, 0L, 1L, 2L, 1000000L}) {
        SCOPED_TRACE(count);
        IWbemClassObject first = With("first", 1);
        IWbemClassObject second = With("second", 2);
        IWbemClassObject* objects[] = {&first, &second};
        IWbemObjectSink sink;
        EXPECT_EQ(0, sink.Indicate(count, objects));

        ASSERT_NE(nullptr, sink.GetOutParam());
        EXPECT_EQ(Strings({"first"}), Names(*sink.GetOutParam()));
    }
}

TEST_F(IWbemObjectSinkTest, KeepsOwnershipOfTheOutParameter)
{
    IWbemObjectSink sink;
    Indicate(sink, "object");

    EXPECT_EQ(sink.GetOutParam(), sink.GetOutParam());
    EXPECT_EQ(Strings(), deaths_.labels());
}

TEST_F(IWbemObjectSinkTest, DoesNotFreeAnEarlierOutParameterOnIndicate)
{
    IWbemObjectSink sink;
    Indicate(sink, "first");
    IWbemClassObject* const first = sink.GetOutParam();
    Indicate(sink, "second");

    EXPECT_NE(first, sink.GetOutParam());
    EXPECT_EQ(Strings({"second"}), Names(*sink.GetOutParam()));
    EXPECT_EQ(Strings({"first"}), Names(*first));
    EXPECT_EQ(Strings(), deaths_.labels());
}

TEST_F(IWbemObjectSinkTest, FreesAllThatItHoldsWhenDestroyed)
{
    {
        IWbemObjectSink sink;
        Indicate(sink, "first");
        Indicate(sink, "second");
        Indicate(sink, "third");
    }

    EXPECT_EQ(Strings({"first", "second", "third"}), Sorted(deaths_.labels()));
}

TEST_F(IWbemObjectSinkTest, KeepsNestedObjectsAliveWhenDestroyed)
{
    std::unique_ptr<IWbemClassObject> nestedCopy;
    {
        IWbemClassObject nested = With("nested", deaths_.Mark("nested"));
        Bag object;
        object.push("nested", &nested);
        object.push("object", deaths_.Mark("object"));
        IWbemClassObject* objects[] = {&object};
        IWbemObjectSink sink;
        (void)sink.Indicate(1, objects);
        nestedCopy.reset(Nested(*sink.GetOutParam(), "nested"));
    }

    EXPECT_EQ(Strings({"object"}), deaths_.labels());
    EXPECT_EQ(Strings({"nested"}), Names(*nestedCopy));
}

// The list of copies grows to 16 pointers, which no allocation of a copy needs: that one fails.
TEST_F(IWbemObjectSinkTest, LeavesNothingOfACopyThatItHasNoMemoryToKeep)
{
    IWbemClassObject nested;
    Bag object;
    object.push("nested", &nested);
    IWbemClassObject* objects[] = {&object};
    IWbemObjectSink sink;
    for (int i = 0; i < 16; ++i)
        Indicate(sink, "former");
    IWbemObjectSink source;
    (void)source.Indicate(1, objects);
    IWbemClassObject* const former = sink.GetOutParam();

    const AllocationCount count;
    {
        const AllocationLimit limit(16 * sizeof(void*));
        EXPECT_THROW((void)sink.Indicate(1, objects), std::bad_alloc);
        EXPECT_THROW(sink = source, std::bad_alloc);
    }
    EXPECT_EQ(0, count.Kept());
    EXPECT_EQ(former, sink.GetOutParam());
    (void)source.GetOutParam()->Release();
}

TEST_F(IWbemObjectSinkTest, ChangesNothingWithoutAnObject)
{
    IWbemObjectSink sink;
    Indicate(sink, "object");
    IWbemClassObject* const former = sink.GetOutParam();
    IWbemClassObject* none[] = {nullptr};

    EXPECT_EQ(0, sink.Indicate(1, nullptr));
    EXPECT_EQ(0, sink.Indicate(1, none));

    EXPECT_EQ(former, sink.GetOutParam());
}

TEST_F(IWbemObjectSinkTest, AssignsADeepCopyAndKeepsTheEarlierOutParameter)
{
    IWbemObjectSink source;
    Indicate(source, "source");
    IWbemObjectSink target;
    Indicate(target, "target");
    IWbemClassObject* const earlier = target.GetOutParam();

    target = source;

    EXPECT_NE(source.GetOutParam(), target.GetOutParam());
    EXPECT_EQ(Strings({"source"}), Names(*target.GetOutParam()));
    EXPECT_EQ(Strings({"target"}), Names(*earlier));

    target = IWbemObjectSink();
    EXPECT_EQ(nullptr, target.GetOutParam());
    EXPECT_EQ(nullptr, IWbemObjectSink(target).GetOutParam());
}

TEST_F(IWbemObjectSinkTest, DoesNothingOnSetStatus)
{
    IWbemObjectSink sink;
    Indicate(sink, "object");
    IWbemClassObject* const former = sink.GetOutParam();
    IWbemClassObject other;
    char text[] = "text";

    EXPECT_EQ(0, sink.SetStatus(1, 0x80041002UL, text, &other));
    EXPECT_EQ(0, sink.SetStatus(-1, 0, nullptr, nullptr));

    EXPECT_EQ(former, sink.GetOutParam());
    EXPECT_STREQ("text", text);
    EXPECT_EQ(Strings(), Names(other));
}

TEST_F(IWbemObjectSinkTest, CopiesItsOutParameterDeeply)
{
    auto sink = std::make_unique<IWbemObjectSink>();
    Indicate(*sink, "first");
    Indicate(*sink, "second");
    IWbemObjectSink copy(*sink);

    ASSERT_NE(nullptr, copy.GetOutParam());
    EXPECT_NE(sink->GetOutParam(), copy.GetOutParam());
    sink.reset();

    EXPECT_EQ(Strings({"second"}), Names(*copy.GetOutParam()));
    EXPECT_EQ(Strings({"first"}), deaths_.labels());
}

}  // namespace
}  // namespace qor::test
