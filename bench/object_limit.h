// object_limit.h - what class objects and text records are measured against, written by hand.
//
// A shared library, as the library is: both pay what a call across that border costs.
#ifndef QOR_BENCH_OBJECT_LIMIT_H
#define QOR_BENCH_OBJECT_LIMIT_H

#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/any.hpp>

namespace qor::bench {

// The same list of (name, boost::any), the same ownership and the same answers as the library's. It
// knows from the values pushed whether it holds a nested object, and asks no value for its type but
// the one found.
class LimitObject
{
public:
    LimitObject() = default;
    LimitObject(const LimitObject& other);
    LimitObject& operator=(const LimitObject&) = delete;
    ~LimitObject();

    void Release();

private:
    friend struct LimitUtil;
    const boost::any* FindOwn(std::string_view name) const;
    const boost::any* FindAny(std::string_view name) const;

    bool holdsObjects_ = false;
    std::list<std::pair<std::string, boost::any>> properties_;
};

// As CIWbemUtil.
struct LimitUtil {
    static int setIntToIWbemClassObject(LimitObject* object, const char* name, int value);
    static int setStringToIWbemClassObject(LimitObject* object, const char* name,
                                           std::string value);
    static int setParameterClassToIWbemClassObject(LimitObject* object, const char* name,
                                                   LimitObject* value);
    static int getIntFromIWbemClassObject(const LimitObject* object, const char* name, int* out);
    static int getStringFromIWbemClassObject(const LimitObject* object, const char* name,
                                             std::string* out);
    static int getParameterClassFromIWbemClassObject(const LimitObject* object, const char* name,
                                                     LimitObject** out);
};

// The same signatures, since callers were promised that strings are passed by value, and the same
// texts and answers for every input. A record is one growth of the text and plain copies into it; a
// getter searches the text once and copies what it returns.
struct LimitRecord {
    static void SetInt(std::string& text, std::string name, int value);
    static void SetString(std::string& text, std::string name, std::string value);
    static void SetStringArray(std::string& text, std::string name,
                               std::vector<std::string> values);

    static void GetInt(std::string text, std::string name, int& out);
    static void GetString(std::string text, std::string name, std::string& out);
    static void GetStringArray(std::string text, std::string name, std::vector<std::string>& out);
};

}  // namespace qor::bench

#endif  // QOR_BENCH_OBJECT_LIMIT_H
