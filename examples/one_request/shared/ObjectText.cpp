#include "shared/ObjectText.h"

#include <algorithm>
#include <cstddef>
#include <set>

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

// The names of one object, each of which may occur once.
class NameSet
{
public:
    // False for a name that is none, or that was added before.
    bool Add(const std::string& name) { return IsName(name) && names_.insert(name).second; }

private:
    std::set<std::string> names_;
};

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
    NameSet names;
    for (auto property = object.getIterator(); object.hasNext(property); ++property) {
        const std::string& name = property->first;
        if (!names.Add(name))
            throw QorException("\"%s%s\" is a bad or repeated name", prefix.c_str(), name.c_str());
        WriteProperty(text, prefix + name, property->second);
    }
}

// Takes one record after the other. Objects are filled in where they are stored, so that a failure
// further down loses no object.
class Reader
{
public:
    explicit Reader(const std::string& text)
    {
        for (const std::string& record : SplitRecords(text))
            records_.push_back(Parse(record));
    }

    void ReadAll(IWbemClassObject& object)
    {
        ReadProperties(std::string(1, kStep), object);
        if (next_ != records_.size())
            Fail();
    }

private:
    [[noreturn]] void Fail() const
    {
        throw QorException("record %lu is malformed", static_cast<unsigned long>(next_ + 1));
    }

    static Record Parse(const std::string& text)
    {
        const auto tagEnd = text.find(';');
        if (tagEnd == std::string::npos)
            return {"", "", text};
        const auto pathLength = text.find(';', tagEnd + 1) - tagEnd - 1;  // or to the end
        return {text.substr(0, tagEnd), text.substr(tagEnd + 1, pathLength), text};
    }

    bool NextIsBelow(const std::string& prefix) const
    {
        return next_ < records_.size() &&
               records_[next_].path.compare(0, prefix.size(), prefix) == 0;
    }

    bool NextIs(const std::string& tag, const std::string& path) const
    {
        return next_ < records_.size() && records_[next_].tag == tag &&
               records_[next_].path == path;
    }

    void ReadProperties(const std::string& prefix, IWbemClassObject& object)
    {
        CheckDepth(prefix);
        NameSet names;
        while (NextIsBelow(prefix)) {
            const std::string name = records_[next_].path.substr(prefix.size());
            if (!names.Add(name))
                Fail();
            ReadProperty(prefix + name, name, object);
        }
    }

    void ReadProperty(const std::string& path, const std::string& name, IWbemClassObject& object)
    {
        if (NextIs(kObjectTag, path))
            ReadNested(path, name, object);
        else if (NextIs(kArrayTag, path))
            ReadArray(path, name, object);
        else
            ReadPlain(name, object);
    }

    void ReadPlain(const std::string& name, IWbemClassObject& object)
    {
        const boost::any value = ReadPlainRecord(records_[next_]);
        if (value.empty())
            Fail();
        ++next_;
        object.push(name, value);
    }

    void ReadNested(const std::string& path, const std::string& name, IWbemClassObject& object)
    {
        TakeMarker();
        IWbemClassObject empty;
        IWbemClassObject* stored = nullptr;
        (void)CIWbemUtil::setParameterClassToIWbemClassObject(&object, name.c_str(), &empty);
        (void)CIWbemUtil::getParameterClassFromIWbemClassObject(&object, name.c_str(), &stored);
        ReadProperties(path + kStep, *stored);
    }

    void ReadArray(const std::string& path, const std::string& name, IWbemClassObject& object)
    {
        TakeMarker();
        const ObjectArray elements(new std::vector<IWbemClassObject*>);
        object.push(name, elements);
        while (NextIs(kObjectTag, ElementPath(path, elements->size()))) {
            const std::string prefix = records_[next_].path + kStep;
            TakeMarker();
            elements->push_back(nullptr);
            elements->back() = new IWbemClassObject;
            ReadProperties(prefix, *elements->back());
        }
    }

    // Passes a record that only says that an object or an array begins: it has no value.
    void TakeMarker()
    {
        const Record& record = records_[next_];
        if (record.text != record.tag + ";" + record.path + ";;")
            Fail();
        ++next_;
    }

    std::vector<Record> records_;
    std::size_t next_ = 0;
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
    ObjectTree object = NewObjectTree();
    Reader(text).ReadAll(*object);
    return object;
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
