// ini_limit.h - INI files by bare system calls: the least work that gives the same answers and the
// same bytes. The signatures are those of IniContender.
//
// Each reading opens, reads block by block as far as the answer needs, and closes; a file is not
// mapped, since its writer truncates it. Headers are found by their "[" alone: memchr(3) goes over
// everything else, and only a "[" that is followed by the wanted name is looked at again, for
// whether a line or a 255-byte piece of one begins there. The lines of the wanted section are taken
// one by one. Each update reads once and writes once; what stays is written from where it was read.
#ifndef QOR_BENCH_INI_LIMIT_H
#define QOR_BENCH_INI_LIMIT_H

#include <list>
#include <string>

#include "CTraceUtilityCom.h"

namespace qor::bench {

std::string LimitValue(const char* path, const std::string& section, const std::string& key);

std::list<std::string> LimitSections(const char* path);

// As GetPrivateProfileStringA.
void LimitProfileString(const char* section, const char* key, const char* defaultValue,
                        char* buffer, std::size_t size, const char* path);

bool LimitWrite(const char* path, const std::string& section, const std::string& key,
                const std::string& value);

// Each file is read at once and gone through in one pass, which fills the map. What a section lacks
// comes from the section before it; the catalogue must name each section once.
Setting_Info* LimitSettings();

}  // namespace qor::bench

#endif  // QOR_BENCH_INI_LIMIT_H
