#include "shared/ObjectText.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

#include "CIWbemUtil.h"
#include "QorException.h"
#include "shared/PlainRecord.h"

namespace one_request {
namespace {

constexpr char kObjectTag[] = "class";
constexpr char kArrayTag[] = "class[]";
constexpr char kStep = '.';
constexpr int kMaxSteps = 16;  // of a path: keeps a hostile text from deep recursion
constexpr std::size_t kMaxNameLength = 64;

bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

void CheckDepth(const std::string& prefix)
{
    if (std::count(prefix.begin(), prefix.end(), kStep) > kMaxSteps)
        throw QorException("objects are nested too deeply");
}

std::string ElementPath(const std::string& arrayPath, std::size_t index)
{
    return arrayPath + kStep + std::to_string(index + 1);
}

void WriteProperties(std::string& text, const std::string& prefix, IWbemClassObject& object);

void WriteNested(std::string& text, const std::string& path, IWbemClassObject* object)
{
    IWbemClassObject::SetClass(text, path, IWbemClassObject());
    if (object != nullptr)
        WriteProperties(text, path + kStep, *object);
}

void WriteArray(std::string& text, const std::string& path, const ObjectArray& array)
{
    IWbemClassObject::SetClassArray(text, path, array.get());
    for (std::size_t i = 0; array && i < array->size(); ++i)
        WriteNested(text, ElementPath(path, i), (*array)[i]);
}

void WriteProperty(std::string& text, const std::string& path, const boost::any& value)
{
    if (const auto* const nested = boost::any_cast<IWbemClassObject*>(&value))
        WriteNested(text, path, *nested);
    else if (const auto* const array = boost::any_cast<ObjectArray>(&value))
        WriteArray(text, path, *array);
    else if (!WritePlainRecord(text, path, value))
        throw QorException("\"%s\" is of a type that no record carries", path.c_str());
}

void WriteProperties(std::string& text, const std::string& prefix, IWbemClassObject& object)
{
    CheckDepth(prefix);
    std::set<std::string> names;
    for (auto property = object.getIterator(); object.hasNext(property); ++property) {
        const std::string& name = property->first;
        if (!IsName(name) || !names.insert(name).second)
            throw QorException("\"%s%s\" is a bad or repeated name", prefix.c_str(), name.c_str());
        WriteProperty(text, prefix + name, property->second);
    }
}

Record Parse(const std::string& text)
{
    const auto tagEnd = text.find(';');
    if (tagEnd == std::string::npos)
        return {"", "", text};
    const auto pathLength = text.find(';', tagEnd + 1) - tagEnd - 1;  // or to the end
    return {text.substr(0, tagEnd), text.substr(tagEnd + 1, pathLength), text};
}

// Takes one record after the other, each for what it may mean. A text that differs from what is
// written again is refused. Objects are filled in where they are stored, so that a failure further
// down loses no object.
class Reader
{
public:
    explicit Reader(const std::string& text) : records_(SplitRecords(text))
    {
        objects_[""] = root_.get();
    }

    ObjectTree Read()
    {
        for (; next_ < records_.size(); ++next_)
            Add(Parse(records_[next_]));
        const std::vector<std::string> again = SplitRecords(WriteObjectText(*root_));
        next_ = 0;
        while (next_ < std::min(again.size(), records_.size()) && again[next_] == records_[next_])
            ++next_;
        if (again != records_)
            Fail();
        return std::move(root_);
    }

private:
    [[noreturn]] void Fail() const
    {
        throw QorException("record %lu is malformed", static_cast<unsigned long>(next_ + 1));
    }

    void Add(const Record& record)
    {
        const auto step = record.path.rfind(kStep);
        if (step == std::string::npos || !paths_.insert(record.path).second)
            Fail();
        CheckDepth(record.path);
        const std::string name = record.path.substr(step + 1);
        const auto array = arrays_.find(record.path.substr(0, step));
        const auto object = objects_.find(record.path.substr(0, step));
        if (array != arrays_.end() && record.tag == kObjectTag)
            AddElement(record.path, *array->second);
        else if (object != objects_.end() && IsName(name))
            AddProperty(record, name, *object->second);
        else
            Fail();
    }

    void AddElement(const std::string& path, std::vector<IWbemClassObject*>& elements)
    {
        elements.push_back(nullptr);
        elements.back() = new IWbemClassObject;
        objects_[path] = elements.back();
    }

    void AddProperty(const Record& record, const std::string& name, IWbemClassObject& object)
    {
        if (record.tag == kObjectTag) {
            IWbemClassObject empty;
            IWbemClassObject*& stored = objects_[record.path];
            (void)CIWbemUtil::setParameterClassToIWbemClassObject(&object, name.c_str(), &empty);
            (void)CIWbemUtil::getParameterClassFromIWbemClassObject(&object, name.c_str(), &stored);
        } else if (record.tag == kArrayTag) {
            ObjectArray& elements = arrays_[record.path];
            elements.reset(new std::vector<IWbemClassObject*>);
            object.push(name, elements);
        } else {
            const boost::any value = ReadPlainRecord(record);
            if (value.empty())
                Fail();
            object.push(name, value);
        }
    }

    std::vector<std::string> records_;
    std::size_t next_ = 0;
    ObjectTree root_ = NewObjectTree();
    std::set<std::string> paths_;                       // of all records so far
    std::map<std::string, IWbemClassObject*> objects_;  // by their paths
    std::map<std::string, ObjectArray> arrays_;
};

}  // namespace

bool IsName(std::string_view text)
{
    return !text.empty() && text.size() <= kMaxNameLength && !IsDigit(text.front()) &&
           std::all_of(text.begin(), text.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
}

std::string WriteObjectText(IWbemClassObject& object)
{
    std::string text;
    WriteProperties(text, std::string(1, kStep), object);
    return text;
}

ObjectTree ReadObjectText(const std::string& text)
{
    return Reader(text).Read();
}

std::vector<std::string> SplitRecords(const std::string& text)
{
    constexpr int kFields = 3;
    std::vector<std::string> records;
    int fields = 0;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != ';' || ++fields < kFields)
            continue;
        records.push_back(text.substr(begin, i + 1 - begin));
        begin = i + 1;
        fields = 0;
    }
    if (begin < text.size())
        records.push_back(text.substr(begin));
    return records;
}

}  // namespace one_request
