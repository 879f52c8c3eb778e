// TextRecordModel.h - text records made and read step by step, as slowly and plainly as can be.
//
// TextRecord_test.cpp compares IWbemClassObject with it on random texts, a fuzz target on more.
// Nothing here is shared with the library, and each function is one literal step after the other.
#ifndef QOR_TEST_OBJECT_TEXTRECORDMODEL_H
#define QOR_TEST_OBJECT_TEXTRECORDMODEL_H

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "IWbemClassObject.h"

namespace qor::test::model {

inline void Replace(std::string& text, const std::string& from, const std::string& to)
{
    std::size_t place = text.find(from);
    while (place != std::string::npos) {
        text = text.substr(0, place) + to + text.substr(place + from.size());
        place = text.find(from, place + to.size());
    }
}

inline std::string Escape(std::string value)
{
    Replace(value, ";", "%!@");
    return value;
}

template <typename Number>
void SetNumber(std::string& text, const std::string& type, const std::string& name, Number value)
{
    std::stringstream digits;
    digits << value;
    text += type + ";" + name + ";" + digits.str() + ";";
}

inline void SetBool(std::string& text, const std::string& name, bool value)
{
    text += "bool;" + name + ";" + (value ? "true" : "false") + ";";
}

inline void SetString(std::string& text, const std::string& name, const std::string& value)
{
    text += "string;" + name + ";" + Escape(value) + ";";
}

inline void SetStringArray(std::string& text, const std::string& name,
                           const std::vector<std::string>& values)
{
    std::string joined;
    for (const std::string& value : values)
        joined = joined + Escape(value) + "!#";
    if (joined.size() >= 2 && joined.substr(joined.size() - 2) == "!#")
        joined = joined.substr(0, joined.size() - 2);
    text += "string[];" + name + ";" + joined + ";";
}

inline void GetString(const std::string& text, const std::string& name, std::string& out)
{
    const std::size_t occurrence = text.find(name);
    if (occurrence == std::string::npos)
        return;

    const std::size_t separator = text.find(";", occurrence);
    const std::size_t begin = separator == std::string::npos ? 0 : separator + 1;
    const std::size_t next = text.find(";", begin);
    const std::size_t end = next == std::string::npos ? text.size() : next;
    out = text.substr(begin, end - begin);
    Replace(out, "%!@", ";");
}

template <typename Number>
void GetNumber(const std::string& text, const std::string& name, Number& out)
{
    std::string value;
    GetString(text, name, value);

    std::stringstream digits(value);
    Number number = 0;
    if (digits >> number)
        out = number;
}

inline void GetBool(const std::string& text, const std::string& name, bool& out)
{
    std::string value;
    GetString(text, name, value);
    out = value == "true";
}

inline void GetStringArray(const std::string& text, const std::string& name,
                           std::vector<std::string>& out)
{
    std::string value;
    GetString(text, name, value);

    std::size_t position = 0;
    std::size_t end = value.find("!#", position);
    while (end != std::string::npos) {
        std::string element = value.substr(position, end - position);
        Replace(element, "%!@", ";");
        out.push_back(element);
        position = end + 2;
        end = value.find("!#", position);
    }
    const std::string rest = value.substr(position);
    out.push_back(rest.substr(0, rest.find(";")));
}

// The library's getters and those above, for one name.

inline std::string Question(const std::string& text, const std::string& name)
{
    return testing::PrintToString(name) + " in " + testing::PrintToString(text);
}

template <typename Number>
void ExpectSameNumber(void (*get)(std::string, std::string, Number&), const std::string& text,
                      const std::string& name)
{
    Number out = 7;
    Number expected = 7;
    get(text, name, out);
    GetNumber(text, name, expected);
    EXPECT_EQ(expected, out) << Question(text, name);
}

inline void ExpectSameAnswers(const std::string& text, const std::string& name)
{
    std::string out = "former";
    std::string expected = out;
    IWbemClassObject::GetString(text, name, out);
    GetString(text, name, expected);
    EXPECT_EQ(expected, out) << Question(text, name);

    ExpectSameNumber<int>(IWbemClassObject::GetInt, text, name);
    ExpectSameNumber<long>(IWbemClassObject::GetLong, text, name);
    ExpectSameNumber<unsigned long>(IWbemClassObject::GetULong, text, name);

    bool flag = true;
    bool expectedFlag = true;
    IWbemClassObject::GetBool(text, name, flag);
    GetBool(text, name, expectedFlag);
    EXPECT_EQ(expectedFlag, flag) << Question(text, name);

    std::vector<std::string> elements{"former"};
    std::vector<std::string> expectedElements = elements;
    IWbemClassObject::GetStringArray(text, name, elements);
    GetStringArray(text, name, expectedElements);
    EXPECT_EQ(expectedElements, elements) << Question(text, name);
}

}  // namespace qor::test::model

#endif  // QOR_TEST_OBJECT_TEXTRECORDMODEL_H
