#include "config/RandomIni.h"

namespace qor::test {
namespace {

constexpr std::size_t kPiece = 255;

}  // namespace

const std::vector<std::string>& RandomIni::Sections()
{
    static const std::vector<std::string> sections = {"a",  "ab", "abc", "net", " net ", "net x",
                                                      "s]", "[a", "A",   "",    "a\n",   "a]\nk"};
    return sections;
}

const std::vector<std::string>& RandomIni::Keys()
{
    static const std::vector<std::string> keys = {"k",  "kk", "key", " k", "k\t", "\tk",
                                                  "[k", ";k", "K",   "k2", ""};
    return keys;
}

std::string RandomIni::File()
{
    const std::size_t lines = OneIn(40) ? 200 + Below(700) : Below(14);
    std::string content;
    for (std::size_t i = 0; i < lines; ++i) {
        content += Line();
        if (!OneIn(20))
            content += OneIn(8) ? "\r\n" : "\n";
    }
    if (OneIn(8))
        content[Below(content.size() + 1)] = '\0';  // the last place is the string's own NUL
    if (OneIn(4) && !content.empty())
        content.pop_back();
    return content;
}

std::string RandomIni::Value()
{
    static const std::vector<std::string> values = {"v",    "",     "two words", "a=b", "; c", "[x",
                                                    "\tv ", "x]\r", "[a]",       " ",   "1"};
    std::string value = OneOf(values) + std::to_string(++values_);
    if (OneIn(30))
        value += std::string(Below(600), 'y');
    return value;
}

const std::string& RandomIni::Common(const std::vector<std::string>& texts)
{
    return texts[Below(OneIn(2) ? 2 : texts.size())];
}

// Texts are put together by statements: the operands of "+" are evaluated in any order.
std::string RandomIni::Line()
{
    std::string line;
    switch (Below(14)) {
        case 0:
        case 1:
        case 2:
        case 3:
            return Header();
        case 4:
            return line.assign(";").append(OneIn(3) ? Header() : KeyLine());
        case 5:
            return OneIn(2) ? "" : "text only";
        case 6:
            line = Filler();
            return line.append(OneIn(2) ? Header() : KeyLine());
        case 7:
            line = KeyLine();
            return line.append(Filler());
        default:
            return KeyLine();
    }
}

std::string RandomIni::Header()
{
    static const std::vector<std::string> ends = {"]",  "]",   "]", "]",  "] x",
                                                  "]]", "] [", "",  "def"};
    std::string header = "[";
    header += Common(Sections());
    header += OneOf(ends);
    return header;
}

std::string RandomIni::KeyLine()
{
    static const std::vector<std::string> indents = {"", "", "", "", " ", "\t"};
    static const std::vector<std::string> signs = {"=", "=", " = ", "  =", "=  ", "\t=", " ", "=="};
    std::string line = OneOf(indents);
    line += Common(Keys());
    line += OneOf(signs);
    line += Value();
    return line;
}

// Long enough to move what follows near the beginning of a piece, mostly.
std::string RandomIni::Filler()
{
    static const std::vector<std::string> begins = {"", ";", "[", "k=", "[a]", "[a"};
    std::string filler = OneOf(begins);
    std::size_t length = Below(3) == 0 ? 0 : 252;
    if (length == 0)
        length = Below(700);
    else if (OneIn(2))
        length += kPiece;
    length += Below(6);
    filler.append(length, 'x');
    return filler;
}

}  // namespace qor::test
