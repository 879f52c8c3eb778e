// ScopedEnv.h - environment and time zone for the length of a test.
//
//     const ScopedTimeZone tokyo("JST-9");
//     const ScopedEnv noPath("PATH", "/opt/empty");
#ifndef QOR_TEST_SCOPEDENV_H
#define QOR_TEST_SCOPEDENV_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace qor::test {

class ScopedEnv
{
public:
    // A null value removes the variable.
    ScopedEnv(const std::string& name, const char* value) : name_(name)
    {
        if (const char* const former = std::getenv(name_.c_str()))
            former_ = former;
        Set(value);
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;
    ~ScopedEnv() { Set(former_ ? former_->c_str() : nullptr); }

private:
    // Fails only for names with "=" and without memory.
    void Set(const char* value) const
    {
        if (value != nullptr)
            (void)::setenv(name_.c_str(), value, 1);
        else
            (void)::unsetenv(name_.c_str());
    }

    std::string name_;
    std::optional<std::string> former_;
};

// `zone`: as in the variable TZ, tzset(3); "UTC0" and "JST-9" need no zone files.
class ScopedTimeZone
{
public:
    explicit ScopedTimeZone(const char* zone)
    {
        zone_.emplace("TZ", zone);
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;
    ~ScopedTimeZone()
    {
        zone_.reset();
        ::tzset();
    }

private:
    std::optional<ScopedEnv> zone_;
};

}  // namespace qor::test

#endif  // QOR_TEST_SCOPEDENV_H
