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
class LimitBag
{
public:
    LimitBag() = default;
    LimitBag(const LimitBag& other);
    LimitBag& operator=(const LimitBag&) = delete;
    ~LimitBag();

    void Release();

    int SetInt(const char* name, int value);
    int SetString(const char* name, std::string value);
    int SetObject(const char* name, LimitBag* value);

    int GetInt(const char* name, int* out) const;
    int GetString(const char* name, std::string* out) const;
    int GetObject(const char* name, LimitBag** out) const;

private:
    const boost::any* FindOwn(std::string_view name) const;
    const boost::any* FindAny(std::string_view name) const;

    bool holdsObjects_ = false;
    std::list<std::pair<std::string, boost::any>> properties_;
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
