#include "shared/PlainRecord.h"

#include <limits>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "IWbemClassObject.h"
#include "QorException.h"

namespace one_request {
namespace {

using StringArray = boost::shared_ptr<std::vector<std::string>>;
using IntArray = boost::shared_ptr<std::vector<int>>;

void WriteString(std::string& text, const std::string& path, const std::string& value)
{
    std::string record;
    IWbemClassObject::SetString(record, path, value);

    std::string readBack;
    IWbemClassObject::GetString(record, path + ";", readBack);
    if (readBack != value)
        throw QorException("\"%s\" holds a text that no record carries", path.c_str());
    text += record;
}

void WriteStringArray(std::string& text, const std::string& path, std::vector<std::string> elements)
{
    elements.emplace_back();
    std::string record;
    IWbemClassObject::SetStringArray(record, path, elements);

    std::vector<std::string> readBack;
    IWbemClassObject::GetStringArray(record, path + ";", readBack);
    if (readBack != elements)
        throw QorException("\"%s\" holds an element that no record carries", path.c_str());
    text += record;
}

std::vector<std::string> Texts(const std::vector<int>& numbers)
{
    std::vector<std::string> texts;
    for (const int number : numbers)
        texts.push_back(std::to_string(number));
    return texts;
}

template <typename Number>
Number ReadNumber(const Record& record,
                  void (*get)(std::string text, std::string name, Number& out))
{
    Number value = 0;
    get(record.text, record.path + ";", value);
    return value;
}

// Signed and unsigned values carry the same tag.
boost::any ReadInt(const Record& record)
{
    const long value = ReadNumber<long>(record, IWbemClassObject::GetLong);
    if (value > std::numeric_limits<int>::max())
        return static_cast<unsigned int>(value);
    return static_cast<int>(value);
}

bool ReadBool(const Record& record)
{
    bool value = false;
    IWbemClassObject::GetBool(record.text, record.path + ";", value);
    return value;
}

std::string ReadString(const Record& record)
{
    std::string value;
    IWbemClassObject::GetString(record.text, record.path + ";", value);
    return value;
}

StringArray ReadStringArray(const Record& record)
{
    const StringArray elements(new std::vector<std::string>);
    IWbemClassObject::GetStringArray(record.text, record.path + ";", *elements);
    elements->pop_back();  // the closing one; the getter gives at least one
    return elements;
}

}  // namespace

bool WritePlainRecord(std::string& text, const std::string& path, const boost::any& value)
{
    if (const auto* const number = boost::any_cast<int>(&value))
        IWbemClassObject::SetInt(text, path, *number);
    else if (const auto* const count = boost::any_cast<unsigned int>(&value))
        IWbemClassObject::SetUInt(text, path, *count);
    else if (const auto* const longNumber = boost::any_cast<long>(&value))
        IWbemClassObject::SetLong(text, path, *longNumber);
    else if (const auto* const longCount = boost::any_cast<unsigned long>(&value))
        IWbemClassObject::SetULong(text, path, *longCount);
    else if (const auto* const flag = boost::any_cast<bool>(&value))
        IWbemClassObject::SetBool(text, path, *flag);
    else if (const auto* const string = boost::any_cast<std::string>(&value))
        WriteString(text, path, *string);
    else if (const auto* const strings = boost::any_cast<StringArray>(&value))
        WriteStringArray(text, path, *strings ? **strings : std::vector<std::string>());
    else if (const auto* const numbers = boost::any_cast<IntArray>(&value))
        WriteStringArray(text, path, Texts(*numbers ? **numbers : std::vector<int>()));
    else
        return false;
    return true;
}

boost::any ReadPlainRecord(const Record& record)
{
    if (record.tag == "string")
        return ReadString(record);
    if (record.tag == "string[]")
        return ReadStringArray(record);
    if (record.tag == "bool")
        return ReadBool(record);
    if (record.tag == "ulong")
        return ReadNumber<unsigned long>(record, IWbemClassObject::GetULong);
    if (record.tag == "long")
        return ReadNumber<long>(record, IWbemClassObject::GetLong);
    if (record.tag == "int")
        return ReadInt(record);
    return boost::any();
}

}  // namespace one_request
