#include "IWbemClassObject.h"

#include <cstring>

#include "object/OwnedObject.h"

namespace {

// The nested object that a value holds, by the holder's own pointer; null for other kinds.
IWbemClassObject* const* NestedIn(const boost::any& value)
{
    return boost::any_cast<IWbemClassObject*>(&value);
}

boost::any NotFound()
{
    return boost::any(0);
}

bool HasName(const std::pair<std::string, boost::any>& property, const char* name,
             std::size_t length)
{
    return property.first.size() == length && std::memcmp(property.first.data(), name, length) == 0;
}

boost::any ValueOrNotFound(const boost::any* value)
{
    return value == nullptr ? NotFound() : *value;
}

}  // namespace

IWbemClassObject::IWbemClassObject() : log_(false) {}

IWbemClassObject::IWbemClassObject(const IWbemClassObject& other) : log_(false)
{
    try {
        for (const auto& property : other.properties_)
            push(property.first, property.second);
    } catch (...) {
        cleanup();  // the copies made so far have no other owner
        throw;
    }
}

IWbemClassObject::~IWbemClassObject() = default;

void IWbemClassObject::push(std::string name, boost::any value)
{
    qor::OwnedObject copy;
    IWbemClassObject* const* const nested = NestedIn(value);
    if (nested != nullptr && *nested != nullptr) {
        copy.reset(new IWbemClassObject(**nested));
        value = copy.get();
    }
    properties_.emplace_back(std::move(name), std::move(value));
    (void)copy.release();  // the entry's, until cleanup
}

const boost::any* IWbemClassObject::FindOwn(const char* name, std::size_t length) const
{
    for (const auto& property : properties_) {
        if (HasName(property, name, length))
            return &property.second;
    }
    return nullptr;
}

const boost::any* IWbemClassObject::FindAny(const char* name, std::size_t length) const
{
    for (const auto& property : properties_) {
        if (HasName(property, name, length))
            return &property.second;
        // Intended: the first nested object ends the search; see the header.
        if (IWbemClassObject* const* const nested = NestedIn(property.second))
            return *nested == nullptr ? nullptr : (*nested)->FindOwn(name, length);
    }
    return nullptr;
}

boost::any IWbemClassObject::find(std::string name) const
{
    return ValueOrNotFound(FindAny(name.data(), name.size()));
}

boost::any IWbemClassObject::pop(std::string name) const
{
    return ValueOrNotFound(FindOwn(name.data(), name.size()));
}

boost::any IWbemClassObject::pop(std::string name, IWbemClassObject* object) const
{
    return object == nullptr ? NotFound() : object->pop(std::move(name));
}

std::list<std::pair<std::string, boost::any>>::iterator IWbemClassObject::getIterator()
{
    return properties_.begin();
}

bool IWbemClassObject::hasNext(
    std::list<std::pair<std::string, boost::any>>::iterator position) const
{
    return position != properties_.end();
}

long IWbemClassObject::SpawnInstance(long, IWbemClassObject** out)
{
    if (out != nullptr)
        *out = new IWbemClassObject;
    return 0;
}

long IWbemClassObject::GetMethod(const char*, long, IWbemClassObject**,
                                 IWbemClassObject** outSignature)
{
    return SpawnInstance(0, outSignature);
}

void IWbemClassObject::cleanup()
{
    for (const auto& property : properties_) {
        IWbemClassObject* const* const nested = NestedIn(property.second);
        if (nested == nullptr || *nested == nullptr)
            continue;
        (void)(*nested)->Release();
        delete *nested;  // Intended: the entry keeps the pointer; see the header.
    }
}

long IWbemClassObject::Release()
{
    cleanup();
    return 0;
}

void IWbemClassObject::log(bool on)
{
    log_ = on;
}
