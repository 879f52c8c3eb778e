// Text.h - texts of unknown origin, made fit for a terminal and for JSON.
#ifndef DOCTOR_TEXT_H
#define DOCTOR_TEXT_H

#include <string>
#include <string_view>

namespace doctor {

/// With control characters as "\x1b", so that a file's text cannot steer a terminal.
std::string Printable(std::string_view text);

/// A JSON string (RFC 8259), quotation marks included. Bytes that are no UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);

/// In quotation marks, as it is.
std::string Quoted(std::string_view text);

/// "[name]"
std::string Bracketed(std::string_view name);

}  // namespace doctor

#endif  // DOCTOR_TEXT_H
