// ini_limit.h - INI files by bare system calls: the least work that gives the same answers and the
// same bytes.
//
// Each reading opens, reads block by block as far as the answer needs, and closes; a file is not
// mapped, since its writer truncates it. Headers are found by their "[" alone: memchr(3) goes over
// everything else, and only a "[" that is followed by the wanted name is looked at once more, for
// whether a line or a 255-byte piece of one begins there. The lines of the wanted section are
// taken one by one. Each update reads once and writes once, what stays being written from where it
// was read.
#ifndef QOR_BENCH_INI_LIMIT_H
#define QOR_BENCH_INI_LIMIT_H

#include <list>
#include <string>
#include <string_view>

namespace qor::bench {

// As CIniFileReader::find_section.
bool LimitValue(const char* path, std::string_view section, std::string_view key,
                std::string& value);

// As CIniFileReader::list_section.
void LimitSections(const char* path, std::list<std::string>& names);

// As GetPrivateProfileStringA.
void LimitProfileString(const char* section, const char* key, const char* defaultValue,
                        char* buffer, std::size_t size, const char* path);

// As CIniFileWriter::append.
bool LimitWrite(const char* path, std::string_view section, std::string_view key,
                std::string_view value);

}  // namespace qor::bench

#endif  // QOR_BENCH_INI_LIMIT_H
