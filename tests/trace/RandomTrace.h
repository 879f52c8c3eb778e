// RandomTrace.h - logs, settings and catalogues out of a seed: ordinary ones, and all the trouble
// that files can make.
//
//     for (unsigned seed = 1; seed <= kRandomTraces; ++seed) {
//         RandomTrace random(seed);
//         const std::string log = random.Log();
//         ... << RandomTrace::Describe(seed, log);
//     }
#ifndef QOR_TEST_RANDOMTRACE_H
#define QOR_TEST_RANDOMTRACE_H

#include <random>
#include <string>
#include <vector>

#include "support/RandomCases.h"

namespace qor::test {

inline const unsigned kRandomTraces = RandomCases(100);

class RandomTrace
{
public:
    // The same seed gives the same texts on every machine.
    explicit RandomTrace(unsigned seed) : engine_(seed) {}

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

    // For a failure's message.
    static std::string Describe(unsigned seed, const std::string& content);

private:
    using Texts = std::vector<std::string>;

    std::size_t Below(std::size_t limit) { return engine_() % limit; }
    bool OneIn(std::size_t chances) { return Below(chances) == 0; }
    const std::string& OneOf(const Texts& texts) { return texts[Below(texts.size())]; }

    std::string Record();
    std::string IniFile(const Texts& names, const Texts& keys, const Texts& values);
    std::string Header(const Texts& names);
    std::string KeyLine(const Texts& keys, const Texts& values);
    std::string Filler();
    void Damage(std::string& content);

    std::mt19937 engine_;
    int values_ = 0;
};

}  // namespace qor::test

#endif  // QOR_TEST_RANDOMTRACE_H
