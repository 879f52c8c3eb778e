#include "Text.h"

#include <cstdio>

namespace doctor {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

bool IsControl(unsigned char byte)
{
    return byte < 0x20 || byte == 0x7F;
}

std::string Escaped(const char* format, unsigned char byte)
{
    char text[8];
    (void)std::snprintf(text, sizeof text, format, byte);
    return text;
}

bool IsContinuation(std::string_view text, std::size_t index)
{
    return index < text.size() && (static_cast<unsigned char>(text[index]) & 0xC0) == 0x80;
}

// Length of the UTF-8 character that the text begins with, 0 when it begins with none: RFC 3629,
// without over-long forms, surrogates and what lies above U+10FFFF.
std::size_t CharacterLength(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text, i))
            return 0;
    }
    const auto second = static_cast<unsigned char>(text[1]);
    const bool isForbidden = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                             (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return isForbidden ? 0 : length;
}

}  // namespace

std::string Printable(std::string_view text)
{
    std::string printable;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsControl(byte))
            printable += Escaped("\\x%02x", byte);
        else
            printable += c;
    }
    return printable;
}

std::string JsonString(std::string_view text)
{
    std::string json = "\"";
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        const auto first = static_cast<unsigned char>(text[0]);
        if (length == 0)
            json += kReplacement;
        else if (IsControl(first))
            json += Escaped("\\u%04x", first);
        else if (first == '"' || first == '\\')
            json.append("\\").append(1, text[0]);
        else
            json += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return json + '"';
}

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

std::string WithoutBlanksAtEnd(const std::string& text)
{
    return text.substr(0, text.find_last_not_of(" \t\r") + 1);  // npos + 1 is 0
}

}  // namespace doctor
