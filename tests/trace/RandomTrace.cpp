#include "trace/RandomTrace.h"

namespace qor::test {
namespace {

constexpr std::size_t kPiece = 255;

const std::vector<std::string> kStamps = {
    "2026/11/15 08:29:18", "2026/11/15 08:29:19", "2026/11/15 08:29:17",
    "2025/12/31 23:59:59", "2027/01/01 00:00:00", "    /  /     :  :  ",
};

}  // namespace

// Texts are put together by statements: the operands of "+" are evaluated in any order.
std::string RandomTrace::Log()
{
    const std::size_t records = OneIn(40) ? 200 + Below(700) : Below(14);
    std::string content;
    for (std::size_t i = 0; i < records; ++i) {
        content += Record();
        if (!OneIn(20))
            content += OneIn(8) ? "\r\n" : "\n";
    }
    Damage(content);
    return content;
}

std::string RandomTrace::Record()
{
    static const Texts codes = {"0x00000001",
                                "0x00000001",
                                "0x00000002",
                                "0x00000004",
                                "0x80000000",
                                "0xFFFFFFFF",
                                "0xffff0000",
                                "0x00000000",
                                "0x1",
                                "0x",
                                "0xZ",
                                "0x3Z",
                                "00000001",
                                "0X00000001",
                                "00x0000004",
                                "0x0x000002",
                                "x0x0000001",
                                "0x0000000100000000",
                                "0x0000000000000001",
                                "0x00000000000000002",
                                "0x-1",
                                "0x+1",
                                "0xFFFFFFFFFFFFFFFF0",
                                "0x10000000000000000",
                                "-0x1",
                                "no code",
                                "",
                                "0x\t1"};
    static const Texts gaps = {" ", " ", " ", " ", " ", " ", "", "\t", "  "};

    std::string record = OneIn(15) ? "" : OneOf(kStamps);
    record += OneOf(gaps);
    record += OneIn(2) ? codes.front() : OneOf(codes);
    record += OneOf(gaps);
    record += "body " + std::to_string(++values_);
    if (OneIn(6))
        record += Filler();
    if (OneIn(6)) {
        record += " ";
        record += OneOf(codes);
        record += OneOf(gaps);
    }
    // Short ones are rare: a selected one ends the read.
    if (!OneIn(60) && record.size() < 31)
        record.append(31 - record.size(), '.');
    return record;
}

std::string RandomTrace::Date()
{
    if (OneIn(4))
        return OneIn(2) ? "" : "2026-11-15 08:29:18";
    std::string date = OneOf(kStamps);
    if (OneIn(4))
        date += " and more";
    if (OneIn(8))
        date[Below(4)] = '\0';
    return date;
}

unsigned int RandomTrace::ReadType()
{
    static const std::vector<unsigned int> types = {1, 2, 4, 0x80000000U, 0xFFFFFFFFU, 6, 0};
    return OneOf(types);
}

unsigned int RandomTrace::Count()
{
    return OneIn(3) ? static_cast<unsigned int>(Below(6)) : 0x7FFFFFFFU;
}

std::string RandomTrace::Settings()
{
    static const Texts names = {"APP_SETTING", "APP_SETTING", "APP", "OTHER"};
    static const Texts keys = {"TraceLevel", "Lang", "Lang2", "lang"};
    static const Texts values = {"1F", "0x40", "EN", "EN", "JP", "EN ", "", "x=y"};
    return IniFile(names, keys, values);
}

std::string RandomTrace::Catalogue()
{
    static const Texts names = {"A", "A", "AB", "ABC", "B", "C", "A]", " A", "[A", ""};
    static const Texts keys = {"FormatEng", "FormatEng", "FormatEng", "Format", "Format",
                               "Type",      "Read",      "Event",     "event",  " Type"};
    static const Texts values = {"", "1", "12 ", "-3x", "fail", "0x1", "a=b", "[A]", "; %s", "\t"};
    return IniFile(names, keys, values);
}

std::string RandomTrace::IniFile(const Texts& names, const Texts& keys, const Texts& values)
{
    const std::size_t lines = OneIn(40) ? 200 + Below(300) : Below(30);
    std::string content;
    for (std::size_t i = 0; i < lines; ++i) {
        if (OneIn(20))
            content += Filler();
        if (OneIn(20))
            content += ";";
        content += OneIn(4) ? Header(names) : KeyLine(keys, values);
        if (!OneIn(30))
            content += OneIn(8) ? "\r\n" : "\n";
    }
    Damage(content);
    return content;
}

std::string RandomTrace::Header(const Texts& names)
{
    static const Texts ends = {"]", "]", "]", "]", "]", "] x", "]]", "] [", "", "B"};
    std::string header = "[";
    header += OneOf(names);
    header += OneOf(ends);
    return header;
}

// Values are numbered, so that none is mistaken for another.
std::string RandomTrace::KeyLine(const Texts& keys, const Texts& values)
{
    static const Texts signs = {"=", "=", "=", " = ", "  =", "=  ", "\t=", " ", "=="};
    std::string line = OneOf(keys);
    line += OneOf(signs);
    if (OneIn(3))
        return line + OneOf(values);
    line += std::to_string(++values_);
    line += OneOf(values);
    if (OneIn(20))
        line += Filler();
    return line;
}

// Long enough to bring what follows near the beginning of a piece, mostly.
std::string RandomTrace::Filler()
{
    std::size_t length = Below(700);
    if (!OneIn(3))
        length = kPiece * (1 + Below(2)) - 60 + Below(64);
    return std::string(length, 'y');
}

void RandomTrace::Damage(std::string& content)
{
    while (OneIn(4) && !content.empty())
        content[Below(content.size())] = '\0';
    if (OneIn(4) && !content.empty())
        content.pop_back();
}

}  // namespace qor::test
