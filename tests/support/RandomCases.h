// RandomCases.h - how many random cases a test compares with its model: a few at each change, and a
// hundred times as many in the long form, which the tests fuzz_random_FOLDER run.
//
//     for (unsigned seed = 1; seed <= RandomCases(30); ++seed)
#ifndef QOR_TEST_RANDOMCASES_H
#define QOR_TEST_RANDOMCASES_H

#include <cstdlib>

namespace qor::test {

// `few`, multiplied by QOR_TEST_RANDOM_FACTOR of the environment, if that is a positive number.
// The first cases are the same ones whatever the factor. Few take milliseconds.
inline unsigned RandomCases(unsigned few)
{
    const char* const text = std::getenv("QOR_TEST_RANDOM_FACTOR");
    const unsigned long factor = text == nullptr ? 1 : std::strtoul(text, nullptr, 10);
    return factor == 0 ? few : static_cast<unsigned>(few * factor);
}

}  // namespace qor::test

#endif  // QOR_TEST_RANDOMCASES_H
