#include "Conversions.h"

#include <algorithm>
#include <cstdlib>
#include <map>

namespace doctor {
namespace {

constexpr char kDigits[] = "0123456789";
constexpr char kFlags[] = "#0- +'I";
constexpr char kWidth[] = "0123456789*";
constexpr char kLengths[] = "hlLqjztZ";
constexpr int kMaxPosition = 4096;  // NL_ARGMAX of glibc: a position beyond it is a mistake

// Signed and unsigned numbers of one size may stand for each other, unlike sizes.
std::string IntegerType(const std::string& length)
{
    if (length == "l" || length == "z" || length == "Z" || length == "t" || length == "j")
        return "long";
    return length == "ll" || length == "q" || length == "L" ? "long long" : "int";
}

std::string ArgumentType(char type, const std::string& length)
{
    switch (type) {
        case 'd':
        case 'i':
        case 'o':
        case 'u':
        case 'x':
        case 'X':
        case 'b':
        case 'B':
            return IntegerType(length);
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
            return length == "L" ? "long double" : "double";
        case 'c':
            return length == "l" ? "wint_t" : "int";
        case 'C':
            return "wint_t";
        case 's':
            return length == "l" ? "wchar_t*" : "char*";
        case 'S':
            return "wchar_t*";
        case 'p':
            return "void*";
        default:
            return "";
    }
}

Conversion::Kind KindOf(char type, const std::string& argument)
{
    if (type == '%')
        return Conversion::Kind::kPercent;
    if (type == 'n')
        return Conversion::Kind::kStore;
    if (type == 'm')
        return Conversion::Kind::kErrorText;
    return argument.empty() ? Conversion::Kind::kUnknown : Conversion::Kind::kArgument;
}

// A text's characters, taken from the front.
class Scanner
{
public:
    Scanner(const std::string& text, std::size_t begin) : text_(text), next_(begin) {}

    std::string TakeAll(const char* characters)
    {
        const std::size_t end = std::min(text_.find_first_not_of(characters, next_), text_.size());
        const std::string taken = text_.substr(next_, end - next_);
        next_ = end;
        return taken;
    }
    bool TakeOne(char character)
    {
        const bool is = next_ < text_.size() && text_[next_] == character;
        next_ += is ? 1 : 0;
        return is;
    }
    // NUL at the end of the text.
    char TakeAny() { return next_ < text_.size() ? text_[next_++] : '\0'; }
    std::size_t Next() const { return next_; }
    void Back(std::size_t next) { next_ = next; }

private:
    const std::string& text_;
    std::size_t next_;
};

int TakePosition(Scanner& scanner)
{
    const std::size_t begin = scanner.Next();
    const std::string digits = scanner.TakeAll(kDigits);
    if (!digits.empty() && scanner.TakeOne('$'))
        return static_cast<int>(
            std::min<long>(std::strtol(digits.c_str(), nullptr, 10), kMaxPosition));
    scanner.Back(begin);
    return 0;
}

// percent: the place of the percent sign. Width and precision by position ("%*1$d") are not told
// from others: no catalogue needs them.
Conversion Parse(const std::string& text, std::size_t percent, std::size_t& end)
{
    Scanner scanner(text, percent + 1);
    Conversion conversion{};
    conversion.position = TakePosition(scanner);
    conversion.hasBlank = scanner.TakeAll(kFlags).find(' ') != std::string::npos;
    std::string numbers = scanner.TakeAll(kWidth);
    if (scanner.TakeOne('.'))
        numbers += scanner.TakeAll(kWidth);
    conversion.leadingNumbers = static_cast<int>(std::count(numbers.begin(), numbers.end(), '*'));
    const std::string length = scanner.TakeAll(kLengths);
    const char type = scanner.TakeAny();

    end = scanner.Next();
    conversion.type = ArgumentType(type, length);
    conversion.kind = type == '\0' ? Conversion::Kind::kIncomplete : KindOf(type, conversion.type);
    conversion.text = text.substr(percent, end - percent);
    return conversion;
}

}  // namespace

std::vector<Conversion> ConversionsOf(const std::string& text)
{
    std::vector<Conversion> conversions;
    std::size_t end = 0;
    for (std::size_t percent; (percent = text.find('%', end)) != std::string::npos;)
        conversions.push_back(Parse(text, percent, end));
    return conversions;
}

std::vector<std::string> ArgumentTypes(const std::vector<Conversion>& conversions)
{
    std::map<int, std::string> types;
    int next = 1;
    for (const Conversion& conversion : conversions) {
        if (conversion.kind != Conversion::Kind::kArgument)
            continue;
        for (int i = 0; i < conversion.leadingNumbers; ++i)
            types[next++] = "int";
        types[conversion.position > 0 ? conversion.position : next++] = conversion.type;
    }
    std::vector<std::string> ordered;
    for (const auto& type : types)
        ordered.push_back(type.second);
    return ordered;
}

}  // namespace doctor
