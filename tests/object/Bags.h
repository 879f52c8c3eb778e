// Bags.h - class objects as tests need them: released at the end, and watched while they die.
#ifndef QOR_TEST_OBJECT_BAGS_H
#define QOR_TEST_OBJECT_BAGS_H

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>

#include "IWbemClassObject.h"
#include "support/Text.h"

namespace qor::test {

// A class object whose nested objects are freed at the end of the test. As a nested object it must
// be pushed by PushNested: a Bag* is no IWbemClassObject* to boost::any.
class Bag : public IWbemClassObject
{
public:
    Bag() = default;
    explicit Bag(const IWbemClassObject& other) : IWbemClassObject(other) {}
    ~Bag() { (void)Release(); }
};

inline void PushNested(IWbemClassObject& bag, const std::string& name, IWbemClassObject& nested)
{
    bag.push(name, &nested);
}

// A class object with one property, which is no nested object.
inline IWbemClassObject With(const std::string& name, const boost::any& value)
{
    IWbemClassObject bag;
    bag.push(name, value);
    return bag;
}

using SharedNumbers = boost::shared_ptr<std::vector<int>>;

// Notes when bags are destroyed. A mark is a shared vector that is pushed into a bag: the bag's
// copies share it, and its label is noted when the last of them is gone.
//
//     Deaths deaths;
//     bag.push("mark", deaths.Mark("bag"));
class Deaths
{
public:
    SharedNumbers Mark(const std::string& label)
    {
        return SharedNumbers(new std::vector<int>, [this, label](std::vector<int>* mark) {
            delete mark;
            labels_.push_back(label);
        });
    }

    // In the order of their deaths.
    const Strings& labels() const { return labels_; }

private:
    Strings labels_;
};

// Throws boost::bad_any_cast when the value is of another type.
template <typename Type>
Type As(const boost::any& value)
{
    return boost::any_cast<Type>(value);
}

// "Nothing found" is an int 0 and no empty value.
inline bool IsNotFound(const boost::any& value)
{
    const int* const number = boost::any_cast<int>(&value);
    return number != nullptr && *number == 0;
}

inline Strings Names(IWbemClassObject& bag)
{
    Strings names;
    for (auto property = bag.getIterator(); bag.hasNext(property); ++property)
        names.push_back(property->first);
    return names;
}

// The stored pointer, without its descent into nested objects.
inline IWbemClassObject* Nested(const IWbemClassObject& bag, const std::string& name)
{
    return As<IWbemClassObject*>(bag.pop(name));
}

}  // namespace qor::test

#endif  // QOR_TEST_OBJECT_BAGS_H
