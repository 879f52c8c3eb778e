// object_peers.h - what one would use in place of class objects and text records, each as its users
// do.
//
// nlohmann-json as text is JSON, GVariant its binary form. A std::map of std::variant has no text
// at all: beside the records it stands for keeping the values as they are.
#ifndef QOR_BENCH_OBJECT_PEERS_H
#define QOR_BENCH_OBJECT_PEERS_H

#include <glib.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qor::bench {

using Strings = std::vector<std::string>;

// What a subject of object_bench.cpp has unless it declares its own.
struct Subject {
    static constexpr bool kNests = false;

    template <typename Holder>
    static void Finish(Holder&)
    {
    }
    template <typename Holder>
    static void Release(Holder&)
    {
    }
};

struct MapOfVariant : Subject {
    struct Nested;
    using Value = std::variant<int, unsigned, long, unsigned long, bool, std::string, Strings,
                               std::shared_ptr<const Nested>>;
    using Holder = std::map<std::string, Value, std::less<>>;

    template <typename Type>
    static void Put(Holder& values, const std::string& name, const Type& value)
    {
        values.emplace(name, value);
    }
    template <typename Type>
    static bool Get(const Holder& values, const std::string& name, Type& out)
    {
        const auto found = values.find(std::string_view(name));
        const Type* const value =
            found == values.end() ? nullptr : std::get_if<Type>(&found->second);
        if (value != nullptr)
            out = *value;
        return value != nullptr;
    }
};

struct Json : Subject {
    static constexpr bool kNests = true;
    using Holder = nlohmann::json;

    template <typename Type>
    static void Put(Holder& object, const std::string& name, const Type& value)
    {
        object[name] = value;
    }
    template <typename Type>
    static bool Get(const Holder& object, const std::string& name, Type& out)
    {
        const auto found = object.find(name);
        if (found != object.end())
            found->get_to(out);
        return found != object.end();
    }
    static void Nest(Holder& object, const char* name, const Holder& nested)
    {
        object[name] = nested;
    }
    static Holder* Nested(Holder& object, const char* name) { return &object.at(name); }
};

struct JsonText : Subject {
    struct Holder {
        nlohmann::json object;
        std::string text;
    };

    template <typename Type>
    static void Put(Holder& holder, const std::string& name, const Type& value)
    {
        holder.object[name] = value;
    }
    static void Finish(Holder& holder) { holder.text = holder.object.dump(); }
    template <typename Type>
    static bool Get(const Holder& holder, const std::string& name, Type& out)
    {
        nlohmann::json::parse(holder.text).at(name).get_to(out);
        return true;
    }
};

// An "a{sv}". Immutable once built: a copy is one more reference, so none is measured.
struct Variant : Subject {
    class Holder
    {
    public:
        Holder() { g_variant_dict_init(&dictionary, nullptr); }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;
        ~Holder()
        {
            if (value != nullptr)
                g_variant_unref(value);
        }
        GVariantDict dictionary;
        GVariant* value = nullptr;
        std::string bytes;  // of VariantBytes
    };

    static void Put(Holder& holder, const std::string& name, int value)
    {
        g_variant_dict_insert(&holder.dictionary, name.c_str(), "i", value);
    }
    static void Put(Holder& holder, const std::string& name, const std::string& value)
    {
        g_variant_dict_insert(&holder.dictionary, name.c_str(), "s", value.c_str());
    }
    static void Put(Holder& holder, const std::string& name, const Strings& value)
    {
        std::vector<const char*> pointers;
        for (const std::string& element : value)
            pointers.push_back(element.c_str());
        g_variant_dict_insert_value(
            &holder.dictionary, name.c_str(),
            g_variant_new_strv(pointers.data(), static_cast<gssize>(pointers.size())));
    }
    static void Finish(Holder& holder)
    {
        holder.value = g_variant_ref_sink(g_variant_dict_end(&holder.dictionary));
    }
    static bool Get(const Holder& holder, const std::string& name, int& out)
    {
        return Look(holder.value, name, out);
    }
    static bool Get(const Holder& holder, const std::string& name, std::string& out)
    {
        return Look(holder.value, name, out);
    }

    static bool Look(GVariant* value, const std::string& name, int& out)
    {
        return g_variant_lookup(value, name.c_str(), "i", &out) != FALSE;
    }
    static bool Look(GVariant* value, const std::string& name, std::string& out)
    {
        const char* text = nullptr;
        const bool found = g_variant_lookup(value, name.c_str(), "&s", &text) != FALSE;
        if (found)
            out = text;
        return found;
    }
    static bool Look(GVariant* value, const std::string& name, Strings& out)
    {
        const char** elements = nullptr;
        if (!g_variant_lookup(value, name.c_str(), "^a&s", &elements))
            return false;
        for (const char** element = elements; *element != nullptr; ++element)
            out.emplace_back(*element);
        g_free(elements);
        return true;
    }
};

struct VariantBytes : Variant {
    static void Finish(Holder& holder)
    {
        GVariant* const value = g_variant_ref_sink(g_variant_dict_end(&holder.dictionary));
        holder.bytes.assign(static_cast<const char*>(g_variant_get_data(value)),
                            g_variant_get_size(value));
        g_variant_unref(value);
    }
    template <typename Type>
    static bool Get(const Holder& holder, const std::string& name, Type& out)
    {
        GVariant* const value = g_variant_ref_sink(
            g_variant_new_from_data(G_VARIANT_TYPE_VARDICT, holder.bytes.data(),
                                    holder.bytes.size(), FALSE, nullptr, nullptr));
        const bool found = Look(value, name, out);
        g_variant_unref(value);
        return found;
    }
};

}  // namespace qor::bench

#endif  // QOR_BENCH_OBJECT_PEERS_H
