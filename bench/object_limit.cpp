#include "object_limit.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace qor::bench {
namespace {

// Names of one length rarely end alike: the last byte settles most comparisons without a call.
inline bool Same(const std::string& stored, std::string_view name)
{
    return stored.size() == name.size() &&
           (name.empty() || (stored.back() == name.back() && stored == name));
}

constexpr std::string_view kInt = "int;";
constexpr std::string_view kString = "string;";
constexpr std::string_view kStringArray = "string[];";

char* Put(char* end, std::string_view piece)
{
    std::memcpy(end, piece.data(), piece.size());
    return end + piece.size();
}

// ";" as "%!@".
char* PutEscaped(char* end, std::string_view value)
{
    for (auto at = value.find(';'); at != std::string_view::npos; at = value.find(';')) {
        end = Put(Put(end, value.substr(0, at)), "%!@");
        value.remove_prefix(at + 1);
    }
    return Put(end, value);
}

std::size_t EscapedSize(std::string_view value)
{
    std::size_t size = value.size();
    for (auto at = value.find(';'); at != std::string_view::npos; at = value.find(';', at + 1))
        size += 2;
    return size;
}

std::string_view ValueOf(const std::string& text, const std::string& name, bool& found)
{
    const std::size_t place = text.find(name);
    found = place != std::string::npos;
    if (!found)
        return {};
    const std::string_view rest = std::string_view(text).substr(text.find(';', place) + 1);
    return rest.substr(0, rest.find(';'));
}

void AppendUnescaped(std::string& out, std::string_view value)
{
    for (auto at = value.find("%!@"); at != std::string_view::npos; at = value.find("%!@")) {
        out.append(value.data(), at).push_back(';');
        value.remove_prefix(at + 3);
    }
    out.append(value);
}

}  // namespace

LimitObject::LimitObject(const LimitObject& other) : holdsObjects_(other.holdsObjects_)
{
    for (const auto& property : other.properties_) {
        LimitObject* const* const nested =
            holdsObjects_ ? boost::any_cast<LimitObject*>(&property.second) : nullptr;
        if (nested == nullptr)
            properties_.push_back(property);
        else
            properties_.emplace_back(property.first, new LimitObject(**nested));
    }
}

LimitObject::~LimitObject() = default;

void LimitObject::Release()
{
    if (!holdsObjects_)
        return;
    for (const auto& property : properties_) {
        if (LimitObject* const* const nested = boost::any_cast<LimitObject*>(&property.second)) {
            (*nested)->Release();
            delete *nested;
        }
    }
}

int LimitUtil::setIntToIWbemClassObject(LimitObject* object, const char* name, int value)
{
    object->properties_.emplace_back(name, value);
    return 0;
}

int LimitUtil::setStringToIWbemClassObject(LimitObject* object, const char* name, std::string value)
{
    object->properties_.emplace_back(name, std::move(value));
    return 0;
}

int LimitUtil::setParameterClassToIWbemClassObject(LimitObject* object, const char* name,
                                                   LimitObject* value)
{
    object->properties_.emplace_back(name, new LimitObject(*value));
    object->holdsObjects_ = true;
    return 0;
}

const boost::any* LimitObject::FindOwn(std::string_view name) const
{
    for (const auto& property : properties_) {
        if (Same(property.first, name))
            return &property.second;
    }
    return nullptr;
}

const boost::any* LimitObject::FindAny(std::string_view name) const
{
    if (!holdsObjects_)
        return FindOwn(name);
    for (const auto& property : properties_) {
        if (Same(property.first, name))
            return &property.second;
        if (LimitObject* const* const nested = boost::any_cast<LimitObject*>(&property.second))
            return (*nested)->FindOwn(name);
    }
    return nullptr;
}

int LimitUtil::getIntFromIWbemClassObject(const LimitObject* object, const char* name, int* out)
{
    const boost::any* const value = object->FindAny(name);
    const int* const number = boost::any_cast<int>(value);
    *out = number == nullptr ? 0 : *number;
    return value == nullptr || number != nullptr ? 0 : -1;
}

int LimitUtil::getStringFromIWbemClassObject(const LimitObject* object, const char* name,
                                             std::string* out)
{
    const std::string* text = boost::any_cast<std::string>(object->FindOwn(name));
    if (text == nullptr)
        text = boost::any_cast<std::string>(object->FindAny(name));
    if (text == nullptr)
        out->clear();
    else
        *out = *text;
    return text == nullptr ? -1 : 0;
}

int LimitUtil::getParameterClassFromIWbemClassObject(const LimitObject* object, const char* name,
                                                     LimitObject** out)
{
    LimitObject* const* found = boost::any_cast<LimitObject*>(object->FindOwn(name));
    if (found == nullptr)
        found = boost::any_cast<LimitObject*>(object->FindAny(name));
    *out = found == nullptr ? nullptr : *found;
    return found == nullptr ? -1 : 0;
}

void LimitRecord::SetInt(std::string& text, std::string name, int value)
{
    const std::size_t old = text.size();
    constexpr int kLongest = std::numeric_limits<int>::digits10 + 2;
    text.resize(old + kInt.size() + name.size() + 1 + kLongest + 1);
    char* end = Put(Put(&text[old], kInt), name);
    *end++ = ';';
    end = std::to_chars(end, end + kLongest, value).ptr;
    *end++ = ';';
    text.resize(static_cast<std::size_t>(end - text.data()));
}

void LimitRecord::SetString(std::string& text, std::string name, std::string value)
{
    const std::size_t old = text.size();
    text.resize(old + kString.size() + name.size() + 1 + EscapedSize(value) + 1);
    char* end = Put(Put(&text[old], kString), name);
    *end++ = ';';
    *PutEscaped(end, value) = ';';
}

void LimitRecord::SetStringArray(std::string& text, std::string name,
                                 std::vector<std::string> values)
{
    std::size_t size = values.empty() ? 0 : 2 * (values.size() - 1);
    for (const std::string& value : values)
        size += EscapedSize(value);
    const std::size_t old = text.size();
    text.resize(old + kStringArray.size() + name.size() + 1 + size + 1);
    char* end = Put(Put(&text[old], kStringArray), name);
    *end++ = ';';
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            end = Put(end, "!#");
        end = PutEscaped(end, values[i]);
    }
    *end = ';';
}

void LimitRecord::GetInt(std::string text, std::string name, int& out)
{
    bool found = false;
    std::string_view value = ValueOf(text, name, found);
    value.remove_prefix(std::min(value.find_first_not_of(" \t\n\v\f\r"), value.size()));
    if (value.size() > 1 && value[0] == '+' && value[1] != '-')
        value.remove_prefix(1);
    (void)std::from_chars(value.data(), value.data() + value.size(), out);
}

void LimitRecord::GetString(std::string text, std::string name, std::string& out)
{
    bool found = false;
    const std::string_view value = ValueOf(text, name, found);
    if (!found)
        return;
    out.clear();
    AppendUnescaped(out, value);
}

void LimitRecord::GetStringArray(std::string text, std::string name, std::vector<std::string>& out)
{
    bool found = false;
    std::string_view value = ValueOf(text, name, found);
    const bool escaped = value.find("%!@") != std::string_view::npos;
    for (auto end = value.find("!#"); end != std::string_view::npos; end = value.find("!#")) {
        if (escaped)
            AppendUnescaped(out.emplace_back(), value.substr(0, end));
        else
            out.emplace_back(value.data(), end);
        value.remove_prefix(end + 2);
    }
    out.emplace_back(value.substr(0, value.find("%!@")));
}

}  // namespace qor::bench
