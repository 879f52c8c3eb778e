// object_values.h - what the objects and records of the benchmarks hold.
#ifndef QOR_BENCH_OBJECT_VALUES_H
#define QOR_BENCH_OBJECT_VALUES_H

#include <cstddef>
#include <string>
#include <vector>

namespace qor::bench {

struct Property {
    std::string name;
    bool isText;
    int number;
    std::string text;
};

using Properties = std::vector<Property>;

// Ints and strings by turns; the last one holds text or a number as told.
inline Properties MakeProperties(std::size_t count, bool lastIsText)
{
    Properties properties;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string place = std::to_string(1000 + i);
        properties.push_back({"Property" + place, lastIsText == ((count - i) % 2 != 0),
                              static_cast<int>(1000 + i), "value " + place});
    }
    return properties;
}

}  // namespace qor::bench

#endif  // QOR_BENCH_OBJECT_VALUES_H
