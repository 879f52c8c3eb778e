#include "support/Text.h"

#include <algorithm>
#include <stdexcept>

namespace qor::test {

Strings Sorted(Strings strings)
{
    std::sort(strings.begin(), strings.end());
    return strings;
}

Pattern::Pattern(const std::string& expression)
{
    if (::regcomp(&compiled_, expression.c_str(), REG_EXTENDED) != 0)
        throw std::runtime_error("not a regular expression: " + expression);
}

Pattern::~Pattern()
{
    ::regfree(&compiled_);
}

Strings Pattern::Find(const std::string& text) const
{
    std::vector<regmatch_t> found(compiled_.re_nsub + 1);
    if (::regexec(&compiled_, text.c_str(), found.size(), found.data(), 0) != 0)
        return {};

    Strings parts;
    for (const regmatch_t& part : found) {
        const auto begin = text.begin() + part.rm_so;
        parts.push_back(part.rm_so < 0 ? "" : std::string(begin, text.begin() + part.rm_eo));
    }
    return parts;
}

bool Matches(const std::string& expression, const std::string& text)
{
    return !Pattern("^(" + expression + ")$").Find(text).empty();
}

}  // namespace qor::test
