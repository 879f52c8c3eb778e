// RandomTrace.h - logs, settings and catalogues out of a seed: ordinary ones, and all the trouble
// that files can make.
//
//     for (unsigned seed = 1; seed <= kRandomTraces; ++seed) {
//         RandomTrace random(seed);
//         const std::string log = random.Log();
//         ... << DescribeCase(seed, log);
//     }
#ifndef QOR_TEST_RANDOMTRACE_H
#define QOR_TEST_RANDOMTRACE_H

#include <string>
#include <vector>

#include "support/RandomCases.h"

namespace qor::test {

inline const unsigned kRandomTraces = RandomCases(100);

class RandomTrace : Chance
{
public:
    using Chance::Chance;

    // Records in and out of order; read codes of any length, in any place, missing, repeated,
    // without digits or the space after them; lines around the limits of pieces, short lines,
    // NUL bytes, missing line feeds.
    std::string Log();

    // A date, mostly one that stands in logs; also none, or one with a NUL inside.
    std::string Date();
    unsigned int ReadType();
    unsigned int Count();

    // Few of them regular: sections unclosed, repeated, one directly after the other; keys missing,
    // repeated, commented out; lines around the limits of pieces, NUL bytes, missing line feeds.
    std::string Settings();
    std::string Catalogue();

private:
    using Texts = std::vector<std::string>;

    std::string Record();
    std::string IniFile(const Texts& names, const Texts& keys, const Texts& values);
    std::string Header(const Texts& names);
    std::string KeyLine(const Texts& keys, const Texts& values);
    std::string Filler();
    void Damage(std::string& content);

    int values_ = 0;
};

}  // namespace qor::test

#endif  // QOR_TEST_RANDOMTRACE_H
