// Options.h - the command line of proof programs that know their cases by name.
#ifndef QOR_PROOF_OPTIONS_H
#define QOR_PROOF_OPTIONS_H

#include <stdexcept>
#include <string>

namespace qor::proof {

struct Options {
    bool isLong = false;     // the long form
    bool isVerbose = false;  // each case is told
    bool namesOnly = false;  // the names of the cases, nothing run
    std::string id;          // the only case to run; empty: all
};

// Throws std::runtime_error for an option that is none.
inline Options ParseOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--long")
            options.isLong = true;
        else if (option == "--verbose")
            options.isVerbose = true;
        else if (option == "--names")
            options.namesOnly = true;
        else if (option == "--case" && i + 1 < argc)
            options.id = argv[++i];
        else
            throw std::runtime_error("unknown option " + option);
    }
    return options;
}

}  // namespace qor::proof

#endif  // QOR_PROOF_OPTIONS_H
