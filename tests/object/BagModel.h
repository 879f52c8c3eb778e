// BagModel.h - a bag of properties made and searched step by step, as plainly as can be.
//
// IWbemClassObjectModel_test.cpp compares the class object and its typed accessors with it. Nothing
// here is shared with the library: a vector instead of a list, a kind instead of a type-erased
// value, and no knowledge about the bag besides its properties.
#ifndef QOR_TEST_OBJECT_BAGMODEL_H
#define QOR_TEST_OBJECT_BAGMODEL_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qor::test::model {

struct Bag;

enum class Kind { kInt, kString, kObject, kNothing };

struct Value {
    Kind kind = Kind::kInt;
    int number = 0;
    std::string text;
    std::shared_ptr<Bag> object;  // of kind kObject; may be null
};

struct Bag {
    std::vector<std::pair<std::string, Value>> properties;
};

inline Value Number(int number)
{
    return {Kind::kInt, number, "", nullptr};
}

// Nested objects are copied, each with its own.
inline Value Copied(const Value& value);

inline Bag Copied(const Bag& bag)
{
    Bag copy;
    for (const auto& property : bag.properties)
        copy.properties.emplace_back(property.first, Copied(property.second));
    return copy;
}

inline Value Copied(const Value& value)
{
    Value copy = value;
    if (value.kind == Kind::kObject && value.object != nullptr)
        copy.object = std::make_shared<Bag>(Copied(*value.object));
    return copy;
}

inline void Push(Bag& bag, const std::string& name, const Value& value)
{
    const Value copy = Copied(value);
    bag.properties.emplace_back(name, copy);
}

inline Value Pop(const Bag* bag, const std::string& name)
{
    if (bag != nullptr) {
        for (const auto& property : bag->properties) {
            if (property.first == name)
                return property.second;
        }
    }
    return Number(0);
}

inline Value Find(const Bag& bag, const std::string& name)
{
    for (const auto& property : bag.properties) {
        if (property.first == name)
            return property.second;
        if (property.second.kind == Kind::kObject)
            return Pop(property.second.object.get(), name);
    }
    return Number(0);
}

constexpr int kMismatch = static_cast<int>(0x80041002U);

inline int GetInt(const Bag& bag, const std::string& name, int& out)
{
    const Value found = Find(bag, name);
    out = found.kind == Kind::kInt ? found.number : 0;
    return found.kind == Kind::kInt ? 0 : kMismatch;
}

inline int GetString(const Bag& bag, const std::string& name, std::string& out)
{
    Value found = Pop(&bag, name);
    if (found.kind != Kind::kString)
        found = Find(bag, name);
    out = found.kind == Kind::kString ? found.text : "";
    return found.kind == Kind::kString ? 0 : kMismatch;
}

inline int GetObject(const Bag& bag, const std::string& name, std::shared_ptr<Bag>& out)
{
    Value found = Pop(&bag, name);
    if (found.kind != Kind::kObject)
        found = Find(bag, name);
    out = found.kind == Kind::kObject ? found.object : nullptr;
    return found.kind == Kind::kObject ? 0 : kMismatch;
}

}  // namespace qor::test::model

#endif  // QOR_TEST_OBJECT_BAGMODEL_H
