// Class objects: built, copied deeply, asked for a string or an int among
// 1 to 1,000 properties.
//
// The limit is the bag of object_limit.h.
//
// Every object has int and string properties by turns, the last one being the one asked for: each
// search walks the whole list.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "CIWbemUtil.h"
#include "IWbemClassObject.h"
#include "object_limit.h"
#include "object_peers.h"
#include "object_values.h"
#include "support/Register.h"

namespace {

using namespace qor::bench;

// Each subject fills a bag with properties, and gets one's value, as its users would do it; the
// peers are in object_peers.h.

struct Ours {
    using Bag = IWbemClassObject;

    static void Fill(Bag& bag, const Properties& properties)
    {
        for (const Property& property : properties) {
            if (property.isText)
                CIWbemUtil::setStringToIWbemClassObject(&bag, property.name.c_str(), property.text);
            else
                CIWbemUtil::setIntToIWbemClassObject(&bag, property.name.c_str(), property.number);
        }
    }
    static bool Get(Bag& bag, const char* name, int& out)
    {
        return CIWbemUtil::getIntFromIWbemClassObject(&bag, name, &out) == 0;
    }
    static bool Get(Bag& bag, const char* name, std::string& out)
    {
        return CIWbemUtil::getStringFromIWbemClassObject(&bag, name, &out) == 0;
    }
    static void Nest(Bag& bag, const char* name, Bag& nested)
    {
        CIWbemUtil::setParameterClassToIWbemClassObject(&bag, name, &nested);
    }
    static Bag* Nested(Bag& bag, const char* name)
    {
        Bag* nested = nullptr;
        CIWbemUtil::getParameterClassFromIWbemClassObject(&bag, name, &nested);
        return nested;
    }
    static void Release(Bag& bag) { bag.Release(); }
};

struct Limit {
    using Bag = LimitBag;

    static void Fill(Bag& bag, const Properties& properties)
    {
        for (const Property& property : properties) {
            if (property.isText)
                bag.SetString(property.name.c_str(), property.text);
            else
                bag.SetInt(property.name.c_str(), property.number);
        }
    }
    static bool Get(const Bag& bag, const char* name, int& out)
    {
        return bag.GetInt(name, &out) == 0;
    }
    static bool Get(const Bag& bag, const char* name, std::string& out)
    {
        return bag.GetString(name, &out) == 0;
    }
    static void Nest(Bag& bag, const char* name, Bag& nested) { bag.SetObject(name, &nested); }
    static Bag* Nested(Bag& bag, const char* name)
    {
        Bag* nested = nullptr;
        bag.GetObject(name, &nested);
        return nested;
    }
    static void Release(Bag& bag) { bag.Release(); }
};

// Takes what memory others freed. An object made meanwhile lies in one row, and whoever searches it
// meets the same caches, whatever was measured before.
class UsedUpHeap
{
public:
    UsedUpHeap()
    {
        for (int i = 0; i < 4096; ++i) {
            for (const std::size_t size : {24U, 56U})  // a value, an entry of the list
                blocks_.push_back(std::make_unique<char[]>(size));
        }
    }

private:
    std::vector<std::unique_ptr<char[]>> blocks_;
};

template <typename Subject>
bool Holds(typename Subject::Bag& bag, const Properties& properties)
{
    for (const Property& property : properties) {
        int number = -1;
        std::string text;
        const bool same =
            property.isText
                ? Subject::Get(bag, property.name.c_str(), text) && text == property.text
                : Subject::Get(bag, property.name.c_str(), number) && number == property.number;
        if (!same)
            return false;
    }
    return true;
}

// From nothing to N properties, and freed again.
template <typename Subject>
void Build(benchmark::State& state, std::size_t count)
{
    const Properties properties = MakeProperties(count, true);
    {
        typename Subject::Bag bag;
        Subject::Fill(bag, properties);
        if (!Holds<Subject>(bag, properties))
            return state.SkipWithError("other properties than those put in");
    }
    for (auto _ : state) {
        typename Subject::Bag bag;
        Subject::Fill(bag, properties);
        benchmark::DoNotOptimize(&bag);
        benchmark::ClobberMemory();
    }
}

// A copy of N properties, released and freed.
template <typename Subject>
void Copy(benchmark::State& state, std::size_t count)
{
    const Properties properties = MakeProperties(count, true);
    typename Subject::Bag bag;
    Subject::Fill(bag, properties);
    if (typename Subject::Bag copy(bag); !Holds<Subject>(copy, properties))
        return state.SkipWithError("a copy with other properties");
    for (auto _ : state) {
        typename Subject::Bag copy(bag);
        benchmark::DoNotOptimize(&copy);
        benchmark::ClobberMemory();
        Subject::Release(copy);
    }
}

// As above, the object holding three nested objects of as many properties each.
template <typename Subject>
void CopyNested(benchmark::State& state, std::size_t count)
{
    const Properties properties = MakeProperties(count, true);
    typename Subject::Bag bag;
    typename Subject::Bag nested;
    Subject::Fill(bag, properties);
    Subject::Fill(nested, properties);
    for (const char* const name : {"First", "Second", "Third"})
        Subject::Nest(bag, name, nested);
    {
        typename Subject::Bag copy(bag);
        typename Subject::Bag* const third = Subject::Nested(copy, "Third");
        if (third == Subject::Nested(bag, "Third") || !Holds<Subject>(copy, properties) ||
            !Holds<Subject>(*third, properties))
            return state.SkipWithError("a copy with other properties");
        Subject::Release(copy);
    }
    for (auto _ : state) {
        typename Subject::Bag copy(bag);
        benchmark::DoNotOptimize(&copy);
        benchmark::ClobberMemory();
        Subject::Release(copy);
    }
    Subject::Release(bag);
}

// The last of N properties.
template <typename Subject, typename Type>
void Get(benchmark::State& state, std::size_t count)
{
    const Properties properties = MakeProperties(count, std::is_same<Type, std::string>::value);
    typename Subject::Bag bag;
    {
        const UsedUpHeap heap;
        Subject::Fill(bag, properties);
    }
    if (!Holds<Subject>(bag, properties))
        return state.SkipWithError("other properties than those put in");

    const char* const name = properties.back().name.c_str();
    Type out{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(Subject::Get(bag, name, out));
        benchmark::DoNotOptimize(out);
    }
}

template <typename Subject>
void RegisterSubject(const std::string& who)
{
    for (const std::size_t count : {1U, 10U, 100U, 1000U}) {
        const std::string size = std::to_string(count);
        Register("object.build." + size, who, Build<Subject>, count);
        Register("object.get_int." + size, who, Get<Subject, int>, count);
        Register("object.get_string." + size, who, Get<Subject, std::string>, count);
        if constexpr (std::is_copy_constructible<typename Subject::Bag>::value)
            Register("object.copy." + size, who, Copy<Subject>, count);
    }
}

const bool kRegistered = [] {
    RegisterSubject<Ours>("ours");
    RegisterSubject<Limit>("limit");
    RegisterSubject<MapOfVariant>("std::map");
    RegisterSubject<Json>("nlohmann");
    RegisterSubject<Variant>("GVariant");
    Register("object.copy_nested.10", "ours", CopyNested<Ours>, 10);
    Register("object.copy_nested.10", "limit", CopyNested<Limit>, 10);
    Register("object.copy_nested.10", "nlohmann", CopyNested<Json>, 10);
    return true;
}();

}  // namespace
