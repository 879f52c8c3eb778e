#include "CIWbemUtil.h"

#include "object/OwnedObject.h"
#include "object/Properties.h"

namespace {

constexpr int kSuccess = 0;
constexpr int kInvalidParameter = static_cast<int>(0x80041008U);
constexpr int kNotFound = static_cast<int>(0x80041002U);
constexpr char kReturnValue[] = "ReturnValue";

using qor::Properties;
using Objects = std::vector<IWbemClassObject*>;

// The operation's status, or that for a null pointer of the caller's, without running it.
template <typename Argument, typename Operation>
int Checked(const IWbemClassObject* object, const char* name, const Argument* argument,
            Operation operation)
{
    if (object == nullptr || name == nullptr || argument == nullptr)
        return kInvalidParameter;
    return operation();
}

template <typename Value>
int Push(IWbemClassObject* object, const char* name, Value value)
{
    return Checked(object, name, &value, [&] {
        Properties::Append(*object, name, std::move(value));
        return kSuccess;
    });
}

// Pushes elements as the shared vector in which the bag holds arrays.
template <typename Element>
int PushShared(IWbemClassObject* object, const char* name, std::vector<Element> elements)
{
    return Push(
        object, name,
        boost::shared_ptr<std::vector<Element>>(new std::vector<Element>(std::move(elements))));
}

// The value when it is of exactly this type, else null.
template <typename Type>
const Type* As(const boost::any* value)
{
    return value == nullptr ? nullptr : boost::any_cast<Type>(value);
}

// Writes the value, or a default one for null.
template <typename Type>
int Deliver(const Type* value, Type* out)
{
    if (value == nullptr) {
        *out = Type();
        return kNotFound;
    }
    *out = *value;
    return kSuccess;
}

// Replaces the whole vector, or leaves it untouched.
template <typename Element>
int DeliverArray(const std::vector<Element>* elements, std::vector<Element>* out)
{
    if (elements == nullptr)
        return kNotFound;
    *out = *elements;
    return kSuccess;
}

template <typename Element>
const std::vector<Element>* SharedVector(const boost::any* value)
{
    const auto* const shared = As<boost::shared_ptr<std::vector<Element>>>(value);
    return shared == nullptr ? nullptr : shared->get();
}

// The stored elements of a class array, in whichever form it is held.
const Objects* ClassVector(const boost::any* value)
{
    if (const auto* const held = As<Objects>(value))
        return held;
    if (const auto* const pointed = As<Objects*>(value))
        return *pointed;
    return SharedVector<IWbemClassObject*>(value);
}

template <typename Type>
int Get(const IWbemClassObject* object, const char* name, Type* out)
{
    return Checked(object, name, out,
                   [&] { return Deliver(As<Type>(Properties::FindAny(*object, name)), out); });
}

// The object's own properties come first.
template <typename Type>
int GetOwnFirst(const IWbemClassObject* object, const char* name, Type* out)
{
    return Checked(object, name, out, [&] {
        const auto* value = As<Type>(Properties::FindOwn(*object, name));
        if (value == nullptr)
            value = As<Type>(Properties::FindAny(*object, name));
        return Deliver(value, out);
    });
}

template <typename Element>
int GetHeldVector(const IWbemClassObject* object, const char* name, std::vector<Element>* out)
{
    return Checked(object, name, out, [&] {
        return DeliverArray(As<std::vector<Element>>(Properties::FindAny(*object, name)), out);
    });
}

template <typename Element>
int GetSharedVector(const IWbemClassObject* object, const char* name, std::vector<Element>* out)
{
    return Checked(object, name, out, [&] {
        return DeliverArray(SharedVector<Element>(Properties::FindAny(*object, name)), out);
    });
}

}  // namespace

int CIWbemUtil::setIntToIWbemClassObject(IWbemClassObject* object, const char* name, int value)
{
    return Push(object, name, value);
}

int CIWbemUtil::setUIntToIWbemClassObject(IWbemClassObject* object, const char* name,
                                          unsigned int value)
{
    return Push(object, name, value);
}

int CIWbemUtil::setLongToIWbemClassObject(IWbemClassObject* object, const char* name, long value)
{
    return Push(object, name, value);
}

int CIWbemUtil::setULongToIWbemClassObject(IWbemClassObject* object, const char* name,
                                           unsigned long value)
{
    return Push(object, name, value);
}

int CIWbemUtil::setBoolToIWbemClassObject(IWbemClassObject* object, const char* name, bool value)
{
    return Push(object, name, value);
}

int CIWbemUtil::setStringToIWbemClassObject(IWbemClassObject* object, const char* name,
                                            std::string value)
{
    return Push(object, name, std::move(value));
}

int CIWbemUtil::setIntArrayToIWbemClassObject(IWbemClassObject* object, const char* name,
                                              std::vector<int> values)
{
    return PushShared(object, name, std::move(values));
}

int CIWbemUtil::setStringArrayToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                 const std::vector<std::string>* values)
{
    return Checked(object, name, values, [&] { return PushShared(object, name, *values); });
}

int CIWbemUtil::setStringArrayToIWbemClassObject(
    IWbemClassObject* object, const char* name,
    const std::list<std::pair<std::string, std::string>>* values)
{
    return Checked(object, name, values, [&] {
        std::vector<std::string> joined;
        joined.reserve(values->size());
        for (const auto& pair : *values)
            joined.push_back(pair.first + "?" + pair.second);
        return PushShared(object, name, std::move(joined));
    });
}

int CIWbemUtil::setParameterClassToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                    IWbemClassObject* value)
{
    return Checked(object, name, value, [&] {
        object->push(name, value);
        return kSuccess;
    });
}

int CIWbemUtil::setParameterClassArrayToIWbemClassObject(
    IWbemClassObject* object, const char* name, const std::vector<IWbemClassObject*>* values)
{
    return Checked(object, name, values, [&] {
        std::vector<qor::OwnedObject> copies;
        copies.reserve(values->size());
        for (const IWbemClassObject* const value : *values)
            copies.emplace_back(value == nullptr ? nullptr : new IWbemClassObject(*value));

        boost::shared_ptr<Objects> shared(new Objects(copies.size()));
        Properties::Append(*object, name, shared);
        for (std::size_t i = 0; i < copies.size(); ++i)
            (*shared)[i] = copies[i].release();  // Intended: the reader frees it; see the header.
        return kSuccess;
    });
}

int CIWbemUtil::setReturnValueToIWbemClassObject(IWbemClassObject* object, unsigned long value)
{
    return setULongToIWbemClassObject(object, kReturnValue, value);
}

int CIWbemUtil::getIntFromIWbemClassObject(IWbemClassObject* object, const char* name, int* out)
{
    return Checked(object, name, out, [&] {
        const boost::any* const value = Properties::FindAny(*object, name);
        const int absent = 0;  // Intended: a missing property reads as the int 0.
        return Deliver(value == nullptr ? &absent : As<int>(value), out);
    });
}

int CIWbemUtil::getUIntFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                            unsigned int* out)
{
    // The same bits: an int may be read through a pointer to its unsigned type.
    return getIntFromIWbemClassObject(object, name, reinterpret_cast<int*>(out));
}

int CIWbemUtil::getLongFromIWbemClassObject(IWbemClassObject* object, const char* name, long* out)
{
    return Get(object, name, out);
}

int CIWbemUtil::getULongFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                             unsigned long* out)
{
    return Get(object, name, out);
}

int CIWbemUtil::getBoolFromIWbemClassObject(IWbemClassObject* object, const char* name, bool* out)
{
    return Get(object, name, out);
}

int CIWbemUtil::getStringFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                              std::string* out)
{
    return GetOwnFirst(object, name, out);
}

int CIWbemUtil::getIntArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                std::vector<int>* out)
{
    return GetSharedVector(object, name, out);
}

int CIWbemUtil::getUIntArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                 std::vector<unsigned int>* out)
{
    return GetHeldVector(object, name, out);
}

int CIWbemUtil::getLongArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                 std::vector<long>* out)
{
    return GetHeldVector(object, name, out);
}

int CIWbemUtil::getULongArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                  std::vector<unsigned long>* out)
{
    return GetHeldVector(object, name, out);
}

int CIWbemUtil::getBoolArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                 std::vector<bool>* out)
{
    return GetHeldVector(object, name, out);
}

int CIWbemUtil::getStringArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                   std::vector<std::string>* out)
{
    return GetSharedVector(object, name, out);
}

int CIWbemUtil::getParameterClassFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                      IWbemClassObject** out)
{
    return GetOwnFirst(object, name, out);
}

int CIWbemUtil::getParameterClassArrayFromIWbemClassObject(IWbemClassObject* object,
                                                           const char* name,
                                                           std::vector<IWbemClassObject*>* out)
{
    return Checked(object, name, out, [&] {
        const boost::any* const value = Properties::FindAny(*object, name);
        if (const auto* const single = As<IWbemClassObject*>(value)) {
            out->assign(1, *single);
            return kSuccess;
        }
        return Deliver(ClassVector(value), out);
    });
}

int CIWbemUtil::getReturnValueFromIWbemClassObject(IWbemClassObject* object, long* out)
{
    return getULongFromIWbemClassObject(object, kReturnValue,
                                        reinterpret_cast<unsigned long*>(out));
}

int CIWbemUtil::getReturnValueFromIWbemClassObject(IWbemClassObject* object, unsigned long* out)
{
    return getULongFromIWbemClassObject(object, kReturnValue, out);
}
