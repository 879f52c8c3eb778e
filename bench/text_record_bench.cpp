// Text records: 1 to 1,000 built, one value read among them, arrays of strings.
//
// The limit is the code of text_record_limit.h. The record read is the last one. Of an array every
// tenth element holds a ";".
#include <benchmark/benchmark.h>

#include <string>
#include <type_traits>

#include "IWbemClassObject.h"
#include "object_values.h"
#include "support/Register.h"
#include "text_record_limit.h"
#include "text_record_peers.h"

namespace {

using namespace qor::bench;

Strings MakeElements(std::size_t count)
{
    Strings elements;
    for (std::size_t i = 0; i < count; ++i)
        elements.push_back((i % 10 == 0 ? "ele;ment " : "element ") + std::to_string(1000 + i));
    elements.back() = "last";  // Intended: the reader cuts the last one at a ";"
    return elements;
}

// Each subject writes values into a text of its own kind, and reads them from it.

// The library and the limit, which have the same functions; the peers are in text_record_peers.h.
template <typename Functions>
struct Records {
    using Text = std::string;

    static Text Write(const Properties& properties)
    {
        Text text;
        for (const Property& property : properties) {
            if (property.isText)
                Functions::SetString(text, property.name, property.text);
            else
                Functions::SetInt(text, property.name, property.number);
        }
        return text;
    }
    static Text Write(const std::string& name, const Strings& elements)
    {
        Text text;
        Functions::SetStringArray(text, name, elements);
        return text;
    }
    static void Read(const Text& text, const std::string& name, int& out)
    {
        Functions::GetInt(text, name, out);
    }
    static void Read(const Text& text, const std::string& name, std::string& out)
    {
        Functions::GetString(text, name, out);
    }
    static void Read(const Text& text, const std::string& name, Strings& out)
    {
        Functions::GetStringArray(text, name, out);
    }
};

using Ours = Records<IWbemClassObject>;
using Limit = Records<LimitRecord>;

template <typename Subject>
constexpr bool kIsRecord =
    std::is_same<Subject, Ours>::value || std::is_same<Subject, Limit>::value;

template <typename Subject>
bool Holds(const typename Subject::Text& text, const Properties& properties)
{
    for (const Property& property : properties) {
        int number = -1;
        std::string read;
        if (property.isText)
            Subject::Read(text, property.name, read);
        else
            Subject::Read(text, property.name, number);
        if (property.isText ? read != property.text : number != property.number)
            return false;
    }
    return true;
}

// What is written reads back; the limit writes the library's bytes.
template <typename Subject>
bool IsRight(const Properties& properties)
{
    const auto text = Subject::Write(properties);
    if constexpr (kIsRecord<Subject>) {
        if (text != Ours::Write(properties))
            return false;
    }
    return Holds<Subject>(text, properties);
}

template <typename Subject>
bool IsRight(const Strings& elements)
{
    const auto text = Subject::Write("List", elements);
    if constexpr (kIsRecord<Subject>) {
        if (text != Ours::Write("List", elements))
            return false;
    }
    Strings read;
    Subject::Read(text, "List", read);
    return read == elements;
}

template <typename Subject>
void Build(benchmark::State& state, std::size_t count)
{
    const Properties properties = MakeProperties(count, true);
    if (!IsRight<Subject>(properties))
        return state.SkipWithError("other values than those written");
    for (auto _ : state) {
        const auto text = Subject::Write(properties);
        benchmark::DoNotOptimize(&text);
        benchmark::ClobberMemory();
    }
}

template <typename Subject, typename Type>
void Get(benchmark::State& state, std::size_t count)
{
    const Properties properties = MakeProperties(count, std::is_same<Type, std::string>::value);
    if (!IsRight<Subject>(properties))
        return state.SkipWithError("other values than those written");

    const auto text = Subject::Write(properties);
    const std::string& name = properties.back().name;
    Type out{};
    for (auto _ : state) {
        Subject::Read(text, name, out);
        benchmark::DoNotOptimize(out);
    }
}

template <typename Subject>
void BuildArray(benchmark::State& state, std::size_t count)
{
    const Strings elements = MakeElements(count);
    if (!IsRight<Subject>(elements))
        return state.SkipWithError("other elements than those written");
    const std::string name = "List";
    for (auto _ : state) {
        const auto text = Subject::Write(name, elements);
        benchmark::DoNotOptimize(&text);
        benchmark::ClobberMemory();
    }
}

template <typename Subject>
void GetArray(benchmark::State& state, std::size_t count)
{
    const Strings elements = MakeElements(count);
    if (!IsRight<Subject>(elements))
        return state.SkipWithError("other elements than those written");
    const std::string name = "List";
    const auto text = Subject::Write(name, elements);
    for (auto _ : state) {
        Strings out;
        Subject::Read(text, name, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

template <typename Subject>
void RegisterSubject(const std::string& who)
{
    for (const std::size_t count : {1U, 10U, 100U, 1000U}) {
        const std::string size = std::to_string(count);
        Register("record.build." + size, who, Build<Subject>, count);
        Register("record.get_int." + size, who, Get<Subject, int>, count);
        Register("record.get_string." + size, who, Get<Subject, std::string>, count);
        if (count > 1) {
            Register("record.array.build." + size, who, BuildArray<Subject>, count);
            Register("record.array.get." + size, who, GetArray<Subject>, count);
        }
    }
}

const bool kRegistered = [] {
    RegisterSubject<Ours>("ours");
    RegisterSubject<Limit>("limit");
    RegisterSubject<MapOfVariant>("std::map");
    RegisterSubject<Json>("nlohmann");
    RegisterSubject<Variant>("GVariant");
    return true;
}();

}  // namespace
