#include "CIWbemUtil.h"

#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "object/Bags.h"
#include "support/Allocations.h"
#include "support/Text.h"

namespace qor::test {
namespace {

using Objects = std::vector<IWbemClassObject*>;
using Pairs = std::list<std::pair<std::string, std::string>>;

constexpr unsigned kSuccess = 0;
constexpr unsigned kNullArgument = 0x80041008U;
constexpr unsigned kNotFound = 0x80041002U;

unsigned Code(int status)
{
    return static_cast<unsigned>(status);
}

using Util = CIWbemUtil;

// The status of a getter, and what it left of `former`.
template <typename Out>
std::pair<unsigned, Out> Read(int (*get)(IWbemClassObject*, const char*, Out*),
                              IWbemClassObject& bag, const char* name, Out former)
{
    const unsigned status = Code(get(&bag, name, &former));
    return {status, former};
}

template <typename Out>
std::pair<unsigned, Out> Success(Out out)
{
    return {kSuccess, out};
}

template <typename Out>
std::pair<unsigned, Out> NotFound(Out out)
{
    return {kNotFound, out};
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
    const std::string former = "former";
    EXPECT_EQ(Strings({"int"}), Accepted(Util::getIntFromIWbemClassObject, 77, 0));
    EXPECT_EQ(Strings({"int"}), Accepted(Util::getUIntFromIWbemClassObject, 77U, 0U));
    EXPECT_EQ(Strings({"long"}), Accepted(Util::getLongFromIWbemClassObject, 77L, 0L));
    EXPECT_EQ(Strings({"unsigned long"}), Accepted(Util::getULongFromIWbemClassObject, 77UL, 0UL));
    EXPECT_EQ(Strings({"string"}),
              Accepted(Util::getStringFromIWbemClassObject, former, std::string()));
}

TEST_F(CIWbemUtilKindsTest, ReadsBoolsOfExactlyTheirOwnType)
{
    EXPECT_EQ(Strings({"bool"}), Accepted(Util::getBoolFromIWbemClassObject, false, false));
    for (const std::string& name : Names(bag_)) {
        SCOPED_TRACE(name);
        bool out = true;
        EXPECT_EQ(name == "bool" ? kSuccess : kNotFound,
                  Code(Util::getBoolFromIWbemClassObject(&bag_, name.c_str(), &out)));
        EXPECT_EQ(name == "bool", out);
    }
}

TEST_F(CIWbemUtilKindsTest, ReadsArraysOfExactlyTheirOwnForm)
{
    EXPECT_EQ(Strings({"int array"}),
              AcceptedArrays(Util::getIntArrayFromIWbemClassObject, {7, 7}));
    EXPECT_EQ(Strings({"unsigned int vector"}),
              AcceptedArrays(Util::getUIntArrayFromIWbemClassObject, {7, 7}));
    EXPECT_EQ(Strings({"long vector"}),
              AcceptedArrays(Util::getLongArrayFromIWbemClassObject, {7, 7}));
    EXPECT_EQ(Strings({"unsigned long vector"}),
              AcceptedArrays(Util::getULongArrayFromIWbemClassObject, {7, 7}));
    EXPECT_EQ(Strings({"bool vector"}),
              AcceptedArrays(Util::getBoolArrayFromIWbemClassObject, {false, false}));
    EXPECT_EQ(Strings({"string array"}),
              AcceptedArrays<std::string>(Util::getStringArrayFromIWbemClassObject, {"former"}));
}

TEST_F(CIWbemUtilKindsTest, ReadsClassObjectsOfExactlyTheirOwnType)
{
    EXPECT_EQ(Strings({"class"}), Accepted(Util::getParameterClassFromIWbemClassObject, &element_,
                                           static_cast<IWbemClassObject*>(nullptr)));
}

TEST_F(CIWbemUtilKindsTest, ReadsClassArraysInFourFormsAndEmptiesTheOutputOtherwise)
{
    EXPECT_EQ(Strings({"class vector", "class vector pointer", "class array", "class"}),
              Accepted(Util::getParameterClassArrayFromIWbemClassObject, Objects{nullptr, nullptr},
                       Objects()));
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
        EXPECT_EQ(kSuccess,
                  Code(Util::getParameterClassArrayFromIWbemClassObject(&bag_, c.name, &out)));
        EXPECT_EQ(c.expected, out);
    }
}

template <typename Value>
void ExpectRoundTrips(int (*set)(IWbemClassObject*, const char*, Value),
                      int (*get)(IWbemClassObject*, const char*, Value*), const Value& former,
                      std::initializer_list<std::common_type_t<Value>> values)
{
    for (const Value& value : values) {
        SCOPED_TRACE(testing::PrintToString(value));
        IWbemClassObject bag;
        EXPECT_EQ(kSuccess, Code(set(&bag, "n", value)));
        EXPECT_EQ(Success(value), Read(get, bag, "n", former));
        EXPECT_EQ(value, As<Value>(bag.pop("n")));
    }
}

TEST(CIWbemUtilTest, WritesAndReadsScalars)
{
    ExpectRoundTrips(Util::setIntToIWbemClassObject, Util::getIntFromIWbemClassObject, 77,
                     {0, 1, -1, INT_MAX, INT_MIN});
    ExpectRoundTrips(Util::setLongToIWbemClassObject, Util::getLongFromIWbemClassObject, 77L,
                     {0, -1, LONG_MAX, LONG_MIN});
    ExpectRoundTrips(Util::setULongToIWbemClassObject, Util::getULongFromIWbemClassObject, 77UL,
                     {0, 1, ULONG_MAX});
    for (const bool former : {false, true})
        ExpectRoundTrips(Util::setBoolToIWbemClassObject, Util::getBoolFromIWbemClassObject, former,
                         {false, true});
    ExpectRoundTrips(Util::setStringToIWbemClassObject, Util::getStringFromIWbemClassObject,
                     std::string("former"), {"", "a;b", std::string("a\0b", 3)});
}

TEST(CIWbemUtilTest, DoesNotReadBackAnUnsignedInt)
{
    IWbemClassObject bag;
    EXPECT_EQ(kSuccess, Code(Util::setUIntToIWbemClassObject(&bag, "n", 7U)));
    EXPECT_EQ(7U, As<unsigned int>(bag.pop("n")));

    EXPECT_EQ(NotFound(0U), Read(Util::getUIntFromIWbemClassObject, bag, "n", 77U));
}

TEST(CIWbemUtilTest, ReadsAnIntAsUnsigned)
{
    static const std::pair<int, unsigned int> cases[] = {
        {-1, 4294967295U}, {0, 0U}, {7, 7U}, {INT_MAX, 2147483647U}, {INT_MIN, 2147483648U}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        IWbemClassObject bag;
        (void)Util::setIntToIWbemClassObject(&bag, "n", c.first);
        EXPECT_EQ(Success(c.second), Read(Util::getUIntFromIWbemClassObject, bag, "n", 77U));
    }
}

TEST(CIWbemUtilTest, StoresACopyOfAnIntArray)
{
    IWbemClassObject bag;
    std::vector<int> mine{3, -1, 3};
    EXPECT_EQ(kSuccess, Code(Util::setIntArrayToIWbemClassObject(&bag, "n", mine)));
    mine.clear();

    EXPECT_EQ(Success(std::vector<int>{3, -1, 3}),
              Read(Util::getIntArrayFromIWbemClassObject, bag, "n", {7, 7, 7, 7}));
    EXPECT_EQ(std::vector<int>({3, -1, 3}), *As<SharedNumbers>(bag.pop("n")));
}

TEST(CIWbemUtilTest, StoresACopyOfAStringArray)
{
    IWbemClassObject bag;
    Strings mine{"b", "", "a"};
    EXPECT_EQ(kSuccess, Code(Util::setStringArrayToIWbemClassObject(&bag, "n", &mine)));
    EXPECT_EQ(Strings({"b", "", "a"}), mine);
    mine.clear();

    EXPECT_EQ(Success(Strings{"b", "", "a"}),
              Read(Util::getStringArrayFromIWbemClassObject, bag, "n", {"former"}));
    EXPECT_EQ(Strings({"b", "", "a"}), *As<boost::shared_ptr<Strings>>(bag.pop("n")));
}

TEST(CIWbemUtilTest, JoinsPairsByAQuestionMarkWithoutEscaping)
{
    IWbemClassObject bag;
    const Pairs pairs{{"a", "1"}, {"b", "2"}, {"", ""}, {"x?y", "z?"}, {"a", "1"}};
    EXPECT_EQ(kSuccess, Code(Util::setStringArrayToIWbemClassObject(&bag, "n", &pairs)));

    EXPECT_EQ(Success(Strings{"a?1", "b?2", "?", "x?y?z?", "a?1"}),
              Read(Util::getStringArrayFromIWbemClassObject, bag, "n", {"former"}));
}

TEST(CIWbemUtilTest, ReadsEmptyArraysAsEmpty)
{
    Bag bag;
    const Strings noStrings;
    const Pairs noPairs;
    const Objects noObjects;
    (void)Util::setIntArrayToIWbemClassObject(&bag, "ints", {});
    (void)Util::setStringArrayToIWbemClassObject(&bag, "strings", &noStrings);
    (void)Util::setStringArrayToIWbemClassObject(&bag, "pairs", &noPairs);
    (void)Util::setParameterClassArrayToIWbemClassObject(&bag, "objects", &noObjects);

    EXPECT_EQ(Success(std::vector<int>()),
              Read(Util::getIntArrayFromIWbemClassObject, bag, "ints", {7}));
    for (const char* const name : {"strings", "pairs"})
        EXPECT_EQ(Success(noStrings),
                  Read(Util::getStringArrayFromIWbemClassObject, bag, name, {"former"}));
    EXPECT_EQ(Success(noObjects),
              Read(Util::getParameterClassArrayFromIWbemClassObject, bag, "objects", Objects(1)));
}

template <typename Element>
void ExpectArrayRead(int (*get)(IWbemClassObject*, const char*, std::vector<Element>*),
                     const std::vector<Element>& stored)
{
    IWbemClassObject bag = With("n", stored);
    EXPECT_EQ(Success(stored), Read(get, bag, "n", std::vector<Element>(5)));
}

TEST(CIWbemUtilTest, ReadsArraysThatWereStoredByValue)
{
    ExpectArrayRead<unsigned int>(Util::getUIntArrayFromIWbemClassObject, {UINT_MAX, 0});
    ExpectArrayRead<long>(Util::getLongArrayFromIWbemClassObject, {LONG_MIN, 0, LONG_MAX});
    ExpectArrayRead<unsigned long>(Util::getULongArrayFromIWbemClassObject, {ULONG_MAX});
    ExpectArrayRead<bool>(Util::getBoolArrayFromIWbemClassObject, {true, false, true});
}

TEST(CIWbemUtilTest, DeliversCopiesOfArrays)
{
    IWbemClassObject bag;
    (void)Util::setIntArrayToIWbemClassObject(&bag, "n", {1});

    std::vector<int> out;
    (void)Util::getIntArrayFromIWbemClassObject(&bag, "n", &out);
    out.push_back(2);

    (void)Util::getIntArrayFromIWbemClassObject(&bag, "n", &out);
    EXPECT_EQ(std::vector<int>({1}), out);
}

TEST(CIWbemUtilTest, StoresADeepCopyOfAParameterClass)
{
    Bag bag;
    IWbemClassObject mine;
    (void)Util::setIntToIWbemClassObject(&mine, "n", 1);
    EXPECT_EQ(kSuccess, Code(Util::setParameterClassToIWbemClassObject(&bag, "p", &mine)));
    (void)Util::setIntToIWbemClassObject(&mine, "later", 2);

    IWbemClassObject* out = &bag;
    EXPECT_EQ(kSuccess, Code(Util::getParameterClassFromIWbemClassObject(&bag, "p", &out)));
    ASSERT_NE(nullptr, out);
    EXPECT_NE(&mine, out);
    EXPECT_EQ(Strings({"n"}), Names(*out));
}

TEST(CIWbemUtilTest, DeliversTheStoredParameterClassUntilRelease)
{
    Deaths deaths;
    IWbemClassObject bag;
    {
        IWbemClassObject mine = With("mark", deaths.Mark("parameter"));
        (void)Util::setParameterClassToIWbemClassObject(&bag, "p", &mine);
    }

    IWbemClassObject* out = nullptr;
    (void)Util::getParameterClassFromIWbemClassObject(&bag, "p", &out);
    EXPECT_EQ(Nested(bag, "p"), out);
    EXPECT_EQ(Strings(), deaths.labels());
    (void)bag.Release();
    EXPECT_EQ(Strings({"parameter"}), deaths.labels());
}

// The copies that a class array holds; whoever reads them last frees them.
Objects TakeClassArray(IWbemClassObject& bag, const char* name)
{
    Objects out;
    EXPECT_EQ(0, Util::getParameterClassArrayFromIWbemClassObject(&bag, name, &out));
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
    IWbemClassObject first = With("first", 1);
    IWbemClassObject second = With("second", 2);
    Objects mine{&second, nullptr, &first, &second};
    IWbemClassObject bag;
    EXPECT_EQ(kSuccess, Code(Util::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine)));
    EXPECT_EQ(Objects({&second, nullptr, &first, &second}), mine);
    mine.clear();
    first.push("later", 3);

    const Objects out = TakeClassArray(bag, "a");
    ASSERT_EQ(4U, out.size());
    EXPECT_EQ(Strings({"second"}), Names(*out[0]));
    EXPECT_EQ(nullptr, out[1]);
    EXPECT_EQ(Strings({"first"}), Names(*out[2]));
    EXPECT_EQ(Strings({"second"}), Names(*out[3]));
    EXPECT_NE(out[0], out[3]);
    FreeObjects(out);
}

TEST(CIWbemUtilTest, StoresACopyOfTheNestedObjectsOfAClassArray)
{
    IWbemClassObject leaf = With("n", 1);
    Bag element;
    element.push("leaf", &leaf);
    const Objects mine{&element};
    IWbemClassObject bag;
    (void)Util::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine);

    const Objects out = TakeClassArray(bag, "a");
    ASSERT_EQ(1U, out.size());
    EXPECT_NE(Nested(element, "leaf"), Nested(*out[0], "leaf"));
    EXPECT_EQ(Strings({"n"}), Names(*Nested(*out[0], "leaf")));
    FreeObjects(out);
}

TEST(CIWbemUtilTest, KeepsTheObjectsOfAClassArrayAfterTheBagsEnd)
{
    Deaths deaths;
    Objects out;
    {
        IWbemClassObject element = With("mark", deaths.Mark("element"));
        const Objects mine{&element};
        Bag bag;
        (void)Util::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine);
        out = TakeClassArray(bag, "a");
    }

    EXPECT_EQ(Strings(), deaths.labels());
    FreeObjects(out);
    EXPECT_EQ(Strings({"element"}), deaths.labels());
}

TEST(CIWbemUtilTest, KeepsNoCopyOfAClassArrayWithoutMemoryForTheProperty)
{
    Deaths deaths;
    const SharedNumbers mark = deaths.Mark("leaf");
    IWbemClassObject leaf = With("mark", mark);
    Bag element;
    element.push("leaf", &leaf);
    const Objects mine{&element, nullptr, &element};
    const std::string name(5000, 'n');
    const long before = mark.use_count();
    Bag bag;
    {
        const AllocationLimit limit(1000);
        EXPECT_THROW(
            (void)Util::setParameterClassArrayToIWbemClassObject(&bag, name.c_str(), &mine),
            std::bad_alloc);
    }

    EXPECT_EQ(before, mark.use_count());
    EXPECT_EQ(Strings(), Names(bag));
}

TEST(CIWbemUtilTest, SharesTheObjectsOfAClassArrayWithCopiesOfTheBag)
{
    IWbemClassObject element;
    const Objects mine{&element};
    IWbemClassObject bag;
    (void)Util::setParameterClassArrayToIWbemClassObject(&bag, "a", &mine);
    IWbemClassObject copy(bag);

    const Objects out = TakeClassArray(bag, "a");
    EXPECT_EQ(out, TakeClassArray(copy, "a"));
    FreeObjects(out);
}

TEST(CIWbemUtilTest, WritesTheReturnValueAsAnUnsignedLongOfThatName)
{
    IWbemClassObject bag;

    EXPECT_EQ(kSuccess, Code(Util::setReturnValueToIWbemClassObject(&bag, 5)));

    EXPECT_EQ(Strings({"ReturnValue"}), Names(bag));
    EXPECT_EQ(5UL, As<unsigned long>(bag.pop("ReturnValue")));
}

// The statuses and the values of both getters.
void ExpectReturnValue(IWbemClassObject& bag, unsigned status, long asLong, unsigned long asULong)
{
    long first = 77;
    unsigned long second = 77;
    EXPECT_EQ(status, Code(Util::getReturnValueFromIWbemClassObject(&bag, &first)));
    EXPECT_EQ(status, Code(Util::getReturnValueFromIWbemClassObject(&bag, &second)));
    EXPECT_EQ(asLong, first);
    EXPECT_EQ(asULong, second);
}

TEST(CIWbemUtilTest, ReadsTheReturnValueUnchangedAsEitherType)
{
    static const std::pair<unsigned long, long> cases[] = {
        {5, 5}, {0, 0}, {0x80041002UL, 0x80041002L}, {ULONG_MAX, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        IWbemClassObject bag;
        (void)Util::setReturnValueToIWbemClassObject(&bag, c.first);
        ExpectReturnValue(bag, kSuccess, c.second, c.first);
    }
}

TEST(CIWbemUtilTest, TakesNoReturnValueOfAnotherTypeAndNoMissingOne)
{
    IWbemClassObject empty;
    IWbemClassObject withInt;
    IWbemClassObject withLong;
    withInt.push("ReturnValue", 5);
    withLong.push("ReturnValue", 5L);
    for (IWbemClassObject* const bag : {&empty, &withInt, &withLong})
        ExpectReturnValue(*bag, kNotFound, 0, 0);
}

// The look-up yields the int 0, which is the type that these getters accept.
TEST(CIWbemUtilTest, ReadsAMissingIntAsZeroWithSuccess)
{
    IWbemClassObject bag = With("other", 5);

    EXPECT_EQ(Success(0), Read(Util::getIntFromIWbemClassObject, bag, "absent", 77));
    EXPECT_EQ(Success(0U), Read(Util::getUIntFromIWbemClassObject, bag, "absent", 77U));
}

TEST(CIWbemUtilTest, FindsNoMissingScalarOfAnotherType)
{
    IWbemClassObject bag = With("other", 5L);

    EXPECT_EQ(NotFound(0L), Read(Util::getLongFromIWbemClassObject, bag, "absent", 77L));
    EXPECT_EQ(NotFound(0UL), Read(Util::getULongFromIWbemClassObject, bag, "absent", 77UL));
    EXPECT_EQ(NotFound(false), Read(Util::getBoolFromIWbemClassObject, bag, "absent", true));
    EXPECT_EQ(NotFound(std::string()),
              Read(Util::getStringFromIWbemClassObject, bag, "absent", std::string("former")));
    EXPECT_EQ(NotFound<IWbemClassObject*>(nullptr),
              Read(Util::getParameterClassFromIWbemClassObject, bag, "absent", &bag));
}

template <typename Element>
void ExpectNoArray(int (*get)(IWbemClassObject*, const char*, std::vector<Element>*))
{
    IWbemClassObject bag;
    const std::vector<Element> former(3);
    EXPECT_EQ(NotFound(former), Read(get, bag, "absent", former));
}

TEST(CIWbemUtilTest, LeavesTheOutputAloneForAMissingArray)
{
    ExpectNoArray(Util::getIntArrayFromIWbemClassObject);
    ExpectNoArray(Util::getUIntArrayFromIWbemClassObject);
    ExpectNoArray(Util::getLongArrayFromIWbemClassObject);
    ExpectNoArray(Util::getULongArrayFromIWbemClassObject);
    ExpectNoArray(Util::getBoolArrayFromIWbemClassObject);
    ExpectNoArray(Util::getStringArrayFromIWbemClassObject);
}

TEST(CIWbemUtilTest, AppendsAndReadsTheFirstOfOneName)
{
    IWbemClassObject bag;
    EXPECT_EQ(kSuccess, Code(Util::setIntToIWbemClassObject(&bag, "n", 1)));
    EXPECT_EQ(kSuccess, Code(Util::setIntToIWbemClassObject(&bag, "n", 2)));
    EXPECT_EQ(kSuccess, Code(Util::setStringToIWbemClassObject(&bag, "n", "three")));

    EXPECT_EQ(Success(1), Read(Util::getIntFromIWbemClassObject, bag, "n", 77));
    EXPECT_EQ(NotFound(std::string()),
              Read(Util::getStringFromIWbemClassObject, bag, "n", std::string("former")));
    EXPECT_EQ(Strings({"n", "n", "n"}), Names(bag));
}

// "n" after a nested object, which has one of its own under "both".
class CIWbemUtilSearchTest : public testing::Test
{
protected:
    CIWbemUtilSearchTest()
    {
        IWbemClassObject leaf = With("leaf only", 1L);
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
    EXPECT_EQ(Success(11L), Read(Util::getLongFromIWbemClassObject, bag_, "both long", 77L));
    for (const char* const name : {"long", "leaf only"})
        EXPECT_EQ(NotFound(0L), Read(Util::getLongFromIWbemClassObject, bag_, name, 77L));
    EXPECT_EQ(Success(0), Read(Util::getIntFromIWbemClassObject, bag_, "int", 77));
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
        EXPECT_EQ(std::make_pair(c.status, std::string(c.text)),
                  Read(Util::getStringFromIWbemClassObject, bag_, c.name, std::string("former")));
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
        EXPECT_EQ(c.expected == nullptr ? NotFound(c.expected) : Success(c.expected),
                  Read<IWbemClassObject*>(Util::getParameterClassFromIWbemClassObject, bag_, c.name,
                                          &bag_));
    }
}

TEST_F(CIWbemUtilSearchTest, LooksClassArraysUpInTheFirstNestedObjectMet)
{
    EXPECT_EQ(NotFound(Objects()),
              Read(Util::getParameterClassArrayFromIWbemClassObject, bag_, "after", Objects(2)));
    EXPECT_EQ(Success(Objects{Nested(*inner_, "leaf")}),
              Read(Util::getParameterClassArrayFromIWbemClassObject, bag_, "leaf", Objects(2)));
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
        EXPECT_EQ(Strings({"n"}), Names(bag_));
        EXPECT_EQ(5, As<int>(bag_.pop("n")));
    }

    IWbemClassObject bag_;
};

TEST_F(CIWbemUtilNullTest, StoresNothing)
{
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

    EXPECT_EQ(kNullArgument, Code(Util::getReturnValueFromIWbemClassObject(nullptr, &asLong)));
    EXPECT_EQ(kNullArgument, Code(Util::getReturnValueFromIWbemClassObject(nullptr, &asULong)));
    EXPECT_EQ(77, asLong);
    EXPECT_EQ(77U, asULong);
    EXPECT_EQ(kNullArgument,
              Code(Util::getReturnValueFromIWbemClassObject(&bag_, static_cast<long*>(nullptr))));
    EXPECT_EQ(kNullArgument, Code(Util::getReturnValueFromIWbemClassObject(
                                 &bag_, static_cast<unsigned long*>(nullptr))));
}

}  // namespace
}  // namespace qor::test
