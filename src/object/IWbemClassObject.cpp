#include "IWbemClassObject.h"

#include "object/OwnedObject.h"
#include "object/Properties.h"

namespace {

boost::any ValueOrNotFound(const boost::any* value)
{
    return value == nullptr ? boost::any(0) : *value;
}

}  // namespace

IWbemClassObject::IWbemClassObject() : log_(false), plain_(true) {}

IWbemClassObject::IWbemClassObject(const IWbemClassObject& other) : log_(false), plain_(true)
{
    try {
        for (const auto& property : other.properties_) {
            if (other.plain_)
                properties_.push_back(property);
            else
                push(property.first, property.second);
        }
    } catch (...) {
        cleanup();  // the copies made so far have no other owner
        throw;
    }
}

IWbemClassObject::~IWbemClassObject() = default;

void IWbemClassObject::push(std::string name, boost::any value)
{
    qor::OwnedObject copy;
    if (IWbemClassObject** const nested = qor::Properties::NestedIn(value)) {
        plain_ = false;
        if (*nested != nullptr)
            copy.reset(new IWbemClassObject(**nested));
        *nested = copy.get();
    }
    properties_.emplace_back(std::move(name), std::move(value));
    (void)copy.release();  // the entry owns it until cleanup
}

boost::any IWbemClassObject::find(std::string name) const
{
    return ValueOrNotFound(qor::Properties::FindAny(*this, name));
}

boost::any IWbemClassObject::pop(std::string name) const
{
    return ValueOrNotFound(qor::Properties::FindOwn(*this, name));
}

boost::any IWbemClassObject::pop(std::string name, IWbemClassObject* object) const
{
    return ValueOrNotFound(object == nullptr ? nullptr : qor::Properties::FindOwn(*object, name));
}

std::list<std::pair<std::string, boost::any>>::iterator IWbemClassObject::getIterator()
{
    plain_ = false;  // the caller may put a nested object into an entry
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
    if (plain_)
        return;
    for (const auto& property : properties_) {
        IWbemClassObject* const* const nested = qor::Properties::NestedIn(property.second);
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
