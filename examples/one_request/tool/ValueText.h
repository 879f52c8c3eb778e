// ValueText.h - one property value as a person reads it.
#ifndef ONE_REQUEST_TOOL_VALUETEXT_H
#define ONE_REQUEST_TOOL_VALUETEXT_H

#include <cstddef>
#include <string>

#include <boost/any.hpp>

namespace one_request {

/// The text of a plain value or an array of such; "" for any other. The ending of the name gives
/// the unit: "Bytes" gives "3.9 GiB (4140580864)", "Seconds" gives "2 days 03:14:07". What could
/// confuse a terminal, which is every control character, shows as "?".
std::string ValueText(const std::string& name, const boost::any& value);

/// Columns that a UTF-8 text takes on a terminal, one for each character.
std::size_t DisplayWidth(const std::string& text);

}  // namespace one_request

#endif  // ONE_REQUEST_TOOL_VALUETEXT_H
