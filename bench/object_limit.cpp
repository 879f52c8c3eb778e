#include "object_limit.h"

namespace qor::bench {
namespace {

// Names of one length rarely end alike: the last byte settles most comparisons without a call.
inline bool Same(const std::string& stored, std::string_view name)
{
    return stored.size() == name.size() &&
           (name.empty() || (stored.back() == name.back() && stored == name));
}

}  // namespace

LimitBag::LimitBag(const LimitBag& other) : holdsObjects_(other.holdsObjects_)
{
    for (const auto& property : other.properties_) {
        LimitBag* const* const nested =
            holdsObjects_ ? boost::any_cast<LimitBag*>(&property.second) : nullptr;
        if (nested == nullptr)
            properties_.push_back(property);
        else
            properties_.emplace_back(property.first, new LimitBag(**nested));
    }
}

LimitBag::~LimitBag() = default;

void LimitBag::Release()
{
    if (!holdsObjects_)
        return;
    for (const auto& property : properties_) {
        if (LimitBag* const* const nested = boost::any_cast<LimitBag*>(&property.second)) {
            (*nested)->Release();
            delete *nested;
        }
    }
}

int LimitBag::SetInt(const char* name, int value)
{
    properties_.emplace_back(name, value);
    return 0;
}

int LimitBag::SetString(const char* name, std::string value)
{
    properties_.emplace_back(name, std::move(value));
    return 0;
}

int LimitBag::SetObject(const char* name, LimitBag* value)
{
    properties_.emplace_back(name, new LimitBag(*value));
    holdsObjects_ = true;
    return 0;
}

const boost::any* LimitBag::FindOwn(std::string_view name) const
{
    for (const auto& property : properties_) {
        if (Same(property.first, name))
            return &property.second;
    }
    return nullptr;
}

const boost::any* LimitBag::FindAny(std::string_view name) const
{
    if (!holdsObjects_)
        return FindOwn(name);
    for (const auto& property : properties_) {
        if (Same(property.first, name))
            return &property.second;
        if (LimitBag* const* const nested = boost::any_cast<LimitBag*>(&property.second))
            return (*nested)->FindOwn(name);
    }
    return nullptr;
}

int LimitBag::GetInt(const char* name, int* out) const
{
    const boost::any* const value = FindAny(name);
    const int* const number = boost::any_cast<int>(value);
    *out = number == nullptr ? 0 : *number;
    return value == nullptr || number != nullptr ? 0 : -1;
}

int LimitBag::GetString(const char* name, std::string* out) const
{
    const std::string* text = boost::any_cast<std::string>(FindOwn(name));
    if (text == nullptr)
        text = boost::any_cast<std::string>(FindAny(name));
    if (text == nullptr)
        out->clear();
    else
        *out = *text;
    return text == nullptr ? -1 : 0;
}

int LimitBag::GetObject(const char* name, LimitBag** out) const
{
    LimitBag* const* object = boost::any_cast<LimitBag*>(FindOwn(name));
    if (object == nullptr)
        object = boost::any_cast<LimitBag*>(FindAny(name));
    *out = object == nullptr ? nullptr : *object;
    return object == nullptr ? -1 : 0;
}

}  // namespace qor::bench
