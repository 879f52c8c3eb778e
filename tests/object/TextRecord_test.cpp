// The text records of a class object: "type;name;value;".
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "IWbemClassObject.h"
#include "object/Bags.h"
#include "object/TextRecordModel.h"
#include "support/RandomCases.h"
#include "support/Text.h"

namespace qor::test {
namespace {

using Record = IWbemClassObject;

const IWbemClassObject kObject;
const std::vector<IWbemClassObject*> kObjects(2);

TEST(TextRecordTest, WritesOneRecordForEachTypeOfValue)
{
    static const struct {
        std::string expected;
        std::function<void(std::string&)> append;
    } cases[] = {
        {"int;n;0;", [](std::string& t) { Record::SetInt(t, "n", 0); }},
        {"int;n;-42;", [](std::string& t) { Record::SetInt(t, "n", -42); }},
        {"int;n;2147483647;", [](std::string& t) { Record::SetInt(t, "n", INT_MAX); }},
        {"int;n;-2147483648;", [](std::string& t) { Record::SetInt(t, "n", INT_MIN); }},
        {"int;n;0;", [](std::string& t) { Record::SetUInt(t, "n", 0U); }},
        {"int;n;4000000000;", [](std::string& t) { Record::SetUInt(t, "n", 4000000000U); }},
        {"int;n;4294967295;", [](std::string& t) { Record::SetUInt(t, "n", UINT_MAX); }},
        {"long;n;0;", [](std::string& t) { Record::SetLong(t, "n", 0); }},
        {"long;n;9223372036854775807;", [](std::string& t) { Record::SetLong(t, "n", LONG_MAX); }},
        {"long;n;-9223372036854775808;", [](std::string& t) { Record::SetLong(t, "n", LONG_MIN); }},
        {"ulong;n;0;", [](std::string& t) { Record::SetULong(t, "n", 0); }},
        {"ulong;n;18446744073709551615;",
         [](std::string& t) { Record::SetULong(t, "n", ULONG_MAX); }},
        {"bool;n;true;", [](std::string& t) { Record::SetBool(t, "n", true); }},
        {"bool;n;false;", [](std::string& t) { Record::SetBool(t, "n", false); }},
        {"string;n;text;", [](std::string& t) { Record::SetString(t, "n", "text"); }},
        {"string;n;;", [](std::string& t) { Record::SetString(t, "n", ""); }},
        {"string[];n;x!#y;",
         [](std::string& t) {
             Record::SetStringArray(t, "n", {"x", "y"});
         }},
        {"string[];n;x;", [](std::string& t) { Record::SetStringArray(t, "n", {"x"}); }},
        {"string[];n;;", [](std::string& t) { Record::SetStringArray(t, "n", {}); }},
        {"class;n;;", [](std::string& t) { Record::SetClass(t, "n", kObject); }},
        {"class[];n;;", [](std::string& t) { Record::SetClassArray(t, "n", &kObjects); }},
        {"class[];n;;", [](std::string& t) { Record::SetClassArray(t, "n", nullptr); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        std::string text = "kept ";
        c.append(text);
        EXPECT_EQ("kept " + c.expected, text);
    }
}

TEST(TextRecordTest, JoinsPrefixAndNameWithoutASeparator)
{
    static const struct {
        const char* prefix;
        const char* name;
        std::string joined;
    } cases[] = {
        {"Disk.", "Size", "Disk.Size"},
        {"", "Size", "Size"},
        {"Disk", "", "Disk"},
        {"", "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.joined);
        std::string text;
        Record::SetInt(text, c.prefix, c.name, -1);
        Record::SetBool(text, c.prefix, c.name, true);
        Record::SetString(text, c.prefix, c.name, "a;b");
        Record::SetStringArray(text, c.prefix, c.name, {"x", "y;z"});
        Record::SetClass(text, c.prefix, c.name, kObject);
        Record::SetClassArray(text, c.prefix, c.name, &kObjects);

        std::string same;
        Record::SetInt(same, c.joined, -1);
        Record::SetBool(same, c.joined, true);
        Record::SetString(same, c.joined, "a;b");
        Record::SetStringArray(same, c.joined, {"x", "y;z"});
        Record::SetClass(same, c.joined, kObject);
        Record::SetClassArray(same, c.joined, &kObjects);
        EXPECT_EQ(same, text);
        EXPECT_EQ("int;" + c.joined + ";-1;bool;" + c.joined + ";true;string;" + c.joined +
                      ";a%!@b;string[];" + c.joined + ";x!#y%!@z;class;" + c.joined + ";;class[];" +
                      c.joined + ";;",
                  text);
    }
}

TEST(TextRecordTest, TakesTheObjectsOfAnArrayByReferenceToo)
{
    std::string text;
    Record::SetClassArray(text, "n", kObjects);
    Record::SetClassArray(text, "p.", "n", kObjects);
    EXPECT_EQ("class[];n;;class[];p.n;;", text);
}

TEST(TextRecordTest, DistinguishesAStringValueFromAPrefix)
{
    std::string text;
    Record::SetString(text, "n", "value");
    Record::SetString(text, "prefix", "n", "value");

    EXPECT_EQ("string;n;value;string;prefixn;value;", text);
}

TEST(TextRecordTest, DoesNotWriteTheObjectsProperties)
{
    IWbemClassObject object = With("Secret", 1);
    const std::vector<IWbemClassObject*> objects{&object, &object};

    std::string text;
    Record::SetClass(text, "k", object);
    Record::SetClassArray(text, "k", &objects);
    EXPECT_EQ("class;k;;class[];k;;", text);
}

TEST(TextRecordTest, EscapesSeparatorsInValuesAndNothingElse)
{
    static const struct {
        const char* value;
        const char* escaped;
        const char* read;
    } cases[] = {
        {"a;b", "a%!@b", "a;b"},
        {";", "%!@", ";"},
        {";;a;", "%!@%!@a%!@", ";;a;"},
        {"a%!@b", "a%!@b", "a;b"},  // a literal escape does not survive
        {"a!#b", "a!#b", "a!#b"},
        {"%!;@", "%!%!@@", "%!;@"},
        {"%%!@!@", "%%!@!@", "%;!@"},  // un-escaped once, from the left
        {"100% \n\t\\\"", "100% \n\t\\\"", "100% \n\t\\\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        std::string text;
        Record::SetString(text, "k", c.value);
        EXPECT_EQ(std::string("string;k;") + c.escaped + ";", text);

        std::string out;
        Record::GetString(text, "k", out);
        EXPECT_EQ(c.read, out);
    }
}

TEST(TextRecordTest, DoesNotEscapeNames)
{
    std::string text;
    Record::SetString(text, "a;b", "v");
    Record::SetInt(text, "c;d", 1);

    EXPECT_EQ("string;a;b;v;int;c;d;1;", text);
}

TEST(TextRecordTest, KeepsBytesOfEveryKind)
{
    std::string value;
    for (int byte = 0; byte < 256; ++byte)
        value += static_cast<char>(byte);

    std::string text;
    Record::SetString(text, "name", value);
    std::string out;
    Record::GetString(text, "name", out);
    EXPECT_EQ(value, out);
}

TEST(TextRecordTest, WritesStringArraysEscapedAndJoined)
{
    static const struct {
        Strings values;
        const char* joined;
    } cases[] = {
        {{}, ""},
        {{""}, ""},
        {{"", ""}, "!#"},
        {{"", "", ""}, "!#!#"},
        {{"x", "y;z"}, "x!#y%!@z"},
        {{"a;", ";b"}, "a%!@!#%!@b"},
        {{"a", ""}, "a!#"},
        {{"a!#"}, "a!#"},
        {{"a!#b", "c"}, "a!#b!#c"},
        {{"%!@"}, "%!@"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.joined);
        std::string text;
        Record::SetStringArray(text, "k", c.values);
        EXPECT_EQ(std::string("string[];k;") + c.joined + ";", text);
    }
}

TEST(TextRecordTest, CutsTheLastElementAtItsFirstSeparator)
{
    static const struct {
        Strings values;
        Strings read;
    } cases[] = {
        {{"x", "y;z"}, {"x", "y"}},
        {{"x;y", "z"}, {"x;y", "z"}},
        {{"a;b;c", "d;e", ";f"}, {"a;b;c", "d;e", ""}},
        {{";"}, {""}},
        {{"only"}, {"only"}},
        {{"a", "", "b"}, {"a", "", "b"}},
        {{"a", ""}, {"a", ""}},
        {{"", ""}, {"", ""}},
        {{"a!#b"}, {"a", "b"}},  // a literal mark parts the element
        {{"a!", "#b"}, {"a!", "#b"}},
        {{"a%!@b", "c"}, {"a;b", "c"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.values));
        std::string text;
        Record::SetStringArray(text, "k", c.values);
        Strings out;
        Record::GetStringArray(text, "k", out);
        EXPECT_EQ(c.read, out);
    }
}

TEST(TextRecordTest, ReadsAnEmptyOrMissingArrayAsOneEmptyString)
{
    std::string text;
    Record::SetStringArray(text, "k", {});
    for (const char* const name : {"k", "absent"}) {
        SCOPED_TRACE(name);
        Strings out;
        Record::GetStringArray(text, name, out);
        EXPECT_EQ(Strings({""}), out);
    }
}

TEST(TextRecordTest, AppendsElementsToWhatTheVectorHolds)
{
    Strings out{"kept"};
    Record::GetStringArray("string[];k;x!#y;", "k", out);
    Record::GetStringArray("", "k", out);

    EXPECT_EQ(Strings({"kept", "x", "y", ""}), out);
}

TEST(TextRecordTest, FindsAValueByThePlainTextOfItsName)
{
    static const struct {
        const char* text;
        const char* name;
        const char* value;
    } cases[] = {
        {"string;k;v;", "k", "v"},
        {"string;a;1;string;b;2;", "b", "2"},
        {"string;k;first;string;k;second;", "k", "first"},
        {"int;Max;1;", "ax", "1"},
        {"string;HostName;x;string;Name;y;", "Name", "x"},  // inside another name
        {"string;n;x;string;int;y;", "int", "y"},
        {"int;a;1;string;int;y;", "int", "a"},               // inside a type
        {"string;a;my key;string;key;v;", "key", "string"},  // inside a value
        {"string;Name;x;", "Name;", "x"},
        {"string;HostName;x;string;Name;y;", ";Name;", "Name"},
        {"string;k;v;", "string;k", "k"},  // the first ";" from its start on
        {"string;k;v;", "k;v", "v"},
        {"string;k;v;", ";", "k"},
        {"string;k;v", "k", "v"},  // the text ends without a ";"
        {"string;k;", "k", ""},
        {"string;k;;", "k", ""},
        {"string;k", "k", "string"},  // no ";" after the name
        {"string;a;v;tail", "tail", "string"},
        {"string;k;v", "v", "string"},
        {"k", "k", "k"},  // no ";" at all
        {"a%!@b", "b", "a;b"},
        {"string;k;v;", "", "k"},  // an empty name is at the start
        {"string", "", "string"},
        {"", "", ""},
        {";v;", "", "v"},
        {"string;k;a%!@b;", "k", "a;b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " at " + c.name);
        std::string out = "former";
        Record::GetString(c.text, c.name, out);
        EXPECT_EQ(c.value, out);
    }
}

// The header's recipe for safe names. A mark that records write themselves is found in a value.
TEST(TextRecordTest, FindsANameByAMarkThatNoRecordWrites)
{
    static const struct {
        const char* mark;
        const char* found;
    } cases[] = {{"=", "right"}, {"~", "right"}, {"@", "string"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mark);
        const std::string mark = c.mark;
        std::string text;
        Record::SetString(text, mark + "Note", "see;Name");
        Record::SetString(text, mark + "Name", "right");
        std::string out;
        Record::GetString(text, mark + "Name;", out);
        EXPECT_EQ(c.found, out);
        Record::GetString(text, mark + "Note;", out);
        EXPECT_EQ("see;Name", out);
    }
}

// An escape begins with the mark: the letter after it keeps names apart from escapes.
TEST(TextRecordTest, FindsANameWithALetterAfterTheMarkBesideEscapes)
{
    std::string text;
    Record::SetString(text, "=Note", "size=3D");
    Record::SetString(text, "=D", "right");
    Record::SetString(text, "=3D", "hidden");
    std::string out;
    Record::GetString(text, "=D;", out);
    EXPECT_EQ("right", out);
    Record::GetString(text, "=3D;", out);
    EXPECT_EQ("string", out);
}

// Values in which the mark and what records write are escaped by the caller.
TEST(TextRecordTest, KeepsEscapedValuesWhole)
{
    std::string text;
    Record::SetString(text, "=Note", "see=3B=3DName=3B 100=25=21@");
    Record::SetStringArray(text, "=List", {"a=21#b", "c=3Bd"});
    Record::SetString(text, "=Name", "right");
    std::string name;
    std::string note;
    Strings list;
    Record::GetString(text, "=Name;", name);
    Record::GetString(text, "=Note;", note);
    Record::GetStringArray(text, "=List;", list);

    EXPECT_EQ("right", name);
    EXPECT_EQ("see=3B=3DName=3B 100=25=21@", note);
    EXPECT_EQ((Strings{"a=21#b", "c=3Bd"}), list);
}

TEST(TextRecordTest, LeavesTheOutputAloneWhenTheNameDoesNotOccur)
{
    for (const char* const text : {"", "string;other;1;", "string;Key;1;", "k", ";;;"}) {
        SCOPED_TRACE(text);
        std::string string = "former";
        int number = 7;
        long big = -7;
        unsigned long positive = 77;
        Record::GetString(text, "key", string);
        Record::GetInt(text, "key", number);
        Record::GetLong(text, "key", big);
        Record::GetULong(text, "key", positive);

        EXPECT_EQ("former", string);
        EXPECT_EQ(7, number);
        EXPECT_EQ(-7, big);
        EXPECT_EQ(77U, positive);
    }
}

// What each number getter makes of a value, the former content being 7.
struct NumberCase {
    const char* value;
    int asInt;
    long asLong;
    unsigned long asULong;
};

void ExpectNumbers(const NumberCase& expected)
{
    SCOPED_TRACE(expected.value);
    const std::string text = std::string("int;k;") + expected.value + ";";
    NumberCase read = {"", 7, 7, 7};
    Record::GetInt(text, "k", read.asInt);
    Record::GetLong(text, "k", read.asLong);
    Record::GetULong(text, "k", read.asULong);
    EXPECT_EQ(expected.asInt, read.asInt);
    EXPECT_EQ(expected.asLong, read.asLong);
    EXPECT_EQ(expected.asULong, read.asULong);
}

TEST(TextRecordTest, ReadsNumbersAsStreamExtractionDoes)
{
    static const NumberCase cases[] = {
        {"0", 0, 0, 0},
        {"42", 42, 42, 42},
        {"+42", 42, 42, 42},
        {"-42", -42, -42, ULONG_MAX - 41},
        {"-0", 0, 0, 0},
        {"  \t\n\v\f\r 12", 12, 12, 12},
        {" -5", -5, -5, ULONG_MAX - 4},
        {"12abc", 12, 12, 12},
        {"12 34", 12, 12, 12},
        {"1.9", 1, 1, 1},
        {"1,234", 1, 1, 1},
        {"1e5", 1, 1, 1},
        {"0x1F", 0, 0, 0},
        {"0012", 12, 12, 12},
        {"00000000000000000000000000012", 12, 12, 12},
        {"2147483647", INT_MAX, INT_MAX, INT_MAX},
        {"-2147483648", INT_MIN, INT_MIN, ULONG_MAX - 2147483647UL},
        {"12%!@34", 12, 12, 12},
    };
    for (const NumberCase& c : cases)
        ExpectNumbers(c);
}

TEST(TextRecordTest, LeavesTheOutputAloneWithoutANumberOrOutOfRange)
{
    static const NumberCase cases[] = {
        {"", 7, 7, 7},
        {" ", 7, 7, 7},
        {"abc", 7, 7, 7},
        {"-", 7, 7, 7},
        {"+", 7, 7, 7},
        {"- 5", 7, 7, 7},
        {"--5", 7, 7, 7},
        {"+-5", 7, 7, 7},
        {"true", 7, 7, 7},
        {"%!@12", 7, 7, 7},
        {"2147483648", 7, 2147483648L, 2147483648UL},
        {"-2147483649", 7, -2147483649L, ULONG_MAX - 2147483648UL},
        {"9223372036854775807", 7, LONG_MAX, LONG_MAX},
        {"9223372036854775808", 7, 7, 9223372036854775808UL},
        {"-9223372036854775808", 7, LONG_MIN, 9223372036854775808UL},
        {"-9223372036854775809", 7, 7, 9223372036854775807UL},
        {"18446744073709551615", 7, 7, ULONG_MAX},
        {"-18446744073709551615", 7, 7, 1},
        {"18446744073709551616", 7, 7, 7},
        {"-18446744073709551616", 7, 7, 7},
        {"99999999999999999999999999999999", 7, 7, 7},
    };
    for (const NumberCase& c : cases)
        ExpectNumbers(c);
}

TEST(TextRecordTest, ReadsNumbersWhateverTheRecordsType)
{
    int number = 0;
    Record::GetInt("string;k;12;", "k", number);
    EXPECT_EQ(12, number);

    Record::GetInt("Max;3;", "Max", number);
    EXPECT_EQ(3, number);
}

TEST(TextRecordTest, ReadsTheWordTrueAloneAsTrue)
{
    static const struct {
        const char* text;
        bool value;
    } cases[] = {
        {"bool;k;true;", true},      {"string;k;true;", true},
        {"bool;k;true", true},       {"bool;k;false;", false},
        {"bool;k;True;", false},     {"bool;k;TRUE;", false},
        {"bool;k;true ;", false},    {"bool;k; true;", false},
        {"bool;k;1;", false},        {"bool;k;truetrue;", false},
        {"bool;k;;", false},         {"bool;k;true%!@;", false},
        {"bool;other;true;", false}, {"", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        for (const bool former : {false, true}) {
            bool out = former;
            Record::GetBool(c.text, "k", out);
            EXPECT_EQ(c.value, out);
        }
    }
}

TEST(TextRecordTest, NeitherReadsNorChangesTheBagOfTheObject)
{
    IWbemClassObject bag = With("k", 1);

    std::string text;
    bag.SetInt(text, "k", 2);
    int out = 0;
    bag.GetInt(text, "k", out);

    EXPECT_EQ(2, out);
    EXPECT_EQ(1, As<int>(bag.pop("k")));
    EXPECT_EQ(Strings({"k"}), Names(bag));
}

// Random texts, names and values, made of what means something to the records.
class RandomRecords : public Chance
{
public:
    RandomRecords() : Chance(20261115) {}

    std::string Text(std::size_t longest)
    {
        static const char* const pieces[] = {
            ";",   "%!@",  "!#", "%", "!",  "@",     "#",     "a",  "b",         "ab",
            "int", "true", "-",  "+", " ",  "\t",    "1",     "23", "0",         "x",
            ";a;", "bool", "\n", "9", "!@", "false", "99999", "[]", "2147483648"};
        std::string text;
        for (std::size_t count = Below(longest + 1); count > 0; --count) {
            const std::size_t piece = Below(std::size(pieces) + 2);
            if (piece < std::size(pieces))
                text += pieces[piece];
            else
                text.append(piece == std::size(pieces) ? 1 : 300, '\0');
        }
        return text;
    }

    Strings Texts()
    {
        Strings texts(Below(5));
        for (std::string& text : texts)
            text = Text(4);
        return texts;
    }

    // Large and small magnitudes alike.
    unsigned long Number() { return Bits() >> Below(64); }
};

// Appends one record to both texts, the library's and the model's.
void SetRandomRecord(RandomRecords& random, std::string& text, std::string& expected)
{
    const std::string name = random.Text(2);
    const unsigned long bits = random.Number();
    const std::string value = random.Text(6);
    const Strings values = random.Texts();
    switch (random.Below(8)) {
        case 0:
            Record::SetInt(text, name, static_cast<int>(bits));
            return model::SetNumber(expected, "int", name, static_cast<int>(bits));
        case 1:
            Record::SetUInt(text, name, static_cast<unsigned int>(bits));
            return model::SetNumber(expected, "int", name, static_cast<unsigned int>(bits));
        case 2:
            Record::SetLong(text, name, static_cast<long>(bits));
            return model::SetNumber(expected, "long", name, static_cast<long>(bits));
        case 3:
            Record::SetULong(text, name, bits);
            return model::SetNumber(expected, "ulong", name, bits);
        case 4:
            Record::SetBool(text, name, bits % 2 != 0);
            return model::SetBool(expected, name, bits % 2 != 0);
        case 5:
            Record::SetString(text, name, value);
            return model::SetString(expected, name, value);
        case 6:
            Record::SetStringArray(text, name, values);
            return model::SetStringArray(expected, name, values);
        default:  // what no setter writes
            text += value;
            expected += value;
    }
}

TEST(TextRecordTest, AgreesWithThePlainModelOnRandomTexts)
{
    RandomRecords random;
    for (unsigned round = 0; round < RandomCases(40) && !testing::Test::HasFailure(); ++round) {
        std::string text;
        std::string expected;
        for (std::size_t records = random.Below(6); records > 0; --records)
            SetRandomRecord(random, text, expected);
        ASSERT_EQ(expected, text);

        for (int question = 0; question < 8; ++question)
            model::ExpectSameAnswers(text, random.Text(2));
    }
}

}  // namespace
}  // namespace qor::test
