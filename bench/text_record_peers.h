// text_record_peers.h - what one would use in place of text records, each in its users' way.
//
// nlohmann-json writes and parses JSON, GVariant its binary form. A std::map of std::variant has no
// text at all: it stands for keeping the values as they are.
#ifndef QOR_BENCH_TEXT_RECORD_PEERS_H
#define QOR_BENCH_TEXT_RECORD_PEERS_H

#include <glib.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>
#include <vector>

#include "object_values.h"

namespace qor::bench {

using Strings = std::vector<std::string>;

struct MapOfVariant {
    using Text = std::map<std::string, std::variant<int, long, bool, std::string, Strings>>;

    static Text Write(const Properties& properties)
    {
        Text text;
        for (const Property& property : properties) {
            if (property.isText)
                text.emplace(property.name, property.text);
            else
                text.emplace(property.name, property.number);
        }
        return text;
    }
    static Text Write(const std::string& name, const Strings& elements)
    {
        Text text;
        text.emplace(name, elements);
        return text;
    }
    template <typename Type>
    static void Read(const Text& text, const std::string& name, Type& out)
    {
        const auto found = text.find(name);
        if (found == text.end())
            return;
        if (const Type* const value = std::get_if<Type>(&found->second))
            out = *value;
    }
};

struct Json {
    using Text = std::string;

    static Text Write(const Properties& properties)
    {
        nlohmann::json object;
        for (const Property& property : properties) {
            if (property.isText)
                object[property.name] = property.text;
            else
                object[property.name] = property.number;
        }
        return object.dump();
    }
    static Text Write(const std::string& name, const Strings& elements)
    {
        return nlohmann::json{{name, elements}}.dump();
    }
    template <typename Type>
    static void Read(const Text& text, const std::string& name, Type& out)
    {
        nlohmann::json::parse(text).at(name).get_to(out);
    }
};

struct Variant {
    using Text = std::string;  // the bytes of an "a{sv}"

    static Text Bytes(GVariantDict& dictionary)
    {
        GVariant* const value = g_variant_ref_sink(g_variant_dict_end(&dictionary));
        Text bytes(static_cast<const char*>(g_variant_get_data(value)), g_variant_get_size(value));
        g_variant_unref(value);
        return bytes;
    }
    static Text Write(const Properties& properties)
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
        return Bytes(dictionary);
    }
    static Text Write(const std::string& name, const Strings& elements)
    {
        std::vector<const char*> pointers;
        for (const std::string& element : elements)
            pointers.push_back(element.c_str());
        GVariantDict dictionary;
        g_variant_dict_init(&dictionary, nullptr);
        g_variant_dict_insert_value(
            &dictionary, name.c_str(),
            g_variant_new_strv(pointers.data(), static_cast<gssize>(pointers.size())));
        return Bytes(dictionary);
    }
    static GVariant* Parse(const Text& text)
    {
        return g_variant_ref_sink(g_variant_new_from_data(G_VARIANT_TYPE_VARDICT, text.data(),
                                                          text.size(), FALSE, nullptr, nullptr));
    }
    static void Read(const Text& text, const std::string& name, int& out)
    {
        GVariant* const object = Parse(text);
        g_variant_lookup(object, name.c_str(), "i", &out);
        g_variant_unref(object);
    }
    static void Read(const Text& text, const std::string& name, std::string& out)
    {
        GVariant* const object = Parse(text);
        const char* found = nullptr;
        if (g_variant_lookup(object, name.c_str(), "&s", &found))
            out = found;
        g_variant_unref(object);
    }
    static void Read(const Text& text, const std::string& name, Strings& out)
    {
        GVariant* const object = Parse(text);
        const char** found = nullptr;
        if (g_variant_lookup(object, name.c_str(), "^a&s", &found)) {
            for (const char** element = found; *element != nullptr; ++element)
                out.emplace_back(*element);
            g_free(found);
        }
        g_variant_unref(object);
    }
};

}  // namespace qor::bench

#endif  // QOR_BENCH_TEXT_RECORD_PEERS_H
