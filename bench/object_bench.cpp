// Class objects and text records of 1 to 1,000 values: built, copied deeply, asked for a string, an
// int or an array.
//
// Ints and strings stand by turns. The value asked for is the last one, so that each search goes
// over all of them.
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "CIWbemUtil.h"
#include "IWbemClassObject.h"
#include "object_limit.h"
#include "object_peers.h"
#include "support/Engine.h"

namespace {

using namespace qor::bench;

// Each subject puts values into a holder of its own kind, finishes it, and gets values out of it.
// The peers are in object_peers.h.

// Class objects by the library and by the limit, which have the same functions.
template <typename Object, typename Util>
struct Objects : Subject {
    static constexpr bool kNests = true;
    using Holder = Object;

    static void Put(Holder& object, const std::string& name, int value)
    {
        Util::setIntToIWbemClassObject(&object, name.c_str(), value);
    }
    static void Put(Holder& object, const std::string& name, const std::string& value)
    {
        Util::setStringToIWbemClassObject(&object, name.c_str(), value);
    }
    static bool Get(Holder& object, const std::string& name, int& out)
    {
        return Util::getIntFromIWbemClassObject(&object, name.c_str(), &out) == 0;
    }
    static bool Get(Holder& object, const std::string& name, std::string& out)
    {
        return Util::getStringFromIWbemClassObject(&object, name.c_str(), &out) == 0;
    }
    static void Nest(Holder& object, const char* name, Holder& nested)
    {
        Util::setParameterClassToIWbemClassObject(&object, name, &nested);
    }
    static Holder* Nested(Holder& object, const char* name)
    {
        Holder* nested = nullptr;
        Util::getParameterClassFromIWbemClassObject(&object, name, &nested);
        return nested;
    }
    static void Release(Holder& object) { object.Release(); }
};

// Text records by the library and by the limit, which have the same functions.
template <typename Functions>
struct Records : Subject {
    using Holder = std::string;

    static void Put(Holder& text, const std::string& name, int value)
    {
        Functions::SetInt(text, name, value);
    }
    static void Put(Holder& text, const std::string& name, const std::string& value)
    {
        Functions::SetString(text, name, value);
    }
    static void Put(Holder& text, const std::string& name, const Strings& value)
    {
        Functions::SetStringArray(text, name, value);
    }
    static bool Get(const Holder& text, const std::string& name, int& out)
    {
        Functions::GetInt(text, name, out);
        return true;
    }
    static bool Get(const Holder& text, const std::string& name, std::string& out)
    {
        Functions::GetString(text, name, out);
        return true;
    }
    static bool Get(const Holder& text, const std::string& name, Strings& out)
    {
        Functions::GetStringArray(text, name, out);
        return true;
    }
};

using OurRecords = Records<IWbemClassObject>;

template <typename Value>
struct Property {
    std::string name;
    bool isText;
    int number;
    Value text;
};

// Of `Value` the last one and every second one before it, or ints where those are asked for.
using Properties = std::vector<Property<std::string>>;
using Array = std::vector<Property<Strings>>;

Properties MakeProperties(std::size_t count, bool lastIsText)
{
    Properties properties;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string place = std::to_string(1000 + i);
        properties.push_back({"Property" + place, lastIsText == ((count - i) % 2 != 0),
                              static_cast<int>(1000 + i), "value " + place});
    }
    return properties;
}

// One array, every tenth element of which holds a ";".
Array MakeArray(std::size_t count)
{
    Strings elements;
    for (std::size_t i = 0; i < count; ++i)
        elements.push_back((i % 10 == 0 ? "ele;ment " : "element ") + std::to_string(1000 + i));
    elements.back() = "last";  // Intended: the reader cuts the last one at a ";"
    return {{"List", true, 0, elements}};
}

template <typename Who, typename Values>
void Fill(typename Who::Holder& holder, const Values& properties)
{
    for (const auto& property : properties) {
        if (property.isText)
            Who::Put(holder, property.name, property.text);
        else
            Who::Put(holder, property.name, property.number);
    }
    Who::Finish(holder);
}

// What was put in is read back; of text records, the limit's bytes are the library's.
template <typename Who, typename Values>
bool Holds(typename Who::Holder& holder, const Values& properties)
{
    if constexpr (std::is_same_v<typename Who::Holder, std::string>) {
        std::string expected;
        Fill<OurRecords>(expected, properties);
        if (holder != expected)
            return false;
    }
    for (const auto& property : properties) {
        int number = -1;
        auto text = property.text;
        text.clear();
        const bool same =
            property.isText ? Who::Get(holder, property.name, text) && text == property.text
                            : Who::Get(holder, property.name, number) && number == property.number;
        if (!same)
            return false;
    }
    return true;
}

// Takes what memory others freed. What is made meanwhile lies in one row, and whoever searches it
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

// From nothing to all values, and freed again.
template <typename Who, typename Values>
void Build(benchmark::State& state, const Values& properties)
{
    Measure(
        state,
        [&] {
            typename Who::Holder holder;
            Fill<Who>(holder, properties);
            benchmark::DoNotOptimize(&holder);
            benchmark::ClobberMemory();
        },
        [&] {
            typename Who::Holder holder;
            Fill<Who>(holder, properties);
            return Holds<Who>(holder, properties);
        });
}

// A copy, released and freed; with a holder nested in it three times, if that is asked for.
template <typename Who>
void Copy(benchmark::State& state, const Properties& properties, bool nests)
{
    typename Who::Holder holder;
    typename Who::Holder nested;
    Fill<Who>(holder, properties);
    Fill<Who>(nested, properties);
    if constexpr (Who::kNests) {
        for (const char* const name : {"First", "Second", "Third"}) {
            if (nests)
                Who::Nest(holder, name, nested);
        }
    }
    Measure(
        state,
        [&] {
            typename Who::Holder copy(holder);
            benchmark::DoNotOptimize(&copy);
            benchmark::ClobberMemory();
            Who::Release(copy);
        },
        [&] {
            typename Who::Holder copy(holder);
            bool right = Holds<Who>(copy, properties);
            if constexpr (Who::kNests) {
                if (nests) {
                    typename Who::Holder* const third = Who::Nested(copy, "Third");
                    right = right && third != Who::Nested(holder, "Third") &&
                            Holds<Who>(*third, properties);
                }
            }
            Who::Release(copy);
            return right;
        });
    Who::Release(holder);
}

// The last value.
template <typename Who, typename Type, typename Values>
void Get(benchmark::State& state, const Values& properties)
{
    typename Who::Holder holder;
    {
        const UsedUpHeap heap;
        Fill<Who>(holder, properties);
    }
    const std::string& name = properties.back().name;
    Type out{};
    Measure(
        state,
        [&] {
            if constexpr (std::is_same_v<Type, Strings>)
                out = Strings();  // the library's function appends
            benchmark::DoNotOptimize(Who::Get(holder, name, out));
            benchmark::DoNotOptimize(out);
        },
        [&] { return Holds<Who>(holder, properties); });
}

// The rows that objects and records have in common.
template <typename Who>
void AddBuildAndGet(const std::string& group, const std::string& who, std::size_t count)
{
    const std::string size = "." + std::to_string(count);
    const Properties endingInText = MakeProperties(count, true);
    const Properties endingInNumber = MakeProperties(count, false);
    Add(group + ".build" + size, who, [=](auto& state) { Build<Who>(state, endingInText); });
    Add(group + ".get_int" + size, who, [=](auto& state) { Get<Who, int>(state, endingInNumber); });
    Add(group + ".get_string" + size, who,
        [=](auto& state) { Get<Who, std::string>(state, endingInText); });
}

template <typename Who>
void AddObject(const std::string& who)
{
    for (const std::size_t count : {1U, 10U, 100U, 1000U}) {
        AddBuildAndGet<Who>("object", who, count);
        if constexpr (std::is_copy_constructible_v<typename Who::Holder>)
            Add("object.copy." + std::to_string(count), who,
                [=](auto& state) { Copy<Who>(state, MakeProperties(count, true), false); });
    }
    if constexpr (Who::kNests)
        Add("object.copy_nested.10", who,
            [](auto& state) { Copy<Who>(state, MakeProperties(10, true), true); });
}

template <typename Who>
void AddRecord(const std::string& who)
{
    for (const std::size_t count : {1U, 10U, 100U, 1000U})
        AddBuildAndGet<Who>("record", who, count);
    for (const std::size_t count : {10U, 100U, 1000U}) {
        const std::string size = "." + std::to_string(count);
        Add("record.array.build" + size, who,
            [=](auto& state) { Build<Who>(state, MakeArray(count)); });
        Add("record.array.get" + size, who,
            [=](auto& state) { Get<Who, Strings>(state, MakeArray(count)); });
    }
}

[[maybe_unused]] const bool kRegistered = [] {
    AddObject<Objects<IWbemClassObject, CIWbemUtil>>("ours");
    AddObject<Objects<LimitObject, LimitUtil>>("limit");
    AddObject<MapOfVariant>("std::map");
    AddObject<Json>("nlohmann");
    AddObject<Variant>("GVariant");
    AddRecord<OurRecords>("ours");
    AddRecord<Records<LimitRecord>>("limit");
    AddRecord<MapOfVariant>("std::map");
    AddRecord<JsonText>("nlohmann");
    AddRecord<VariantBytes>("GVariant");
    return true;
}();

}  // namespace
