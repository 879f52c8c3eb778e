#include "shared/ObjectText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "CIWbemUtil.h"
#include "QorException.h"

namespace one_request {
namespace {

class ObjectTextTest : public testing::Test
{
protected:
    // What is written, read and written again.
    std::string ThereAndBack() const
    {
        return WriteObjectText(*ReadObjectText(WriteObjectText(*object)));
    }

    void AddArray(const char* name, std::vector<IWbemClassObject*> elements) const
    {
        (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(object.get(), name, &elements);
    }

    ObjectTree object = NewObjectTree();
};

TEST_F(ObjectTextTest, WritesEveryPlainTypeAsOneRecord)
{
    object->push("A", -1);
    object->push("B", UINT_MAX);
    object->push("C", LONG_MIN);
    object->push("D", ULONG_MAX);
    object->push("E", true);
    object->push("F", std::string("x;y"));

    EXPECT_EQ(
        "int;.A;-1;int;.B;4294967295;long;.C;-9223372036854775808;"
        "ulong;.D;18446744073709551615;bool;.E;true;string;.F;x%!@y;",
        WriteObjectText(*object));
    EXPECT_EQ(WriteObjectText(*object), ThereAndBack());
}

TEST_F(ObjectTextTest, ReadsTheTypesThatWereWritten)
{
    const ObjectTree read = ReadObjectText(
        "int;.A;-1;int;.B;4294967295;long;.C;-2;ulong;.D;3;bool;.E;true;string;.F;x%!@y;");

    EXPECT_EQ(-1, boost::any_cast<int>(read->pop("A")));
    EXPECT_EQ(UINT_MAX, boost::any_cast<unsigned int>(read->pop("B")));
    EXPECT_EQ(-2, boost::any_cast<long>(read->pop("C")));
    EXPECT_EQ(3U, boost::any_cast<unsigned long>(read->pop("D")));
    EXPECT_TRUE(boost::any_cast<bool>(read->pop("E")));
    EXPECT_EQ("x;y", boost::any_cast<std::string>(read->pop("F")));
}

TEST_F(ObjectTextTest, KeepsStringsThatLookLikeOtherRecords)
{
    object->push("HostName", std::string("Name"));
    object->push("Name", std::string("int;.HostName;5;"));
    object->push("string", std::string());

    const ObjectTree read = ReadObjectText(WriteObjectText(*object));
    EXPECT_EQ("Name", boost::any_cast<std::string>(read->pop("HostName")));
    EXPECT_EQ("int;.HostName;5;", boost::any_cast<std::string>(read->pop("Name")));
    EXPECT_EQ("", boost::any_cast<std::string>(read->pop("string")));
}

TEST_F(ObjectTextTest, KeepsEveryElementOfAnArrayOfStrings)
{
    static const std::vector<std::string> cases[] = {
        {}, {""}, {"", ""}, {"a"}, {"a", "b;c"}, {"a!", "#b"}, {"a;", ""},
    };
    for (const auto& elements : cases) {
        SCOPED_TRACE(testing::PrintToString(elements));
        const ObjectTree written = NewObjectTree();
        (void)CIWbemUtil::setStringArrayToIWbemClassObject(written.get(), "A", &elements);

        const ObjectTree read = ReadObjectText(WriteObjectText(*written));
        std::vector<std::string> back = {"untouched"};
        EXPECT_EQ(0, CIWbemUtil::getStringArrayFromIWbemClassObject(read.get(), "A", &back));
        EXPECT_EQ(elements, back);
    }
}

TEST_F(ObjectTextTest, WritesAnArrayOfIntAsStrings)
{
    (void)CIWbemUtil::setIntArrayToIWbemClassObject(object.get(), "A", {7, -7});

    EXPECT_EQ("string[];.A;7!#-7!#;", WriteObjectText(*object));
}

TEST_F(ObjectTextTest, GivesNestedObjectsTheirPath)
{
    IWbemClassObject inner;
    inner.push("Size", 4);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(object.get(), "Memory", &inner);
    object->push("After", 5);

    EXPECT_EQ("class;.Memory;;int;.Memory.Size;4;int;.After;5;", WriteObjectText(*object));
    EXPECT_EQ(WriteObjectText(*object), ThereAndBack());
}

TEST_F(ObjectTextTest, NumbersTheElementsOfAClassArray)
{
    IWbemClassObject first;
    IWbemClassObject second;
    first.push("Name", std::string("eth0"));
    AddArray("Devices", {&first, &second});
    AddArray("None", {});

    EXPECT_EQ(
        "class[];.Devices;;class;.Devices.1;;string;.Devices.1.Name;eth0;"
        "class;.Devices.2;;class[];.None;;",
        WriteObjectText(*object));
    EXPECT_EQ(WriteObjectText(*object), ThereAndBack());
}

TEST_F(ObjectTextTest, WritesNullObjectsAsEmptyOnes)
{
    object->push("A", static_cast<IWbemClassObject*>(nullptr));
    object->push("B", ObjectArray());
    AddArray("C", {nullptr});

    EXPECT_EQ("class;.A;;class[];.B;;class[];.C;;class;.C.1;;", WriteObjectText(*object));
}

TEST_F(ObjectTextTest, RefusesToWriteWhatWouldNotComeBack)
{
    static const struct {
        const char* name;
        boost::any value;
    } cases[] = {
        {"", 1},
        {"1st", 1},
        {"a.b", 1},
        {"a;b", 1},
        {"Twice", 1},
        {"A", std::string("x%!@y")},
        {"A", boost::shared_ptr<std::vector<std::string>>(new std::vector<std::string>{"x!#y"})},
        {"A", 1.5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ObjectTree written = NewObjectTree();
        written->push("Twice", 0);
        written->push(c.name, c.value);
        EXPECT_THROW(WriteObjectText(*written), QorException);
    }
}

TEST_F(ObjectTextTest, RefusesToReadAnyOtherText)
{
    static const char* const cases[] = {
        ";",
        "garbage",
        "int;.A",
        "int;.A;1",
        "int;.A;01;",
        "int;.A; 1;",
        "int;.A;;",
        "int;.A;x;",
        "ulong;.A;-1;",
        "int;A;1;",
        "int;..A;1;",
        "int;.A.B;1;",
        "bool;.A;yes;",
        "float;.A;1;",
        "string[];.A;x;",
        "class;.A;x;",
        "class[];.A;;class;.A.2;;",
        "int;.A;1;int;.A;2;",
        "int;.A;4294967296;",
        ";.A;1;",
        "int;.A;1;x",
        "class[];.A;;class;.A.1;;class;.A.1;;",
    };
    for (const char* const text : cases) {
        SCOPED_TRACE(text);
        EXPECT_THROW(ReadObjectText(text), QorException);
    }
}

TEST_F(ObjectTextTest, ReadsNoTextAsAnEmptyObject)
{
    const ObjectTree read = ReadObjectText("");

    EXPECT_FALSE(read->hasNext(read->getIterator()));
}

TEST_F(ObjectTextTest, SplitsATextAtEveryThirdSemicolon)
{
    EXPECT_THAT(SplitRecords("a;b;c;d;e;f;"), testing::ElementsAre("a;b;c;", "d;e;f;"));
    EXPECT_THAT(SplitRecords("a;b;c;d;e"), testing::ElementsAre("a;b;c;", "d;e"));
    EXPECT_THAT(SplitRecords(""), testing::IsEmpty());
}

TEST_F(ObjectTextTest, TakesIdentifiersForNames)
{
    EXPECT_TRUE(IsName("_A9"));
    EXPECT_TRUE(IsName(std::string(64, 'a')));
    EXPECT_FALSE(IsName(std::string(65, 'a')));
    EXPECT_FALSE(IsName(""));
    EXPECT_FALSE(IsName("9"));
    EXPECT_FALSE(IsName("a b"));
}

}  // namespace
}  // namespace one_request
