// text_record_limit.h - text records written by hand: what those of the library are measured
// against.
//
// The same signatures, for strings passed by value are part of what callers were promised, and the
// same texts and answers for every input. A record is one growth of the text and plain copies into
// it; a getter searches the text once and copies what it returns.
#ifndef QOR_BENCH_TEXT_RECORD_LIMIT_H
#define QOR_BENCH_TEXT_RECORD_LIMIT_H

#include <string>
#include <string_view>
#include <vector>

namespace qor::bench {

struct LimitRecord {
    static void SetInt(std::string& text, std::string name, int value);
    static void SetString(std::string& text, std::string name, std::string value);
    static void SetStringArray(std::string& text, std::string name,
                               std::vector<std::string> values);

    static void GetInt(std::string text, std::string name, int& out);
    static void GetString(std::string text, std::string name, std::string& out);
    static void GetStringArray(std::string text, std::string name, std::vector<std::string>& out);
};

}  // namespace qor::bench

#endif  // QOR_BENCH_TEXT_RECORD_LIMIT_H
