#include "CIWbemUtil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "object/Bags.h"
#include "support/Allocations.h"

namespace qor::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Objects = std::vector<IWbemClassObject*>;
using Pairs = std::list<std::pair<std::string, std::string>>;
using Strings = std::vector<std::string>;

constexpr unsigned kSuccess = 0;
constexpr unsigned kNullArgument = 0x80041008U;
constexpr unsigned kNotFound = 0x80041002U;

unsigned Code(int status)
{
    return static_cast<unsigned>(status);
}

template <typename Element>
boost::shared_ptr<std::vector<Element>> Shared(std::vector<Element> elements)
{
    return boost::shared_ptr<std::vector<Element>>(new std::vector<Element>(std::move(elements)));
}

// One property of each kind that a bag may hold, named by its kind. What ends a search stands
// last.
class CIWbemUtilKindsTest : public testing::Test
{
protected:
    CIWbemUtilKindsTest()
    {
        bag_.push("int", 1);
        bag_.push("unsigned int", 2U);
        bag_.push("long", 3L);
        bag_.push("unsigned long", 4UL);
        bag_.push("bool", true);
        bag_.push("string", std::string("five"));
        bag_.push("int array", Shared<int>({6}));
        bag_.push("string array", Shared<std::string>({"seven"}));
        bag_.push("int vector", std::vector<int>{8});
        bag_.push("unsigned int vector", std::vector<unsigned int>{9});
        bag_.push("long vector", std::vector<long>{10});
        bag_.push("unsigned long vector", std::vector<unsigned long>{11});
        bag_.push("bool vector", std::vector<bool>{true});
        bag_.push("string vector", Strings{"twelve"});
        bag_.push("unsigned int array", Shared<unsigned int>({13}));
        bag_.push("long array", Shared<long>({14}));
        bag_.push("unsigned long array", Shared<unsigned long>({15}));
        bag_.push("bool array", Shared<bool>({true}));
        bag_.push("class vector", objects_);
        bag_.push("class vector pointer", &objects_);
        bag_.push("class array", Shared<IWbemClassObject*>({&element_}));
        bag_.push("null class vector pointer", static_cast<Objects*>(nullptr));
        bag_.push("null class array", boost::shared_ptr<Objects>());
        bag_.push("null int array", boost::shared_ptr<std::vector<int>>());
        bag_.push("null string array", boost::shared_ptr<Strings>());
        bag_.push("short", static_cast<short>(16));
        bag_.push("long long", 17LL);
        bag_.push("double", 18.0);
        bag_.push("characters", static_cast<const char*>("nineteen"));
        bag_.push("empty", boost::any());
        bag_.push("class", &element_);
    }

    // Reads every property into a fresh `former`. Returns the names that give success, and checks
    // that all others give "not found" and `mismatch`.
    template <typename Out>
    Strings Accepted(int (*get)(IWbemClassObject*, const char*, Out*), const Out& former,
                     const Out& mismatch)
    {
        Strings accepted;
        for (const std::string& name : Names(bag_)) {
            SCOPED_TRACE(name);
            Out out = former;
            const unsigned status = Code(get(&bag_, name.c_str(), &out));
            if (status == kSuccess) {
                EXPECT_NE(former, out);
                accepted.push_back(name);
            } else {
                EXPECT_EQ(kNotFound, status);
                EXPECT_EQ(mismatch, out);
            }
        }
        return accepted;
    }

    // Of the array getters that leave their output untouched on mismatch.
    template <typename Element>
    Strings AcceptedArrays(int (*get)(IWbemClassObject*, const char*, std::vector<Element>*),
                           const std::vector<Element>& former)
    {
        return Accepted(get, former, former);
    }

    IWbemClassObject element_;
    Objects objects_{&element_, nullptr};
    Bag bag_;
};

TEST_F(CIWbemUtilKindsTest, ReadsScalarsOfExactlyTheirOwnType)
{
    using Util = CIWbemUtil;
    const std::string former = "former";
    EXPECT_THAT(Accepted(Util::getIntFromIWbemClassObject, 77, 0), ElementsAre("int"));
    EXPECT_THAT(Accepted(Util::getUIntFromIWbemClassObject, 77U, 0U), ElementsAre("int"));
    EXPECT_THAT(Accepted(Util::getLongFromIWbemClassObject, 77L, 0L), ElementsAre("long"));
    EXPECT_THAT(Accepted(Util::getULongFromIWbemClassObject, 77UL, 0UL),
                ElementsAre("unsigned long"));
    EXPECT_THAT(Accepted(Util::getStringFromIWbemClassObject, former, std::string()),
                ElementsAre("string"));
}

TEST_F(CIWbemUtilKindsTest, ReadsBoolsOfExactlyTheirOwnType)
{
    EXPECT_THAT(Accepted(CIWbemUtil::getBoolFromIWbemClassObject, false, false),
                ElementsAre("bool"));
    for (const std::string& name : Names(bag_)) {
        SCOPED_TRACE(name);
        bool out = true;
        EXPECT_EQ(name == "bool" ? kSuccess : kNotFound,
                  Code(CIWbemUtil::getBoolFromIWbemClassObject(&bag_, name.c_str(), &out)));
        EXPECT_EQ(name == "bool", out);
    }
}

TEST_F(CIWbemUtilKindsTest, ReadsArraysOfExactlyTheirOwnForm)
{
    using Util = CIWbemUtil;
    EXPECT_THAT(AcceptedArrays(Util::getIntArrayFromIWbemClassObject, {7, 7}),
                ElementsAre("int array"));
    EXPECT_THAT(AcceptedArrays(Util::getUIntArrayFromIWbemClassObject, {7, 7}),
                ElementsAre("unsigned int vector"));
    EXPECT_THAT(AcceptedArrays(Util::getLongArrayFromIWbemClassObject, {7, 7}),
                ElementsAre("long vector"));
    EXPECT_THAT(AcceptedArrays(Util::getULongArrayFromIWbemClassObject, {7, 7}),
                ElementsAre("unsigned long vector"));
    EXPECT_THAT(AcceptedArrays(Util::getBoolArrayFromIWbemClassObject, {false, false}),
                ElementsAre("bool vector"));
    EXPECT_THAT(AcceptedArrays<std::string>(Util::getStringArrayFromIWbemClassObject, {"former"}),
                ElementsAre("string array"));
}

TEST_F(CIWbemUtilKindsTest, ReadsClassObjectsOfExactlyTheirOwnType)
{
    EXPECT_THAT(Accepted(CIWbemUtil::getParameterClassFromIWbemClassObject, &element_,
                         static_cast<IWbemClassObject*>(nullptr)),
                ElementsAre("class"));
}

TEST_F(CIWbemUtilKindsTest, ReadsClassArraysInFourFormsAndEmptiesTheOutputOtherwise)
{
    EXPECT_THAT(Accepted(CIWbemUtil::getParameterClassArrayFromIWbemClassObject,
                         Objects{nullptr, nullptr}, Objects()),
                ElementsAre("class vector", "class vector pointer", "class array", "class"));
}

TEST_F(CIWbemUtilKindsTest, ReplacesTheWholeContentOfAClassArrayByTheStoredPointers)
{
    const Objects single{As<IWbemClassObject*>(bag_.pop("class"))};
    const struct {
        const char* name;
        Objects expected;
    } cases[] = {
        {"class vector", {&element_, nullptr}},
        {"class vector pointer", {&element_, nullptr}},
        {"class array", {&element_}},
        {"class", single},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Objects out(3);
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getParameterClassArrayFromIWbemClassObject(
                                &bag_, c.name, &out)));
        EXPECT_THAT(out, ElementsAreArray(c.expected));
    }
}

TEST(CIWbemUtilTest, WritesAndReadsInts)
{
    for (const int value : {0, 1, -1, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(value);
        IWbemClassObject bag;
        int out = 77;
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::setIntToIWbemClassObject(&bag, "n", value)));
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getIntFromIWbemClassObject(&bag, "n", &out)));
        EXPECT_EQ(value, out);
        EXPECT_EQ(value, As<int>(bag.pop("n")));
    }
}

TEST(CIWbemUtilTest, DoesNotReadBackAnUnsignedInt)
{
    IWbemClassObject bag;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setUIntToIWbemClassObject(&bag, "n", 7U)));
    EXPECT_EQ(7U, As<unsigned int>(bag.pop("n")));

    unsigned int out = 77;
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getUIntFromIWbemClassObject(&bag, "n", &out)));
    EXPECT_EQ(0U, out);
}

TEST(CIWbemUtilTest, ReadsAnIntAsUnsigned)
{
    static const struct {
        int value;
        unsigned int expected;
    } cases[] = {
        {-1, 4294967295U}, {0, 0U}, {7, 7U}, {INT_MAX, 2147483647U}, {INT_MIN, 2147483648U}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        IWbemClassObject bag;
        (void)CIWbemUtil::setIntToIWbemClassObject(&bag, "n", c.value);
        unsigned int out = 77;
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getUIntFromIWbemClassObject(&bag, "n", &out)));
        EXPECT_EQ(c.expected, out);
    }
}

TEST(CIWbemUtilTest, WritesAndReadsLongs)
{
    for (const long value : {0L, -1L, LONG_MAX, LONG_MIN}) {
        SCOPED_TRACE(value);
        IWbemClassObject bag;
        long out = 77;
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::setLongToIWbemClassObject(&bag, "n", value)));
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getLongFromIWbemClassObject(&bag, "n", &out)));
        EXPECT_EQ(value, out);
        EXPECT_EQ(value, As<long>(bag.pop("n")));
    }
}

TEST(CIWbemUtilTest, WritesAndReadsUnsignedLongs)
{
    for (const unsigned long value : {0UL, 1UL, ULONG_MAX}) {
        SCOPED_TRACE(value);
        IWbemClassObject bag;
        unsigned long out = 77;
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::setULongToIWbemClassObject(&bag, "n", value)));
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getULongFromIWbemClassObject(&bag, "n", &out)));
        EXPECT_EQ(value, out);
        EXPECT_EQ(value, As<unsigned long>(bag.pop("n")));
    }
}

TEST(CIWbemUtilTest, WritesAndReadsBools)
{
    for (const bool value : {false, true}) {
        SCOPED_TRACE(value);
        IWbemClassObject bag;
        bool out = !value;
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::setBoolToIWbemClassObject(&bag, "n", value)));
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getBoolFromIWbemClassObject(&bag, "n", &out)));
        EXPECT_EQ(value, out);
        EXPECT_EQ(value, As<bool>(bag.pop("n")));
    }
}

TEST(CIWbemUtilTest, WritesAndReadsStrings)
{
    for (const std::string& value : {std::string(), std::string("a;b"), std::string("a\0b", 3)}) {
        SCOPED_TRACE(testing::PrintToString(value));
        IWbemClassObject bag;
        std::string out = "former";
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::setStringToIWbemClassObject(&bag, "n", value)));
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getStringFromIWbemClassObject(&bag, "n", &out)));
        EXPECT_EQ(value, out);
        EXPECT_EQ(value, As<std::string>(bag.pop("n")));
    }
}

TEST(CIWbemUtilTest, StoresACopyOfAnIntArray)
{
    IWbemClassObject bag;
    std::vector<int> mine{3, -1, 3};
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setIntArrayToIWbemClassObject(&bag, "n", mine)));
    mine.clear();

    std::vector<int> out{7, 7, 7, 7};
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getIntArrayFromIWbemClassObject(&bag, "n", &out)));
    EXPECT_THAT(out, ElementsAre(3, -1, 3));
    EXPECT_THAT(*As<SharedNumbers>(bag.pop("n")), ElementsAre(3, -1, 3));
}

TEST(CIWbemUtilTest, StoresACopyOfAStringArray)
{
    IWbemClassObject bag;
    Strings mine{"b", "", "a"};
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setStringArrayToIWbemClassObject(&bag, "n", &mine)));
    EXPECT_THAT(mine, ElementsAre("b", "", "a"));
    mine.clear();

    Strings out{"former"};
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getStringArrayFromIWbemClassObject(&bag, "n", &out)));
    EXPECT_THAT(out, ElementsAre("b", "", "a"));
    EXPECT_THAT(*As<boost::shared_ptr<Strings>>(bag.pop("n")), ElementsAre("b", "", "a"));
}

TEST(CIWbemUtilTest, JoinsPairsByAQuestionMarkWithoutEscaping)
{
    IWbemClassObject bag;
    Pairs pairs{{"a", "1"}, {"b", "2"}, {"", ""}, {"x?y", "z?"}, {"a", "1"}};
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setStringArrayToIWbemClassObject(&bag, "n", &pairs)));

    Strings out{"former"};
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getStringArrayFromIWbemClassObject(&bag, "n", &out)));
    EXPECT_THAT(out, ElementsAre("a?1", "b?2", "?", "x?y?z?", "a?1"));
}

TEST(CIWbemUtilTest, ReadsEmptyArraysAsEmpty)
{
    Bag bag;
    const Strings noStrings;
    const Pairs noPairs;
    const Objects noObjects;
    (void)CIWbemUtil::setIntArrayToIWbemClassObject(&bag, "ints", {});
    (void)CIWbemUtil::setStringArrayToIWbemClassObject(&bag, "strings", &noStrings);
    (void)CIWbemUtil::setStringArrayToIWbemClassObject(&bag, "pairs", &noPairs);
    (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(&bag, "objects", &noObjects);

    std::vector<int> ints{7};
    Strings strings{"former"};
    Strings pairs{"former"};
    Objects objects(1);
    EXPECT_EQ(0, CIWbemUtil::getIntArrayFromIWbemClassObject(&bag, "ints", &ints));
    EXPECT_EQ(0, CIWbemUtil::getStringArrayFromIWbemClassObject(&bag, "strings", &strings));
    EXPECT_EQ(0, CIWbemUtil::getStringArrayFromIWbemClassObject(&bag, "pairs", &pairs));
    EXPECT_EQ(0, CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&bag, "objects", &objects));
    EXPECT_THAT(ints, IsEmpty());
    EXPECT_THAT(strings, IsEmpty());
    EXPECT_THAT(pairs, IsEmpty());
    EXPECT_THAT(objects, IsEmpty());
}

template <typename Element>
void ExpectArrayRead(int (*get)(IWbemClassObject*, const char*, std::vector<Element>*),
                     const std::vector<Element>& stored)
{
    IWbemClassObject bag;
    bag.push("n", stored);
    std::vector<Element> out(5);
    EXPECT_EQ(kSuccess, Code(get(&bag, "n", &out)));
    EXPECT_EQ(stored, out);
}

TEST(CIWbemUtilTest, ReadsArraysThatWereStoredByValue)
{
    ExpectArrayRead<unsigned int>(CIWbemUtil::getUIntArrayFromIWbemClassObject, {UINT_MAX, 0});
    ExpectArrayRead<long>(CIWbemUtil::getLongArrayFromIWbemClassObject, {LONG_MIN, 0, LONG_MAX});
    ExpectArrayRead<unsigned long>(CIWbemUtil::getULongArrayFromIWbemClassObject, {ULONG_MAX});
    ExpectArrayRead<bool>(CIWbemUtil::getBoolArrayFromIWbemClassObject, {true, false, true});
}

TEST(CIWbemUtilTest, DeliversCopiesOfArrays)
{
    IWbemClassObject bag;
    (void)CIWbemUtil::setIntArrayToIWbemClassObject(&bag, "n", {1});

    std::vector<int> out;
    (void)CIWbemUtil::getIntArrayFromIWbemClassObject(&bag, "n", &out);
    out.push_back(2);

    (void)CIWbemUtil::getIntArrayFromIWbemClassObject(&bag, "n", &out);
    EXPECT_THAT(out, ElementsAre(1));
}

TEST(CIWbemUtilTest, StoresADeepCopyOfAParameterClass)
{
    Bag bag;
    IWbemClassObject mine;
    (void)CIWbemUtil::setIntToIWbemClassObject(&mine, "n", 1);
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setParameterClassToIWbemClassObject(&bag, "p", &mine)));
    (void)CIWbemUtil::setIntToIWbemClassObject(&mine, "later", 2);

    IWbemClassObject* out = &bag;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getParameterClassFromIWbemClassObject(&bag, "p", &out)));
    ASSERT_NE(nullptr, out);
    EXPECT_NE(&mine, out);
    EXPECT_THAT(Names(*out), ElementsAre("n"));
}

TEST(CIWbemUtilTest, DeliversTheStoredParameterClassUntilRelease)
{
    Deaths deaths;
    IWbemClassObject bag;
    {
        IWbemClassObject mine;
        mine.push("mark", deaths.Mark("parameter"));
        (void)CIWbemUtil::setParameterClassToIWbemClassObject(&bag, "p", &mine);
    }

    IWbemClassObject* out = nullptr;
    (void)CIWbemUtil::getParameterClassFromIWbemClassObject(&bag, "p", &out);
    EXPECT_EQ(Nested(bag, "p"), out);
    EXPECT_THAT(deaths.labels(), IsEmpty());
    (void)bag.Release();
    EXPECT_THAT(deaths.labels(), ElementsAre("parameter"));
}

// The copies that a class array holds; whoever reads them last frees them.
Objects TakeClassArray(IWbemClassObject& bag, const char* name)
{
    Objects out;
    EXPECT_EQ(0, CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&bag, name, &out));
    return out;
}

void FreeObjects(const Objects& objects)
{
    for (IWbemClassObject* const object : objects) {
        if (object != nullptr)
            (void)object->Release();
        delete object;
    }
}

TEST(CIWbemUtilTest, StoresDeepCopiesOfAClassArrayInOrder)
{
    IWbemClassObject first;
    first.push("first", 1);
    IWbemClassObject second;
    second.push("second", 2);
    Objects mine{&second, nullptr, &first, &second};
    IWbemClassObject bag;
    EXPECT_EQ(kSuccess,
              Code(CIWbemUtil::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine)));
    EXPECT_THAT(mine, ElementsAre(&second, nullptr, &first, &second));
    mine.clear();
    first.push("later", 3);

    const Objects out = TakeClassArray(bag, "a");
    ASSERT_EQ(4U, out.size());
    EXPECT_THAT(Names(*out[0]), ElementsAre("second"));
    EXPECT_EQ(nullptr, out[1]);
    EXPECT_THAT(Names(*out[2]), ElementsAre("first"));
    EXPECT_THAT(Names(*out[3]), ElementsAre("second"));
    EXPECT_NE(out[0], out[3]);
    FreeObjects(out);
}

TEST(CIWbemUtilTest, StoresACopyOfTheNestedObjectsOfAClassArray)
{
    IWbemClassObject leaf;
    leaf.push("n", 1);
    Bag element;
    element.push("leaf", &leaf);
    const Objects mine{&element};
    IWbemClassObject bag;
    (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine);

    const Objects out = TakeClassArray(bag, "a");
    ASSERT_EQ(1U, out.size());
    EXPECT_NE(Nested(element, "leaf"), Nested(*out[0], "leaf"));
    EXPECT_THAT(Names(*Nested(*out[0], "leaf")), ElementsAre("n"));
    FreeObjects(out);
}

TEST(CIWbemUtilTest, KeepsTheObjectsOfAClassArrayAfterTheBagsEnd)
{
    Deaths deaths;
    Objects out;
    {
        IWbemClassObject element;
        element.push("mark", deaths.Mark("element"));
        const Objects mine{&element};
        Bag bag;
        (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine);
        out = TakeClassArray(bag, "a");
    }

    EXPECT_THAT(deaths.labels(), IsEmpty());
    FreeObjects(out);
    EXPECT_THAT(deaths.labels(), ElementsAre("element"));
}

TEST(CIWbemUtilTest, KeepsNoCopyOfAClassArrayWithoutMemoryForTheProperty)
{
    Deaths deaths;
    const SharedNumbers mark = deaths.Mark("leaf");
    IWbemClassObject leaf;
    leaf.push("mark", mark);
    Bag element;
    element.push("leaf", &leaf);
    const Objects mine{&element, nullptr, &element};
    const std::string name(5000, 'n');
    const long before = mark.use_count();
    Bag bag;
    {
        const AllocationLimit limit(1000);
        EXPECT_THROW(
            (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(&bag, name.c_str(), &mine),
            std::bad_alloc);
    }

    EXPECT_EQ(before, mark.use_count());
    EXPECT_THAT(Names(bag), IsEmpty());
}

TEST(CIWbemUtilTest, SharesTheObjectsOfAClassArrayWithCopiesOfTheBag)
{
    IWbemClassObject element;
    const Objects mine{&element};
    IWbemClassObject bag;
    (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine);
    IWbemClassObject copy(bag);

    const Objects out = TakeClassArray(bag, "a");
    EXPECT_EQ(out, TakeClassArray(copy, "a"));
    FreeObjects(out);
}

TEST(CIWbemUtilTest, ReadsASingleClassObjectAsAnArrayOfOne)
{
    Bag bag;
    IWbemClassObject mine;
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(&bag, "p", &mine);

    EXPECT_THAT(TakeClassArray(bag, "p"), ElementsAre(Nested(bag, "p")));
}

TEST(CIWbemUtilTest, WritesTheReturnValueAsAnUnsignedLongOfThatName)
{
    IWbemClassObject bag;

    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setReturnValueToIWbemClassObject(&bag, 5)));

    EXPECT_THAT(Names(bag), ElementsAre("ReturnValue"));
    EXPECT_EQ(5UL, As<unsigned long>(bag.pop("ReturnValue")));
}

TEST(CIWbemUtilTest, ReadsTheReturnValueUnchangedAsEitherType)
{
    static const struct {
        unsigned long value;
        long asLong;
    } cases[] = {{5, 5}, {0, 0}, {0x80041002UL, 0x80041002L}, {ULONG_MAX, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        IWbemClassObject bag;
        (void)CIWbemUtil::setReturnValueToIWbemClassObject(&bag, c.value);
        long asLong = 77;
        unsigned long asULong = 77;
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getReturnValueFromIWbemClassObject(&bag, &asLong)));
        EXPECT_EQ(kSuccess, Code(CIWbemUtil::getReturnValueFromIWbemClassObject(&bag, &asULong)));
        EXPECT_EQ(c.asLong, asLong);
        EXPECT_EQ(c.value, asULong);
    }
}

TEST(CIWbemUtilTest, TakesNoReturnValueOfAnotherTypeAndNoMissingOne)
{
    IWbemClassObject empty;
    IWbemClassObject withInt;
    IWbemClassObject withLong;
    withInt.push("ReturnValue", 5);
    withLong.push("ReturnValue", 5L);
    for (IWbemClassObject* const bag : {&empty, &withInt, &withLong}) {
        long asLong = 77;
        unsigned long asULong = 77;
        EXPECT_EQ(kNotFound, Code(CIWbemUtil::getReturnValueFromIWbemClassObject(bag, &asLong)));
        EXPECT_EQ(kNotFound, Code(CIWbemUtil::getReturnValueFromIWbemClassObject(bag, &asULong)));
        EXPECT_EQ(0, asLong);
        EXPECT_EQ(0U, asULong);
    }
}

TEST(CIWbemUtilTest, ReadsAMissingIntAsZeroWithSuccess)
{
    IWbemClassObject bag;
    bag.push("other", 5);

    int out = 77;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getIntFromIWbemClassObject(&bag, "absent", &out)));
    EXPECT_EQ(0, out);
}

// The look-up yields the int 0, which is the type that this getter accepts.
TEST(CIWbemUtilTest, ReadsAMissingUnsignedIntAsTheIntZero)
{
    IWbemClassObject bag;
    bag.push("other", 5);

    unsigned int out = 77;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getUIntFromIWbemClassObject(&bag, "absent", &out)));
    EXPECT_EQ(0U, out);
}

TEST(CIWbemUtilTest, FindsNoMissingScalarOfAnotherType)
{
    IWbemClassObject bag;
    bag.push("other", 5L);
    long big = 77;
    unsigned long positive = 77;
    bool flag = true;
    std::string text = "former";
    IWbemClassObject* object = &bag;

    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getLongFromIWbemClassObject(&bag, "absent", &big)));
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getULongFromIWbemClassObject(&bag, "absent", &positive)));
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getBoolFromIWbemClassObject(&bag, "absent", &flag)));
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getStringFromIWbemClassObject(&bag, "absent", &text)));
    EXPECT_EQ(kNotFound,
              Code(CIWbemUtil::getParameterClassFromIWbemClassObject(&bag, "absent", &object)));
    EXPECT_EQ(0, big);
    EXPECT_EQ(0U, positive);
    EXPECT_FALSE(flag);
    EXPECT_EQ("", text);
    EXPECT_EQ(nullptr, object);
}

template <typename Element>
void ExpectNoArray(int (*get)(IWbemClassObject*, const char*, std::vector<Element>*))
{
    IWbemClassObject bag;
    const std::vector<Element> former(3);
    std::vector<Element> out = former;
    EXPECT_EQ(kNotFound, Code(get(&bag, "absent", &out)));
    EXPECT_EQ(former, out);
}

TEST(CIWbemUtilTest, LeavesTheOutputAloneForAMissingArray)
{
    ExpectNoArray(CIWbemUtil::getIntArrayFromIWbemClassObject);
    ExpectNoArray(CIWbemUtil::getUIntArrayFromIWbemClassObject);
    ExpectNoArray(CIWbemUtil::getLongArrayFromIWbemClassObject);
    ExpectNoArray(CIWbemUtil::getULongArrayFromIWbemClassObject);
    ExpectNoArray(CIWbemUtil::getBoolArrayFromIWbemClassObject);
    ExpectNoArray(CIWbemUtil::getStringArrayFromIWbemClassObject);
}

TEST(CIWbemUtilTest, EmptiesTheOutputForAMissingClassArray)
{
    IWbemClassObject bag;
    Objects out(3);

    EXPECT_EQ(kNotFound,
              Code(CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&bag, "absent", &out)));
    EXPECT_THAT(out, IsEmpty());
}

TEST(CIWbemUtilTest, AppendsAndReadsTheFirstOfOneName)
{
    IWbemClassObject bag;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setIntToIWbemClassObject(&bag, "n", 1)));
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setIntToIWbemClassObject(&bag, "n", 2)));
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::setStringToIWbemClassObject(&bag, "n", "three")));

    int number = 77;
    std::string text = "former";
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getIntFromIWbemClassObject(&bag, "n", &number)));
    EXPECT_EQ(1, number);
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getStringFromIWbemClassObject(&bag, "n", &text)));
    EXPECT_EQ("", text);
    EXPECT_THAT(Names(bag), ElementsAre("n", "n", "n"));
}

// "n" after a nested object, which has one of its own under "both".
class CIWbemUtilSearchTest : public testing::Test
{
protected:
    CIWbemUtilSearchTest()
    {
        IWbemClassObject leaf;
        leaf.push("leaf only", 1L);
        Bag nested;
        nested.push("leaf", &leaf);
        nested.push("both long", 11L);
        nested.push("both text", std::string("inner"));
        nested.push("inner text", std::string("found"));
        nested.push("hidden text", std::string("found"));
        PushNested(bag_, "nested", nested);
        bag_.push("long", 1L);
        bag_.push("both long", 2L);
        bag_.push("int", 3);
        bag_.push("both text", std::string("outer"));
        bag_.push("text", std::string("own"));
        bag_.push("hidden text", 4);
        bag_.push("after", &leaf);
        bag_.push("leaf", 5);
        inner_ = Nested(bag_, "nested");
    }

    Bag bag_;
    IWbemClassObject* inner_;
};

TEST_F(CIWbemUtilSearchTest, LooksNumbersUpInTheFirstNestedObjectMet)
{
    long out = 77;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getLongFromIWbemClassObject(&bag_, "both long", &out)));
    EXPECT_EQ(11, out);
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getLongFromIWbemClassObject(&bag_, "long", &out)));
    EXPECT_EQ(0, out);
    EXPECT_EQ(kNotFound, Code(CIWbemUtil::getLongFromIWbemClassObject(&bag_, "leaf only", &out)));

    int number = 77;
    EXPECT_EQ(kSuccess, Code(CIWbemUtil::getIntFromIWbemClassObject(&bag_, "int", &number)));
    EXPECT_EQ(0, number);
}

TEST_F(CIWbemUtilSearchTest, LooksStringsUpAmongItsOwnPropertiesFirst)
{
    static const struct {
        const char* name;
        const char* text;
        unsigned status;
    } cases[] = {
        {"both text", "outer", kSuccess},
        {"text", "own", kSuccess},
        {"inner text", "found", kSuccess},
        {"hidden text", "found", kSuccess},  // its own one is an int
        {"int", "", kNotFound},
        {"absent", "", kNotFound},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string out = "former";
        EXPECT_EQ(c.status, Code(CIWbemUtil::getStringFromIWbemClassObject(&bag_, c.name, &out)));
        EXPECT_EQ(c.text, out);
    }
}

TEST_F(CIWbemUtilSearchTest, LooksClassObjectsUpAmongItsOwnPropertiesFirst)
{
    const struct {
        const char* name;
        IWbemClassObject* expected;
    } cases[] = {
        {"nested", inner_},
        {"after", Nested(bag_, "after")},   // after another nested object
        {"leaf", Nested(*inner_, "leaf")},  // its own one is an int
        {"text", nullptr},
        {"absent", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        IWbemClassObject* out = &bag_;
        EXPECT_EQ(c.expected != nullptr ? kSuccess : kNotFound,
                  Code(CIWbemUtil::getParameterClassFromIWbemClassObject(&bag_, c.name, &out)));
        EXPECT_EQ(c.expected, out);
    }
}

TEST_F(CIWbemUtilSearchTest, LooksClassArraysUpInTheFirstNestedObjectMet)
{
    Objects out(2);
    EXPECT_EQ(kNotFound,
              Code(CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&bag_, "after", &out)));
    EXPECT_THAT(out, IsEmpty());

    EXPECT_EQ(kSuccess,
              Code(CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&bag_, "leaf", &out)));
    EXPECT_THAT(out, ElementsAre(Nested(*inner_, "leaf")));
}

// Every function with each pointer argument null in turn.
class CIWbemUtilNullTest : public testing::Test
{
protected:
    CIWbemUtilNullTest() { bag_.push("n", 5); }

    template <typename Value>
    void ExpectSetterRejects(int (*set)(IWbemClassObject*, const char*, Value), Value value)
    {
        EXPECT_EQ(kNullArgument, Code(set(nullptr, "n", value)));
        EXPECT_EQ(kNullArgument, Code(set(&bag_, nullptr, value)));
        EXPECT_EQ(kNullArgument, Code(set(nullptr, nullptr, value)));
        ExpectBagUnchanged();
    }

    template <typename Value>
    void ExpectPointerSetterRejects(int (*set)(IWbemClassObject*, const char*, Value*),
                                    Value* value)
    {
        ExpectSetterRejects(set, value);
        EXPECT_EQ(kNullArgument, Code(set(&bag_, "n", nullptr)));
        ExpectBagUnchanged();
    }

    template <typename Out>
    void ExpectGetterRejects(int (*get)(IWbemClassObject*, const char*, Out*), const Out& former)
    {
        Out out = former;
        EXPECT_EQ(kNullArgument, Code(get(nullptr, "n", &out)));
        EXPECT_EQ(kNullArgument, Code(get(&bag_, nullptr, &out)));
        EXPECT_EQ(kNullArgument, Code(get(nullptr, nullptr, &out)));
        EXPECT_EQ(former, out);
        EXPECT_EQ(kNullArgument, Code(get(&bag_, "n", nullptr)));
        ExpectBagUnchanged();
    }

    void ExpectBagUnchanged()
    {
        EXPECT_THAT(Names(bag_), ElementsAre("n"));
        EXPECT_EQ(5, As<int>(bag_.pop("n")));
    }

    IWbemClassObject bag_;
};

TEST_F(CIWbemUtilNullTest, StoresNothing)
{
    using Util = CIWbemUtil;
    ExpectSetterRejects(Util::setIntToIWbemClassObject, 1);
    ExpectSetterRejects(Util::setUIntToIWbemClassObject, 1U);
    ExpectSetterRejects(Util::setLongToIWbemClassObject, 1L);
    ExpectSetterRejects(Util::setULongToIWbemClassObject, 1UL);
    ExpectSetterRejects(Util::setBoolToIWbemClassObject, true);
    ExpectSetterRejects(Util::setStringToIWbemClassObject, std::string("text"));
    ExpectSetterRejects(Util::setIntArrayToIWbemClassObject, std::vector<int>{1});
    EXPECT_EQ(kNullArgument, Code(Util::setReturnValueToIWbemClassObject(nullptr, 1)));
}

TEST_F(CIWbemUtilNullTest, StoresNothingOfAnAbsentContainerOrObject)
{
    using Util = CIWbemUtil;
    const Strings strings{"text"};
    const Pairs pairs{{"a", "1"}};
    IWbemClassObject object;
    const Objects objects{&object};
    ExpectPointerSetterRejects(Util::setStringArrayToIWbemClassObject, &strings);
    ExpectPointerSetterRejects(Util::setStringArrayToIWbemClassObject, &pairs);
    ExpectPointerSetterRejects(Util::setParameterClassToIWbemClassObject, &object);
    ExpectPointerSetterRejects(Util::setParameterClassArrayToIWbemClassObject, &objects);
}

TEST_F(CIWbemUtilNullTest, ReadsNoScalar)
{
    using Util = CIWbemUtil;
    ExpectGetterRejects(Util::getIntFromIWbemClassObject, 77);
    ExpectGetterRejects(Util::getUIntFromIWbemClassObject, 77U);
    ExpectGetterRejects(Util::getLongFromIWbemClassObject, 77L);
    ExpectGetterRejects(Util::getULongFromIWbemClassObject, 77UL);
    ExpectGetterRejects(Util::getBoolFromIWbemClassObject, true);
    ExpectGetterRejects(Util::getStringFromIWbemClassObject, std::string("former"));
    ExpectGetterRejects<IWbemClassObject*>(Util::getParameterClassFromIWbemClassObject, &bag_);
}

TEST_F(CIWbemUtilNullTest, ReadsNoArray)
{
    using Util = CIWbemUtil;
    ExpectGetterRejects(Util::getIntArrayFromIWbemClassObject, std::vector<int>{7});
    ExpectGetterRejects(Util::getUIntArrayFromIWbemClassObject, std::vector<unsigned int>{7});
    ExpectGetterRejects(Util::getLongArrayFromIWbemClassObject, std::vector<long>{7});
    ExpectGetterRejects(Util::getULongArrayFromIWbemClassObject, std::vector<unsigned long>{7});
    ExpectGetterRejects(Util::getBoolArrayFromIWbemClassObject, std::vector<bool>{true});
    ExpectGetterRejects(Util::getStringArrayFromIWbemClassObject, Strings{"former"});
    ExpectGetterRejects(Util::getParameterClassArrayFromIWbemClassObject, Objects{&bag_});
}

TEST_F(CIWbemUtilNullTest, ReadsNoReturnValue)
{
    long asLong = 77;
    unsigned long asULong = 77;

    EXPECT_EQ(kNullArgument,
              Code(CIWbemUtil::getReturnValueFromIWbemClassObject(nullptr, &asLong)));
    EXPECT_EQ(kNullArgument,
              Code(CIWbemUtil::getReturnValueFromIWbemClassObject(nullptr, &asULong)));
    EXPECT_EQ(77, asLong);
    EXPECT_EQ(77U, asULong);
    EXPECT_EQ(kNullArgument, Code(CIWbemUtil::getReturnValueFromIWbemClassObject(
                                 &bag_, static_cast<long*>(nullptr))));
    EXPECT_EQ(kNullArgument, Code(CIWbemUtil::getReturnValueFromIWbemClassObject(
                                 &bag_, static_cast<unsigned long*>(nullptr))));
}

}  // namespace
}  // namespace qor::test
