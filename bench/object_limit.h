// object_limit.h - a bag of properties written by hand: what the class objects are measured
// against.
//
// The same list of (name, boost::any), the same ownership and the same answers as the library's. It
// knows from the values pushed whether it holds a nested object, and asks no value for its type but
// the one found. It is a shared library too: what a call across that border costs, both pay.
#ifndef QOR_BENCH_OBJECT_LIMIT_H
#define QOR_BENCH_OBJECT_LIMIT_H

#include <list>
#include <string>
#include <string_view>
#include <utility>

#include <boost/any.hpp>

namespace qor::bench {

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

}  // namespace qor::bench

#endif  // QOR_BENCH_OBJECT_LIMIT_H
