// The bag of properties; the text records are in TextRecord_test.cpp.
#include "IWbemClassObject.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "object/Bags.h"
#include "support/Text.h"

namespace qor::test {
namespace {

using SharedStrings = boost::shared_ptr<Strings>;
using SharedObjects = boost::shared_ptr<std::vector<IWbemClassObject*>>;

// No operation reads the log flag. C++ checks no access in an explicit
// instantiation.
bool LogFlag(const IWbemClassObject& bag);

template <bool IWbemClassObject::*flag>
struct LogFlagAccess {
    friend bool LogFlag(const IWbemClassObject& bag) { return bag.*flag; }
};
template struct LogFlagAccess<&IWbemClassObject::log_>;

// Copying it fails where a string's or vector's allocation would.
struct Uncopyable {
    Uncopyable() = default;
    Uncopyable(const Uncopyable&) { throw std::length_error("no copy"); }
    Uncopyable(Uncopyable&&) noexcept = default;
};

TEST(IWbemClassObjectTest, BeginsEmptyWithItsLogFlagOff)
{
    IWbemClassObject bag;

    EXPECT_FALSE(bag.hasNext(bag.getIterator()));
    EXPECT_FALSE(LogFlag(bag));
}

TEST(IWbemClassObjectTest, SetsItsLogFlagAsAsked)
{
    IWbemClassObject bag;

    bag.log(true);
    EXPECT_TRUE(LogFlag(bag));
    bag.log(false);
    EXPECT_FALSE(LogFlag(bag));
}

TEST(IWbemClassObjectTest, HandsBackEachKindOfValueAsTheTypePushed)
{
    Bag bag;
    const SharedStrings strings(new Strings{"a", "b"});
    const SharedNumbers numbers(new std::vector<int>{1, 2});
    const SharedObjects objects(new std::vector<IWbemClassObject*>(2));
    bag.push("int", -5);
    bag.push("unsigned int", 4000000000U);
    bag.push("long", -9000000000L);
    bag.push("unsigned long", 18000000000000000000UL);
    bag.push("bool", true);
    bag.push("string", std::string("text"));
    bag.push("strings", strings);
    bag.push("numbers", numbers);
    bag.push("objects", objects);

    EXPECT_EQ(-5, As<int>(bag.find("int")));
    EXPECT_EQ(4000000000U, As<unsigned int>(bag.find("unsigned int")));
    EXPECT_EQ(-9000000000L, As<long>(bag.find("long")));
    EXPECT_EQ(18000000000000000000UL, As<unsigned long>(bag.find("unsigned long")));
    EXPECT_TRUE(As<bool>(bag.find("bool")));
    EXPECT_EQ("text", As<std::string>(bag.find("string")));
    EXPECT_EQ(strings, As<SharedStrings>(bag.find("strings")));
    EXPECT_EQ(numbers, As<SharedNumbers>(bag.find("numbers")));
    EXPECT_EQ(objects, As<SharedObjects>(bag.find("objects")));
}

TEST(IWbemClassObjectTest, KeepsInsertionOrderAndDuplicateNames)
{
    IWbemClassObject bag;
    for (const char* const name : {"b", "a", "", "b", "c"})
        bag.push(name, 1);

    EXPECT_EQ(Strings({"b", "a", "", "b", "c"}), Names(bag));
}

TEST(IWbemClassObjectTest, FindsTheFirstOfSeveralPropertiesOfOneName)
{
    IWbemClassObject bag;
    bag.push("n", 1);
    bag.push("n", std::string("second"));

    EXPECT_EQ(1, As<int>(bag.find("n")));
    EXPECT_EQ(1, As<int>(bag.pop("n")));
}

TEST(IWbemClassObjectTest, ComparesNamesAsExactByteStrings)
{
    IWbemClassObject bag;
    bag.push("Name", 1);
    bag.push(std::string("Na\0me", 5), 2);
    bag.push("", 3);

    for (const char* const other : {"name", "NAME", "Nam", "Names", " Name", "Na"}) {
        SCOPED_TRACE(other);
        EXPECT_TRUE(IsNotFound(bag.find(other)));
        EXPECT_TRUE(IsNotFound(bag.pop(other)));
    }
    EXPECT_EQ(1, As<int>(bag.find("Name")));
    EXPECT_EQ(2, As<int>(bag.pop(std::string("Na\0me", 5))));
    EXPECT_EQ(3, As<int>(bag.find("")));
}

TEST(IWbemClassObjectTest, FindsAnIntZeroAndNoEmptyValueForAMissingName)
{
    IWbemClassObject bag = With("present", std::string("text"));

    EXPECT_EQ(0, As<int>(bag.find("absent")));
    EXPECT_EQ(0, As<int>(bag.pop("absent")));
    EXPECT_EQ(0, As<int>(bag.pop("absent", &bag)));
    EXPECT_THROW(As<std::string>(bag.find("absent")), boost::bad_any_cast);
}

TEST(IWbemClassObjectTest, FindsAnEmptyValueAsEmpty)
{
    IWbemClassObject bag = With("empty", boost::any());

    EXPECT_TRUE(bag.pop("empty").empty());
    EXPECT_TRUE(bag.find("empty").empty());
    EXPECT_TRUE(bag.pop("empty", &bag).empty());
}

TEST(IWbemClassObjectTest, DeliversCopiesOfValues)
{
    IWbemClassObject bag = With("n", std::string("kept"));

    boost::any found = bag.find("n");
    boost::any popped = bag.pop("n");
    boost::any_cast<std::string&>(found) = "changed";
    boost::any_cast<std::string&>(popped) = "changed";

    EXPECT_EQ("kept", As<std::string>(bag.find("n")));
}

TEST(IWbemClassObjectTest, SharesVectorsWithTheValuesThatItDelivers)
{
    IWbemClassObject bag = With("numbers", SharedNumbers(new std::vector<int>{1}));

    As<SharedNumbers>(bag.find("numbers"))->push_back(2);

    EXPECT_EQ(std::vector<int>({1, 2}), *As<SharedNumbers>(bag.pop("numbers")));
}

TEST(IWbemClassObjectTest, PopsTheSameValueTwiceAndRemovesNothing)
{
    IWbemClassObject bag = With("n", 7);

    EXPECT_EQ(7, As<int>(bag.pop("n")));
    EXPECT_EQ(7, As<int>(bag.pop("n")));
    EXPECT_EQ(Strings({"n"}), Names(bag));
}

TEST(IWbemClassObjectTest, PopsItsOwnPropertiesAlone)
{
    IWbemClassObject nested;
    nested.push("n", 1);
    nested.push("inside", 2);
    Bag bag;
    bag.push("nested", &nested);
    bag.push("n", 3);

    EXPECT_EQ(3, As<int>(bag.pop("n")));
    EXPECT_TRUE(IsNotFound(bag.pop("inside")));
}

TEST(IWbemClassObjectTest, PopsFromAGivenObjectOneLevelDeep)
{
    IWbemClassObject leaf = With("leaf only", 1);
    Bag given;
    given.push("leaf", &leaf);
    given.push("n", 2);
    IWbemClassObject bag;
    bag.push("n", 3);
    bag.push("mine", 4);

    EXPECT_EQ(2, As<int>(bag.pop("n", &given)));
    EXPECT_TRUE(IsNotFound(bag.pop("mine", &given)));
    EXPECT_TRUE(IsNotFound(bag.pop("leaf only", &given)));
    EXPECT_TRUE(IsNotFound(bag.pop("n", nullptr)));
}

TEST(IWbemClassObjectTest, StopsASearchAtTheFirstNestedObject)
{
    static const struct {
        const char* name;
        int expected;
    } cases[] = {
        {"before", 1},        {"both", 12},  // the nested object's and not the one after it
        {"after", 0},                        // neither's: the nested object lacks it
        {"second only", 0},                  // in the second nested object
        {"after a leaf", 13},  // pop in the nested object passes over its own nested one
        {"leaf only", 0},      // two levels down
    };
    IWbemClassObject leaf = With("leaf only", 21);
    Bag first;
    first.push("both", 12);
    first.push("leaf", &leaf);
    first.push("after a leaf", 13);
    IWbemClassObject second = With("second only", 14);
    Bag bag;
    bag.push("before", 1);
    PushNested(bag, "first", first);
    bag.push("both", 2);
    bag.push("after", 3);
    bag.push("second", &second);

    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.expected, As<int>(bag.find(c.name)));
    }
}

TEST(IWbemClassObjectTest, FindsANestedObjectByItsOwnNameBeforeLookingInside)
{
    IWbemClassObject nested = With("nested", 1);
    Bag bag;
    bag.push("nested", &nested);

    EXPECT_EQ(Nested(bag, "nested"), As<IWbemClassObject*>(bag.find("nested")));
}

TEST(IWbemClassObjectTest, FindsNothingAfterANullNestedPointer)
{
    IWbemClassObject bag;
    bag.push("null", static_cast<IWbemClassObject*>(nullptr));
    bag.push("n", 1);

    EXPECT_EQ(nullptr, As<IWbemClassObject*>(bag.find("null")));
    EXPECT_TRUE(IsNotFound(bag.find("n")));
    EXPECT_EQ(1, As<int>(bag.pop("n")));
    EXPECT_EQ(0, bag.Release());
}

// A bag of "n" after an entry whose value was changed, through its iterator, to a nested object.
void FillAndNestByIterator(IWbemClassObject& bag, IWbemClassObject* nested)
{
    auto end = bag.getIterator();
    bag.push("changed", 1);
    bag.push("n", 2);
    std::prev(end, 2)->second = nested;  // an empty list's iterator stays the end
}

TEST(IWbemClassObjectTest, StopsASearchAtAnObjectNestedThroughTheIterator)
{
    Bag bag;
    auto* const nested = new IWbemClassObject;
    nested->push("inside", 3);
    FillAndNestByIterator(bag, nested);

    EXPECT_TRUE(IsNotFound(bag.find("n")));
    EXPECT_EQ(3, As<int>(bag.find("inside")));
    EXPECT_EQ(2, As<int>(bag.pop("n")));
}

TEST(IWbemClassObjectTest, CopiesAndReleasesAnObjectNestedThroughTheIterator)
{
    Deaths deaths;
    auto* const nested = new IWbemClassObject;
    nested->push("mark", deaths.Mark("nested"));
    IWbemClassObject bag;
    FillAndNestByIterator(bag, nested);

    Bag copy(bag);
    EXPECT_NE(nested, Nested(copy, "changed"));
    (void)bag.Release();
    EXPECT_EQ(Strings(), deaths.labels());
    EXPECT_EQ(Strings({"mark"}), Names(*Nested(copy, "changed")));
}

TEST(IWbemClassObjectTest, StoresADeepCopyOfANestedObject)
{
    Bag bag;
    {
        IWbemClassObject mine = With("n", 1);
        bag.push("nested", &mine);
        mine.push("later", 2);
        EXPECT_NE(&mine, Nested(bag, "nested"));
    }

    EXPECT_EQ(Strings({"n"}), Names(*Nested(bag, "nested")));
    EXPECT_EQ(1, As<int>(Nested(bag, "nested")->pop("n")));
}

TEST(IWbemClassObjectTest, StoresACopyOfItselfAsItWasBefore)
{
    Bag bag;
    bag.push("n", 1);

    PushNested(bag, "self", bag);

    EXPECT_EQ(Strings({"n", "self"}), Names(bag));
    EXPECT_EQ(Strings({"n"}), Names(*Nested(bag, "self")));
}

TEST(IWbemClassObjectTest, DoesNotCopyTheObjectsOfAVector)
{
    IWbemClassObject element;
    IWbemClassObject bag =
        With("array", SharedObjects(new std::vector<IWbemClassObject*>{&element}));

    EXPECT_EQ(std::vector<IWbemClassObject*>({&element}), *As<SharedObjects>(bag.find("array")));
}

TEST(IWbemClassObjectTest, SpawnsANewEmptyObjectWhateverTheFlags)
{
    IWbemClassObject bag = With("n", 1);
    for (const long flags : {0L, -1L, 0x7fffffffffffffffL}) {
        SCOPED_TRACE(flags);
        IWbemClassObject* out = &bag;
        EXPECT_EQ(0, bag.SpawnInstance(flags, &out));

        const std::unique_ptr<IWbemClassObject> spawned(out != &bag ? out : nullptr);
        ASSERT_NE(nullptr, spawned);
        EXPECT_EQ(Strings(), Names(*spawned));
    }
    EXPECT_EQ(Strings({"n"}), Names(bag));
}

TEST(IWbemClassObjectTest, SpawnsNothingWithoutAPlaceForIt)
{
    IWbemClassObject bag;

    EXPECT_EQ(0, bag.SpawnInstance(0, nullptr));
}

TEST(IWbemClassObjectTest, GivesANewEmptyObjectAsEachMethodsOutSignature)
{
    IWbemClassObject bag = With("n", 1);
    for (const char* const method : {"create", "", static_cast<const char*>(nullptr)}) {
        IWbemClassObject* in = &bag;
        IWbemClassObject* out = &bag;
        EXPECT_EQ(0, bag.GetMethod(method, 1, &in, &out));

        EXPECT_EQ(&bag, in);
        const std::unique_ptr<IWbemClassObject> signature(out != &bag ? out : nullptr);
        ASSERT_NE(nullptr, signature);
        EXPECT_EQ(Strings(), Names(*signature));
    }
}

TEST(IWbemClassObjectTest, TakesNullSignatures)
{
    IWbemClassObject bag;
    IWbemClassObject* in = &bag;

    EXPECT_EQ(0, bag.GetMethod("create", 0, &in, nullptr));
    EXPECT_EQ(&bag, in);
    EXPECT_EQ(0, bag.GetMethod("create", 0, nullptr, nullptr));
}

TEST(IWbemClassObjectTest, WalksItsPropertiesFromTheFirstToTheLast)
{
    IWbemClassObject bag;
    bag.push("a", 1);
    bag.push("b", std::string("two"));

    auto property = bag.getIterator();
    ASSERT_TRUE(bag.hasNext(property));
    EXPECT_EQ("a", property->first);
    EXPECT_EQ(1, As<int>(property->second));
    ++property;
    ASSERT_TRUE(bag.hasNext(property));
    EXPECT_EQ("b", property->first);
    EXPECT_EQ("two", As<std::string>(property->second));
    ++property;
    EXPECT_FALSE(bag.hasNext(property));
}

// A bag with a nested object, which holds one itself; each of the three is marked.
void FillWithMarkedFamily(IWbemClassObject& bag, Deaths& deaths)
{
    IWbemClassObject grandchild = With("mark", deaths.Mark("grandchild"));
    Bag child;
    child.push("mark", deaths.Mark("child"));
    child.push("grandchild", &grandchild);
    bag.push("mark", deaths.Mark("bag"));
    PushNested(bag, "child", child);
}

TEST(IWbemClassObjectTest, ReleasesNestedObjectsDepthFirst)
{
    Deaths deaths;
    IWbemClassObject bag;
    FillWithMarkedFamily(bag, deaths);
    ASSERT_EQ(Strings(), deaths.labels());

    EXPECT_EQ(0, bag.Release());

    EXPECT_EQ(Strings({"grandchild", "child"}), deaths.labels());
}

TEST(IWbemClassObjectTest, ReleasesEachNestedObjectInOrder)
{
    Deaths deaths;
    IWbemClassObject bag;
    for (const char* const label : {"first", "second", "third"}) {
        IWbemClassObject nested = With("mark", deaths.Mark(label));
        bag.push("nested", &nested);
        bag.push("number", 1);
    }

    bag.cleanup();

    EXPECT_EQ(Strings({"first", "second", "third"}), deaths.labels());
}

TEST(IWbemClassObjectTest, StaysItselfWithAllItsEntriesAfterRelease)
{
    Deaths deaths;
    auto bag = std::make_unique<IWbemClassObject>();
    FillWithMarkedFamily(*bag, deaths);

    (void)bag->Release();
    EXPECT_EQ(Strings({"mark", "child"}), Names(*bag));
    EXPECT_TRUE(std::next(bag->getIterator())->second.type() == typeid(IWbemClassObject*));

    bag.reset();
    EXPECT_EQ(Strings({"grandchild", "child", "bag"}), deaths.labels());
}

TEST(IWbemClassObjectTest, KeepsNestedObjectsAliveWhenDestroyedWithoutRelease)
{
    Deaths deaths;
    auto bag = std::make_unique<IWbemClassObject>();
    FillWithMarkedFamily(*bag, deaths);
    const std::unique_ptr<IWbemClassObject> child(Nested(*bag, "child"));

    bag.reset();

    EXPECT_EQ(Strings({"bag"}), deaths.labels());
    EXPECT_EQ(Strings({"mark", "grandchild"}), Names(*child));
    (void)child->Release();
}

TEST(IWbemClassObjectTest, DoesNotReleaseTheObjectsOfAVector)
{
    Deaths deaths;
    IWbemClassObject element = With("mark", deaths.Mark("element"));
    {
        IWbemClassObject bag;
        bag.push("array", SharedObjects(new std::vector<IWbemClassObject*>{&element}));
        bag.push("vector", std::vector<IWbemClassObject*>{&element});
        (void)bag.Release();
    }

    EXPECT_EQ(Strings(), deaths.labels());
    EXPECT_EQ(Strings({"mark"}), Names(element));
}

TEST(IWbemClassObjectTest, CopiesEveryPropertyInOrder)
{
    IWbemClassObject source;
    source.push("b", 1);
    source.push("a", std::string("text"));
    source.push("b", boost::any());

    IWbemClassObject copy(source);
    source.push("later", 2);

    EXPECT_EQ(Strings({"b", "a", "b"}), Names(copy));
    EXPECT_EQ(1, As<int>(copy.pop("b")));
    EXPECT_EQ("text", As<std::string>(copy.pop("a")));
    EXPECT_TRUE(std::next(copy.getIterator(), 2)->second.empty());
}

TEST(IWbemClassObjectTest, CopiesNestedObjectsAtEachLevel)
{
    Deaths deaths;
    Bag source;
    FillWithMarkedFamily(source, deaths);

    Bag copy(source);
    IWbemClassObject* const child = Nested(copy, "child");
    IWbemClassObject* const grandchild = Nested(*child, "grandchild");
    child->push("in the copy", 1);
    grandchild->push("in the copy", 2);

    EXPECT_NE(child, Nested(source, "child"));
    EXPECT_NE(grandchild, Nested(*Nested(source, "child"), "grandchild"));
    EXPECT_EQ(Strings({"mark", "grandchild"}), Names(*Nested(source, "child")));
    EXPECT_EQ(Strings({"mark"}), Names(*Nested(*Nested(source, "child"), "grandchild")));
}

TEST(IWbemClassObjectTest, KeepsTheSourcesNestedObjectsWhenTheCopyIsReleased)
{
    Deaths deaths;
    Bag source;
    FillWithMarkedFamily(source, deaths);
    {
        IWbemClassObject copy(source);
        (void)copy.Release();
    }

    EXPECT_EQ(Strings(), deaths.labels());
    EXPECT_EQ(Strings({"mark", "grandchild"}), Names(*Nested(source, "child")));
}

TEST(IWbemClassObjectTest, KeepsTheCopysNestedObjectsWhenTheSourceIsReleased)
{
    Deaths deaths;
    auto source = std::make_unique<Bag>();
    FillWithMarkedFamily(*source, deaths);
    Bag copy(*source);

    source.reset();

    EXPECT_EQ(Strings(), deaths.labels());
    EXPECT_EQ(Strings({"mark"}), Names(*Nested(*Nested(copy, "child"), "grandchild")));
}

TEST(IWbemClassObjectTest, SharesVectorsWithItsCopies)
{
    const SharedNumbers numbers(new std::vector<int>{1});
    IWbemClassObject element;
    const SharedObjects objects(new std::vector<IWbemClassObject*>{&element});
    IWbemClassObject source;
    source.push("numbers", numbers);
    source.push("objects", objects);
    const IWbemClassObject copy(source);

    numbers->push_back(2);

    EXPECT_EQ(3, numbers.use_count());
    EXPECT_EQ(std::vector<int>({1, 2}), *As<SharedNumbers>(copy.find("numbers")));
    EXPECT_EQ(objects, As<SharedObjects>(copy.find("objects")));
    EXPECT_EQ(std::vector<IWbemClassObject*>({&element}), *objects);
}

TEST(IWbemClassObjectTest, CopiesVectorsHeldByValue)
{
    IWbemClassObject source = With("numbers", std::vector<long>{1, 2});
    IWbemClassObject copy(source);

    boost::any_cast<std::vector<long>&>(copy.getIterator()->second).push_back(3);

    EXPECT_EQ(std::vector<long>({1, 2}), As<std::vector<long>>(source.find("numbers")));
    EXPECT_EQ(std::vector<long>({1, 2, 3}), As<std::vector<long>>(copy.find("numbers")));
}

TEST(IWbemClassObjectTest, DoesNotTakeTheLogFlagFromItsSource)
{
    IWbemClassObject source;
    source.log(true);

    const IWbemClassObject copy(source);

    EXPECT_FALSE(LogFlag(copy));
    EXPECT_TRUE(LogFlag(source));
}

// Without freeing what was copied before, the leak check would report it.
TEST(IWbemClassObjectTest, PassesOnWhatACopyThrowsAndKeepsNothing)
{
    Deaths deaths;
    const SharedNumbers mark = deaths.Mark("nested");
    IWbemClassObject nested = With("mark", mark);
    Bag source;
    source.push("nested", &nested);
    source.push("fails", Uncopyable());
    const long before = mark.use_count();

    EXPECT_THROW(IWbemClassObject copy(source), std::length_error);
    EXPECT_THROW(PushNested(nested, "source", source), std::length_error);

    EXPECT_EQ(before, mark.use_count());
    EXPECT_EQ(Strings({"mark"}), Names(nested));
}

}  // namespace
}  // namespace qor::test
