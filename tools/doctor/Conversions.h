// Conversions.h - the printf(3) conversions of a message text.
#ifndef DOCTOR_CONVERSIONS_H
#define DOCTOR_CONVERSIONS_H

#include <string>
#include <vector>

namespace doctor {

struct Conversion {
    enum class Kind {
        kArgument,    ///< takes an argument
        kPercent,     ///< "%%"
        kStore,       ///< "%n"
        kErrorText,   ///< "%m", which takes no argument
        kUnknown,     ///< printf(3) shows it as it stands
        kIncomplete,  ///< the text ends inside it
    };

    Kind kind;
    std::string text;    ///< as it stands, from the percent sign on
    bool hasBlank;       ///< the flag " ", as of "100% done"
    std::string type;    ///< of the argument: "int", "long", "double", "char*", ...
    int position;        ///< of the argument by "%2$s", from 1; 0: the next one
    int leadingNumbers;  ///< arguments for "*", of type int
};

std::vector<Conversion> ConversionsOf(const std::string& text);

/// Whether the library takes the text for one with "%n", in any form that a C library may know:
/// such a text is written as it stands.
bool MayStore(const std::string& text);

/// The types of the arguments that a text takes, in their order.
std::vector<std::string> ArgumentTypes(const std::vector<Conversion>& conversions);

}  // namespace doctor

#endif  // DOCTOR_CONVERSIONS_H
