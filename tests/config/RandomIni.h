// RandomIni.h - INI files out of a seed: ordinary ones, and all the trouble that files can make.
//
//     for (unsigned seed = 1; seed <= kRandomFiles; ++seed) {
//         RandomIni random(seed);
//         const std::string content = random.File();
//         ... << DescribeCase(seed, content);
//     }
#ifndef QOR_TEST_RANDOMINI_H
#define QOR_TEST_RANDOMINI_H

#include <string>
#include <vector>

#include "support/RandomCases.h"

namespace qor::test {

inline const unsigned kRandomFiles = RandomCases(30);

class RandomIni : Chance
{
public:
    using Chance::Chance;

    // Headers (closed, unclosed, repeated, with text after "]"), keys, comments, blanks, lines
    // around the limits of pieces, NUL bytes, carriage returns, missing line feeds. Values are
    // numbered, so that none is mistaken for another.
    std::string File();

    // Texts that occur in the files, and some that never do.
    static const std::vector<std::string>& Sections();
    static const std::vector<std::string>& Keys();

    std::string Section() { return Common(Sections()); }
    std::string Key() { return Common(Keys()); }
    std::string Value();

private:
    // The first ones more often than the others, so that files hold repetitions.
    const std::string& Common(const std::vector<std::string>& texts);

    std::string Line();
    std::string Header();
    std::string KeyLine();
    std::string Filler();

    int values_ = 0;
};

}  // namespace qor::test

#endif  // QOR_TEST_RANDOMINI_H
