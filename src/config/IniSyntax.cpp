#include "config/IniSyntax.h"

namespace qor::ini {

std::string_view ListedName(std::string_view header)
{
    const std::string_view text = header.substr(1);
    return text.substr(0, text.rfind(']'));
}

}  // namespace qor::ini
