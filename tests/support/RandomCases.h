// RandomCases.h - how many random cases a test goes through: thousands, and fewer where programs
// run slowly, under memcheck.
//
//     for (unsigned seed = 1; seed <= RandomCases(3000); ++seed)
#ifndef QOR_TEST_RANDOMCASES_H
#define QOR_TEST_RANDOMCASES_H

#include <cstdlib>

namespace qor::test {

// `usual`, divided by the number QOR_TEST_RANDOM_DIVISOR in the environment; one at least.
inline unsigned RandomCases(unsigned usual)
{
    const char* const divisor = std::getenv("QOR_TEST_RANDOM_DIVISOR");
    const unsigned long value = divisor == nullptr ? 1 : std::strtoul(divisor, nullptr, 10);
    return value <= 1 ? usual : static_cast<unsigned>(usual / value) + 1;
}

}  // namespace qor::test

#endif  // QOR_TEST_RANDOMCASES_H
