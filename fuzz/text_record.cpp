// Text records: IWbemClassObject's setters and getters against the plain model.
//   name to ask for, prefix; then a line per record: its letter, a colon, its name, a colon, its
//   value ("s:HostName:node7"); "=" and a text appends the text as it is
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "IWbemClassObject.h"
#include "object/TextRecordModel.h"
#include "support/FuzzTarget.h"

namespace qor::fuzz {
namespace {

namespace model = qor::test::model;
using Strings = std::vector<std::string>;

constexpr int kMostRecords = 30;
const std::string kSet = "=";

// Cut at each "|".
Strings Elements(const std::string& text)
{
    Strings elements;
    if (text.empty())
        return elements;
    std::size_t begin = 0;
    for (auto bar = text.find('|'); bar != std::string::npos; bar = text.find('|', begin)) {
        elements.push_back(text.substr(begin, bar - begin));
        begin = bar + 1;
    }
    elements.push_back(text.substr(begin));
    return elements;
}

// Both texts, made by the same calls.
class Texts
{
public:
    explicit Texts(std::string prefix) : prefix_(std::move(prefix)) {}

    const std::string& text() const { return text_; }

    void Append(const std::string& raw)
    {
        text_ += raw;
        expected_ += raw;
    }

    void Set(char type, const std::string& name, const std::string& value)
    {
        const long number = std::strtol(value.c_str(), nullptr, 10);
        const std::string full = prefix_ + name;
        switch (type) {
            case 'i':
                object_.SetInt(text_, prefix_, name, static_cast<int>(number));
                model::SetNumber(expected_, "int", full, static_cast<int>(number));
                break;
            case 'u':
                object_.SetUInt(text_, name, static_cast<unsigned int>(number));
                model::SetNumber(expected_, "int", name, static_cast<unsigned int>(number));
                break;
            case 'l':
                object_.SetLong(text_, name, number);
                model::SetNumber(expected_, "long", name, number);
                break;
            case 'L':
                object_.SetULong(text_, name, static_cast<unsigned long>(number));
                model::SetNumber(expected_, "ulong", name, static_cast<unsigned long>(number));
                break;
            case 'b':
                object_.SetBool(text_, prefix_, name, number != 0);
                model::SetBool(expected_, full, number != 0);
                break;
            case 's':
                object_.SetString(text_, prefix_, name, value);
                model::SetString(expected_, full, value);
                break;
            case 'a':
                object_.SetStringArray(text_, prefix_, name, Elements(value));
                model::SetStringArray(expected_, full, Elements(value));
                break;
            case 'c':
                object_.SetClass(text_, prefix_, name, object_);
                expected_ += "class;" + full + ";;";
                break;
            default:
                object_.SetClassArray(text_, prefix_, name, nullptr);
                expected_ += "class[];" + full + ";;";
        }
        EXPECT_EQ(expected_, text_);
    }

private:
    IWbemClassObject object_;
    std::string prefix_;
    std::string text_;
    std::string expected_;
};

}  // namespace

void TestInput(Input input)
{
    const std::string asked = input.Line();
    Texts texts(input.Line());
    Strings names{asked};
    for (int i = 0; i < kMostRecords; ++i) {
        const std::string record = input.Line();
        if (record.substr(0, 1) == kSet) {
            texts.Append(record.substr(1));
        } else if (record.size() > 2 && record[1] == ':') {
            const auto colon = record.find(':', 2);
            const std::string value =
                colon == std::string::npos ? std::string() : record.substr(colon + 1);
            names.push_back(record.substr(2, colon == std::string::npos ? colon : colon - 2));
            texts.Set(record[0], names.back(), value);
        }
    }
    for (const std::string& name : names)
        model::ExpectSameAnswers(texts.text(), name);
}

}  // namespace qor::fuzz
