// Text.h - looking at texts, and making those of unknown origin fit for a terminal and for JSON.
#ifndef DOCTOR_TEXT_H
#define DOCTOR_TEXT_H

#include <string>
#include <string_view>

namespace doctor {

/// With control characters as "\x1b", so that a file's text cannot steer a terminal.
std::string Printable(std::string_view text);

/// A JSON string (RFC 8259), quotation marks included. Bytes that are no UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);

bool StartsWith(const std::string& text, const std::string& start);
bool EndsWith(const std::string& text, const std::string& end);
bool Contains(const std::string& text, const char* part);

/// Nor with a carriage return or tab at its end.
std::string WithoutBlanksAtEnd(const std::string& text);

}  // namespace doctor

#endif  // DOCTOR_TEXT_H
