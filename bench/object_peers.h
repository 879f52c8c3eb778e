// object_peers.h - what one would use in place of a class object, each in its users' way.
#ifndef QOR_BENCH_OBJECT_PEERS_H
#define QOR_BENCH_OBJECT_PEERS_H

#include <glib.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <variant>

#include "object_values.h"

namespace qor::bench {

struct MapOfVariant {
    struct Bag;
    using Value = std::variant<int, unsigned, long, unsigned long, bool, std::string,
                               std::shared_ptr<const Bag>>;
    struct Bag {
        std::map<std::string, Value, std::less<>> values;
    };

    static void Fill(Bag& bag, const Properties& properties)
    {
        for (const Property& property : properties) {
            if (property.isText)
                bag.values.emplace(property.name, property.text);
            else
                bag.values.emplace(property.name, property.number);
        }
    }
    template <typename Type>
    static bool Get(const Bag& bag, const char* name, Type& out)
    {
        const auto found = bag.values.find(std::string_view(name));
        const Type* const value =
            found == bag.values.end() ? nullptr : std::get_if<Type>(&found->second);
        if (value != nullptr)
            out = *value;
        return value != nullptr;
    }
    static void Release(const Bag&) {}
};

struct Json {
    using Bag = nlohmann::json;

    static void Fill(Bag& bag, const Properties& properties)
    {
        for (const Property& property : properties) {
            if (property.isText)
                bag[property.name] = property.text;
            else
                bag[property.name] = property.number;
        }
    }
    template <typename Type>
    static bool Get(const Bag& bag, const char* name, Type& out)
    {
        const auto found = bag.find(name);
        if (found != bag.end())
            found->get_to(out);
        return found != bag.end();
    }
    static void Nest(Bag& bag, const char* name, const Bag& nested) { bag[name] = nested; }
    static Bag* Nested(Bag& bag, const char* name) { return &bag.at(name); }
    static void Release(const Bag&) {}
};

// Immutable once built: a copy is one more reference, so only the other operations are measured.
struct Variant {
    class Bag
    {
    public:
        Bag() = default;
        Bag(const Bag&) = delete;
        Bag& operator=(const Bag&) = delete;
        ~Bag()
        {
            if (value != nullptr)
                g_variant_unref(value);
        }
        GVariant* value = nullptr;
    };

    static void Fill(Bag& bag, const Properties& properties)
    {
        GVariantDict dictionary;
        g_variant_dict_init(&dictionary, nullptr);
        for (const Property& property : properties) {
            if (property.isText)
                g_variant_dict_insert(&dictionary, property.name.c_str(), "s",
                                      property.text.c_str());
            else
                g_variant_dict_insert(&dictionary, property.name.c_str(), "i", property.number);
        }
        bag.value = g_variant_ref_sink(g_variant_dict_end(&dictionary));
    }
    static bool Get(const Bag& bag, const char* name, int& out)
    {
        return g_variant_lookup(bag.value, name, "i", &out) != FALSE;
    }
    static bool Get(const Bag& bag, const char* name, std::string& out)
    {
        const char* text = nullptr;
        const bool found = g_variant_lookup(bag.value, name, "&s", &text) != FALSE;
        if (found)
            out = text;
        return found;
    }
    static void Release(const Bag&) {}
};

}  // namespace qor::bench

#endif  // QOR_BENCH_OBJECT_PEERS_H
