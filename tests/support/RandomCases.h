// RandomCases.h - how many random cases a test compares with its model: a few at each change, and a
// hundred times as many in the long form, which the tests fuzz_random_FOLDER run. And what they are
// made of.
//
//     for (unsigned seed = 1; seed <= RandomCases(30); ++seed) {
//         Chance chance(seed);
//         const std::string text = chance.OneIn(4) ? "" : chance.OneOf(kTexts);
//         ... << DescribeCase(seed, text);
//     }
#ifndef QOR_TEST_RANDOMCASES_H
#define QOR_TEST_RANDOMCASES_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>

namespace qor::test {

// `few`, multiplied by QOR_TEST_RANDOM_FACTOR of the environment, if that is a positive number.
// The first cases are the same ones whatever the factor. Few take milliseconds.
inline unsigned RandomCases(unsigned few)
{
    const char* const text = std::getenv("QOR_TEST_RANDOM_FACTOR");
    const unsigned long factor = text == nullptr ? 1 : std::strtoul(text, nullptr, 10);
    return factor == 0 ? few : static_cast<unsigned>(few * factor);
}

// Choices that belong to a seed, the same ones on every machine.
class Chance
{
public:
    explicit Chance(unsigned seed) : engine_(seed) {}

    std::uint64_t Bits()
    {
        const std::uint64_t high = engine_();
        return high << 32 | engine_();
    }

    std::size_t Below(std::size_t limit)
    {
        return (limit <= engine_.max() ? engine_() : Bits()) % limit;
    }
    bool OneIn(std::size_t chances) { return Below(chances) == 0; }

    template <typename List>
    auto OneOf(const List& list)
    {
        return *(std::begin(list) + static_cast<std::ptrdiff_t>(Below(std::size(list))));
    }

private:
    std::mt19937 engine_;
};

// For a failure's message.
inline std::string DescribeCase(unsigned seed, const std::string& content)
{
    return "seed " + std::to_string(seed) + ", file " + testing::PrintToString(content);
}

}  // namespace qor::test

#endif  // QOR_TEST_RANDOMCASES_H
