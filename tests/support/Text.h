// Text.h - lists of texts as tests expect them, and texts that follow a pattern.
//
//     EXPECT_EQ(Strings({"a", "b"}), Lines("a\nb\n"));
//     EXPECT_TRUE(Matches("motd[0-9]+", name)) << name;
#ifndef QOR_TEST_TEXT_H
#define QOR_TEST_TEXT_H

#include <regex.h>

#include <string>
#include <vector>

namespace qor::test {

using Strings = std::vector<std::string>;

// In ascending order, for what comes in no order of its own.
Strings Sorted(Strings strings);

// A POSIX extended regular expression, regex(7). A text counts up to its first NUL. (<regex> would
// cost each source that includes it seconds of compilation.)
class Pattern
{
public:
    explicit Pattern(const std::string& expression);
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;
    ~Pattern();

    // What it finds first in `text`, and each of its groups; empty when it finds nothing. A group
    // that took no part is "".
    Strings Find(const std::string& text) const;

private:
    regex_t compiled_;
};

// Whether the expression describes all of `text`.
bool Matches(const std::string& expression, const std::string& text);

}  // namespace qor::test

#endif  // QOR_TEST_TEXT_H
