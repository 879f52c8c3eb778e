// Properties.h - the library's own access to the properties of a class object.
#ifndef QOR_OBJECT_PROPERTIES_H
#define QOR_OBJECT_PROPERTIES_H

#include <string>
#include <string_view>
#include <utility>

#include <boost/any.hpp>

#include "IWbemClassObject.h"

namespace qor {

struct Properties {
    // Names of equal length rarely end alike: the last byte decides most comparisons without a
    // call.
    static bool HasName(const std::pair<std::string, boost::any>& property, std::string_view name)
    {
        const std::string& stored = property.first;
        return stored.size() == name.size() &&
               (name.empty() || (stored.back() == name.back() && stored == name));
    }

    // Appends a value of a type that is no pointer to a class object: nothing has to be copied
    // deeply, and the entry is made in place.
    template <typename Value>
    static void Append(IWbemClassObject& object, const char* name, Value&& value)
    {
        object.properties_.emplace_back(name, std::forward<Value>(value));
    }

    // The stored value that pop(name) copies, or null for "not found".
    static const boost::any* FindOwn(const IWbemClassObject& object, std::string_view name)
    {
        for (const auto& property : object.properties_) {
            if (HasName(property, name))
                return &property.second;
        }
        return nullptr;
    }

    // The same for find(name).
    static const boost::any* FindAny(const IWbemClassObject& object, std::string_view name)
    {
        if (object.plain_)
            return FindOwn(object, name);
        for (const auto& property : object.properties_) {
            if (HasName(property, name))
                return &property.second;
            // Intended: the first nested object ends the search; see the header.
            if (IWbemClassObject* const* const nested = NestedIn(property.second))
                return *nested == nullptr ? nullptr : FindOwn(**nested, name);
        }
        return nullptr;
    }

    // The nested object that a value holds, by the holder's own pointer; null for other kinds.
    static IWbemClassObject* const* NestedIn(const boost::any& value)
    {
        return boost::any_cast<IWbemClassObject*>(&value);
    }
    static IWbemClassObject** NestedIn(boost::any& value)
    {
        return boost::any_cast<IWbemClassObject*>(&value);
    }
};

}  // namespace qor

#endif  // QOR_OBJECT_PROPERTIES_H
