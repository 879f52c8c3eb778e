// The object model: CIWbemUtil.h, IWbemClassObject.h, IWbemObjectManager.h, IWbemObjectSink.h,
// CQorDefs.h.
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CIWbemUtil.h"
#include "CQorDefs.h"
#include "IWbemClassObject.h"
#include "IWbemObjectManager.h"
#include "IWbemObjectSink.h"
#include "leaks/Operations.h"

namespace qor::proof {
namespace {

using Objects = std::vector<IWbemClassObject*>;
using Strings = std::vector<std::string>;
using Util = CIWbemUtil;

const char kLongText[] = "a text that is too long for a string to keep it inside itself";

// Released before it is destroyed, as its header asks.
struct Bag : IWbemClassObject {
    ~Bag() { (void)Release(); }
};

// With a value of every kind.
std::shared_ptr<Bag> FullBag()
{
    auto bag = std::make_shared<Bag>();
    const Strings texts{kLongText, "b"};
    (void)Util::setReturnValueToIWbemClassObject(bag.get(), 7);
    bag->push("int", 1);
    bag->push("long", 2L);
    bag->push("ulong", 3UL);
    bag->push("bool", true);
    bag->push("string", std::string(kLongText));
    bag->push("uints", std::vector<unsigned int>{1, 2});
    bag->push("longs", std::vector<long>{1, 2});
    bag->push("ulongs", std::vector<unsigned long>{1, 2});
    bag->push("bools", std::vector<bool>{true, false});
    (void)Util::setIntArrayToIWbemClassObject(bag.get(), "ints", {1, 2});
    (void)Util::setStringArrayToIWbemClassObject(bag.get(), "strings", &texts);
    IWbemClassObject nested;
    nested.push("inner", std::string(kLongText));
    (void)Util::setParameterClassToIWbemClassObject(bag.get(), "class", &nested);
    return bag;
}

// A bag and a nested one in it, by new.
IWbemClassObject* NewNest()
{
    auto* const bag = new IWbemClassObject;
    IWbemClassObject inner;
    inner.push("text", std::string(kLongText));
    bag->push("inner", &inner);
    return bag;
}

template <typename Value, typename Getter>
void AddGetter(Operations& table, const std::string& name, Getter getter, const char* property)
{
    Add(table, name, [=] {
        return [=, bag = FullBag()] {
            Value value{};
            (void)getter(bag.get(), property, &value);
        };
    });
}

// setter: of a fresh bag.
template <typename Setter>
void AddSetter(Operations& table, const std::string& name, Setter setter)
{
    AddPlain(table, name, [setter] {
        Bag bag;
        setter(&bag);
    });
}

void AddGetters(Operations& table)
{
    const std::string o = "(IWbemClassObject*, char const*, ";
    const std::string u = "CIWbemUtil::";
    AddGetter<int>(table, u + "getIntFromIWbemClassObject" + o + "int*)",
                   &Util::getIntFromIWbemClassObject, "int");
    AddGetter<unsigned int>(table, u + "getUIntFromIWbemClassObject" + o + "unsigned int*)",
                            &Util::getUIntFromIWbemClassObject, "int");
    AddGetter<long>(table, u + "getLongFromIWbemClassObject" + o + "long*)",
                    &Util::getLongFromIWbemClassObject, "long");
    AddGetter<unsigned long>(table, u + "getULongFromIWbemClassObject" + o + "unsigned long*)",
                             &Util::getULongFromIWbemClassObject, "ulong");
    AddGetter<bool>(table, u + "getBoolFromIWbemClassObject" + o + "bool*)",
                    &Util::getBoolFromIWbemClassObject, "bool");
    AddGetter<std::string>(table, u + "getStringFromIWbemClassObject" + o + "string*)",
                           &Util::getStringFromIWbemClassObject, "string");
    AddGetter<std::vector<int>>(table, u + "getIntArrayFromIWbemClassObject" + o + "vector<int>*)",
                                &Util::getIntArrayFromIWbemClassObject, "ints");
    AddGetter<std::vector<unsigned int>>(
        table, u + "getUIntArrayFromIWbemClassObject" + o + "vector<unsigned int>*)",
        &Util::getUIntArrayFromIWbemClassObject, "uints");
    AddGetter<std::vector<long>>(table,
                                 u + "getLongArrayFromIWbemClassObject" + o + "vector<long>*)",
                                 &Util::getLongArrayFromIWbemClassObject, "longs");
    AddGetter<std::vector<unsigned long>>(
        table, u + "getULongArrayFromIWbemClassObject" + o + "vector<unsigned long>*)",
        &Util::getULongArrayFromIWbemClassObject, "ulongs");
    AddGetter<std::vector<bool>>(table,
                                 u + "getBoolArrayFromIWbemClassObject" + o + "vector<bool>*)",
                                 &Util::getBoolArrayFromIWbemClassObject, "bools");
    AddGetter<Strings>(table, u + "getStringArrayFromIWbemClassObject" + o + "vector<string>*)",
                       &Util::getStringArrayFromIWbemClassObject, "strings");
    AddGetter<IWbemClassObject*>(
        table, u + "getParameterClassFromIWbemClassObject" + o + "IWbemClassObject**)",
        &Util::getParameterClassFromIWbemClassObject, "class");
    AddGetter<Objects>(
        table, u + "getParameterClassArrayFromIWbemClassObject" + o + "vector<IWbemClassObject*>*)",
        &Util::getParameterClassArrayFromIWbemClassObject, "class");
    Add(table, u + "getReturnValueFromIWbemClassObject(IWbemClassObject*, long*)", [] {
        return [bag = FullBag()] {
            long value = 0;
            (void)Util::getReturnValueFromIWbemClassObject(bag.get(), &value);
        };
    });
    Add(table, u + "getReturnValueFromIWbemClassObject(IWbemClassObject*, unsigned long*)", [] {
        return [bag = FullBag()] {
            unsigned long value = 0;
            (void)Util::getReturnValueFromIWbemClassObject(bag.get(), &value);
        };
    });
}

void AddSetters(Operations& table)
{
    const std::string o = "(IWbemClassObject*, char const*, ";
    const std::string u = "CIWbemUtil::";
    AddSetter(table, u + "setIntToIWbemClassObject" + o + "int)",
              [](Bag* bag) { (void)Util::setIntToIWbemClassObject(bag, kLongText, 1); });
    AddSetter(table, u + "setUIntToIWbemClassObject" + o + "unsigned int)",
              [](Bag* bag) { (void)Util::setUIntToIWbemClassObject(bag, kLongText, 1); });
    AddSetter(table, u + "setLongToIWbemClassObject" + o + "long)",
              [](Bag* bag) { (void)Util::setLongToIWbemClassObject(bag, kLongText, 1); });
    AddSetter(table, u + "setULongToIWbemClassObject" + o + "unsigned long)",
              [](Bag* bag) { (void)Util::setULongToIWbemClassObject(bag, kLongText, 1); });
    AddSetter(table, u + "setBoolToIWbemClassObject" + o + "bool)",
              [](Bag* bag) { (void)Util::setBoolToIWbemClassObject(bag, kLongText, true); });
    AddSetter(table, u + "setStringToIWbemClassObject" + o + "string)",
              [](Bag* bag) { (void)Util::setStringToIWbemClassObject(bag, kLongText, kLongText); });
    AddSetter(table, u + "setIntArrayToIWbemClassObject" + o + "vector<int>)", [](Bag* bag) {
        (void)Util::setIntArrayToIWbemClassObject(bag, kLongText, {1, 2, 3});
    });
    AddSetter(table, u + "setStringArrayToIWbemClassObject" + o + "vector<string> const*)",
              [](Bag* bag) {
                  const Strings texts{kLongText, "b"};
                  (void)Util::setStringArrayToIWbemClassObject(bag, kLongText, &texts);
              });
    AddSetter(table,
              u + "setStringArrayToIWbemClassObject" + o + "list<pair<string, string>> const*)",
              [](Bag* bag) {
                  const std::list<std::pair<std::string, std::string>> pairs{{kLongText, "b"}};
                  (void)Util::setStringArrayToIWbemClassObject(bag, kLongText, &pairs);
              });
    AddSetter(table, u + "setParameterClassToIWbemClassObject" + o + "IWbemClassObject*)",
              [](Bag* bag) {
                  IWbemClassObject nested;
                  nested.push("text", std::string(kLongText));
                  (void)Util::setParameterClassToIWbemClassObject(bag, kLongText, &nested);
              });
    AddSetter(table, u + "setReturnValueToIWbemClassObject(IWbemClassObject*, unsigned long)",
              [](Bag* bag) { (void)Util::setReturnValueToIWbemClassObject(bag, 1); });

    // Freed by their reader, as the header asks.
    AddSetter(
        table,
        u + "setParameterClassArrayToIWbemClassObject" + o + "vector<IWbemClassObject*> const*)",
        [](Bag* bag) {
            IWbemClassObject first;
            first.push("text", std::string(kLongText));
            const Objects objects{&first, nullptr};
            (void)Util::setParameterClassArrayToIWbemClassObject(bag, "a", &objects);
            Objects read;
            (void)Util::getParameterClassArrayFromIWbemClassObject(bag, "a", &read);
            for (IWbemClassObject* const object : read)
                delete object;
        });
}

void AddClassObject(Operations& table)
{
    const std::string c = "IWbemClassObject::";
    AddPlain(table, c + "IWbemClassObject()", [] { const IWbemClassObject bag; });
    Add(table, c + "IWbemClassObject(IWbemClassObject const&)", [] {
        return [bag = FullBag()] {
            IWbemClassObject copy(*bag);
            (void)copy.Release();
        };
    });
    AddPlain(table, c + "~IWbemClassObject()", [] { delete new IWbemClassObject; });
    AddPlain(table, c + "push(string, boost::any)", [] {
        Bag bag;
        IWbemClassObject nested;
        nested.push("text", std::string(kLongText));
        bag.push(kLongText, &nested);
        bag.push("n", static_cast<IWbemClassObject*>(nullptr));
    });
    Add(table, c + "find(string) const",
        [] { return [bag = FullBag()] { (void)bag->find("string"); }; });
    Add(table, c + "pop(string) const",
        [] { return [bag = FullBag()] { (void)bag->pop("string"); }; });
    Add(table, c + "pop(string, IWbemClassObject*) const",
        [] { return [bag = FullBag()] { (void)bag->pop("string", bag.get()); }; });
    Add(table, c + "getIterator()", [] { return [bag = FullBag()] { (void)bag->getIterator(); }; });
    Add(table, c + "hasNext(_List_iterator<pair<string, boost::any>>) const", [] {
        return [bag = FullBag()] {
            for (auto property = bag->getIterator(); bag->hasNext(property);)
                ++property;
        };
    });
    AddPlain(table, c + "SpawnInstance(long, IWbemClassObject**)", [] {
        IWbemClassObject object;
        IWbemClassObject* made = nullptr;
        (void)object.SpawnInstance(0, &made);
        delete made;
    });
    AddPlain(table, c + "GetMethod(char const*, long, IWbemClassObject**, IWbemClassObject**)", [] {
        IWbemClassObject object;
        IWbemClassObject* made = nullptr;
        (void)object.GetMethod("m", 0, nullptr, &made);
        delete made;
    });
    AddPlain(table, c + "cleanup()", [] {
        IWbemClassObject* const bag = NewNest();
        bag->cleanup();
        delete bag;
    });
    AddPlain(table, c + "Release()", [] {
        IWbemClassObject* const bag = NewNest();
        (void)bag->Release();
        delete bag;
    });
    AddPlain(table, c + "log(bool)", [] {
        IWbemClassObject bag;
        bag.log(true);
    });
}

// setter: appends records to a fresh text.
template <typename Setter>
void AddRecordSetter(Operations& table, const std::string& name, Setter setter)
{
    AddPlain(table, "IWbemClassObject::" + name, [setter] {
        std::string text;
        setter(text);
    });
}

template <typename Value, typename Getter>
void AddRecordGetter(Operations& table, const std::string& name, Getter getter, const char* key)
{
    AddPlain(table, "IWbemClassObject::" + name, [getter, key] {
        Value value{};
        getter(
            "int;n;1;ulong;u;2;bool;b;true;string;s;a text of many, many bytes;"
            "string[];a;one!#two!#three;",
            key, value);
    });
}

void AddTextRecords(Operations& table)
{
    using Object = IWbemClassObject;
    AddRecordSetter(table, "SetInt(string&, string, int)",
                    [](std::string& text) { Object::SetInt(text, kLongText, 1); });
    AddRecordSetter(table, "SetInt(string&, string, string, int)",
                    [](std::string& text) { Object::SetInt(text, "p", kLongText, 1); });
    AddRecordSetter(table, "SetUInt(string&, string, unsigned int)",
                    [](std::string& text) { Object::SetUInt(text, kLongText, 1); });
    AddRecordSetter(table, "SetLong(string&, string, long)",
                    [](std::string& text) { Object::SetLong(text, kLongText, 1); });
    AddRecordSetter(table, "SetULong(string&, string, unsigned long)",
                    [](std::string& text) { Object::SetULong(text, kLongText, 1); });
    AddRecordSetter(table, "SetBool(string&, string, bool)",
                    [](std::string& text) { Object::SetBool(text, kLongText, true); });
    AddRecordSetter(table, "SetBool(string&, string, string, bool)",
                    [](std::string& text) { Object::SetBool(text, "p", kLongText, true); });
    AddRecordSetter(table, "SetString(string&, string, string)",
                    [](std::string& text) { Object::SetString(text, kLongText, "a;b;"); });
    AddRecordSetter(table, "SetString(string&, string, string, string)", [](std::string& text) {
        Object::SetString(text, "p", kLongText, std::string("a;b;"));
    });
    AddRecordSetter(table, "SetStringArray(string&, string, vector<string>)",
                    [](std::string& text) {
                        Object::SetStringArray(text, kLongText, Strings{"a;", kLongText});
                    });
    AddRecordSetter(table, "SetStringArray(string&, string, string, vector<string>)",
                    [](std::string& text) {
                        Object::SetStringArray(text, "p", kLongText, Strings{"a;", kLongText});
                    });
    AddRecordSetter(table, "SetClass(string&, string, IWbemClassObject const&)",
                    [](std::string& text) { Object::SetClass(text, kLongText, Object()); });
    AddRecordSetter(table, "SetClass(string&, string, string, IWbemClassObject const&)",
                    [](std::string& text) { Object::SetClass(text, "p", kLongText, Object()); });
    AddRecordSetter(table, "SetClassArray(string&, string, vector<IWbemClassObject*> const*)",
                    [](std::string& text) {
                        const Objects objects(2);
                        Object::SetClassArray(text, kLongText, &objects);
                    });
    AddRecordSetter(table,
                    "SetClassArray(string&, string, string, vector<IWbemClassObject*> const*)",
                    [](std::string& text) {
                        const Objects objects(2);
                        Object::SetClassArray(text, "p", kLongText, &objects);
                    });
    AddRecordGetter<std::string>(table, "GetString(string, string, string&)", &Object::GetString,
                                 "s");
    AddRecordGetter<int>(table, "GetInt(string, string, int&)", &Object::GetInt, "n");
    AddRecordGetter<long>(table, "GetLong(string, string, long&)", &Object::GetLong, "n");
    AddRecordGetter<unsigned long>(table, "GetULong(string, string, unsigned long&)",
                                   &Object::GetULong, "u");
    AddRecordGetter<bool>(table, "GetBool(string, string, bool&)", &Object::GetBool, "b");
    AddRecordGetter<Strings>(table, "GetStringArray(string, string, vector<string>&)",
                             &Object::GetStringArray, "a");
}

void AddManager(Operations& table)
{
    const std::string m = "IWbemObjectManager::";
    AddPlain(table, m + "IWbemObjectManager()", [] { const IWbemObjectManager manager; });
    AddPlain(table, m + "~IWbemObjectManager()", [] { delete new IWbemObjectManager; });
    AddPlain(table, m + "GetObject(string const&, int, void*, IWbemClassObject**, void**)", [] {
        IWbemObjectManager manager;
        IWbemClassObject* object = nullptr;
        (void)manager.GetObject("p", 0, nullptr, &object, nullptr);
        delete object;
    });
    AddPlain(table, m + "AddObject(IWbemClassObject*)", [] {
        IWbemObjectManager manager;
        manager.AddObject(new IWbemClassObject);
        manager.AddObject(nullptr);
        manager.ReleaseObject();
    });
    AddPlain(table, m + "ReleaseObject()", [] {
        IWbemObjectManager manager;
        IWbemClassObject* const object = NewNest();
        manager.AddObject(object);
        (void)object->Release();
        manager.ReleaseObject();
    });
    AddPlain(table, m + "Release()", [] {
        IWbemObjectManager manager;
        manager.Release();
    });
}

// Lets a sink receive `times` nests.
void Indicate(IWbemObjectSink& sink, int times)
{
    IWbemClassObject* nest = NewNest();
    for (int i = 0; i < times; ++i) {
        (void)sink.Indicate(1, &nest);
        (void)sink.GetOutParam()->Release();  // the nested objects; the sink frees the rest
    }
    (void)nest->Release();
    delete nest;
}

void AddSink(Operations& table)
{
    const std::string s = "IWbemObjectSink::";
    AddPlain(table, s + "IWbemObjectSink()", [] { const IWbemObjectSink sink; });
    AddPlain(table, s + "~IWbemObjectSink()", [] { delete new IWbemObjectSink; });
    AddPlain(table, s + "Indicate(long, IWbemClassObject**)", [] {
        IWbemObjectSink sink;
        Indicate(sink, 3);
    });
    AddPlain(table, s + "GetOutParam()", [] {
        IWbemObjectSink sink;
        Indicate(sink, 1);
    });
    AddPlain(table, s + "SetStatus(long, unsigned long, char*, IWbemClassObject*)", [] {
        IWbemObjectSink sink;
        (void)sink.SetStatus(0, 0, nullptr, nullptr);
    });

    // Of flat objects: the copies have nothing that is to be released.
    const auto flat = [] {
        auto sink = std::make_shared<IWbemObjectSink>();
        IWbemClassObject object;
        object.push("text", std::string(kLongText));
        IWbemClassObject* const objects[] = {&object};
        (void)sink->Indicate(1, const_cast<IWbemClassObject**>(objects));
        return sink;
    };
    Add(table, s + "IWbemObjectSink(IWbemObjectSink const&)",
        [flat] { return [sink = flat()] { const IWbemObjectSink copy(*sink); }; });
    Add(table, s + "operator=(IWbemObjectSink const&)", [flat] {
        return [sink = flat()] {
            IWbemObjectSink other;
            other = *sink;
        };
    });
}

// They export nothing: their members do the work.
void AddRecords(Operations& table)
{
    table.push_back({"CQorDefs.h: records",
                     {},
                     Cost::kCheap,
                     [] {
                         return [] {
                             CVelmora_ToolInfo tool;
                             tool.stringList1 = Strings{kLongText, kLongText};
                             tool.manageModuleInfoList1.resize(2);
                             tool.manageModuleInfoList1[0].manageRepositoryInfoList1.resize(2);
                             CVelmora_ToolProviderManageInfo provider;
                             provider.toolInfoList1 = {tool, tool};
                             const CVelmora_ToolProviderManageInfo copy = provider;
                             CVELMORA_UpdatePlans plans;
                             plans.string9 = copy.toolInfoList1[1].stringList1[0];
                         };
                     },
                     {},
                     {}});
}

Kept KeptByCalls(const std::string& what, std::function<void()> make)
{
    Kept kept;
    kept.what = what;
    kept.heap = [make = std::move(make), one = std::optional<Heap>()](long calls) mutable {
        if (!one)
            one = HeapOf(make);  // the first time, before anything is measured
        return *one * calls;
    };
    return kept;
}

// What is documented to stay, made once more by itself.
void MakeInner()
{
    auto* const inner = new IWbemClassObject;
    inner->push("text", std::string(kLongText));
}

void AddKept(Operations& table)
{
    AddKeeping(
        table, "kept: nested objects of a class object destroyed without Release", {},
        [] { return [] { delete NewNest(); }; },
        KeptByCalls("the nested object with its property", MakeInner));
    AddKeeping(
        table, "kept: elements of a class array that nobody reads", {},
        [] {
            return [] {
                Bag bag;
                IWbemClassObject first;
                first.push("text", std::string(kLongText));
                const Objects objects{&first, nullptr, &first};
                (void)Util::setParameterClassArrayToIWbemClassObject(&bag, "a", &objects);
            };
        },
        KeptByCalls("a copy of each element that is not null", [] {
            MakeInner();
            MakeInner();
        }));
    AddKeeping(
        table, "kept: objects of a manager destroyed without ReleaseObject", {},
        [] {
            return [] {
                IWbemObjectManager manager;
                manager.AddObject(new IWbemClassObject);
            };
        },
        KeptByCalls("the managed object", [] { (void)new IWbemClassObject; }));
    AddKeeping(
        table, "kept: nested objects of objects that ReleaseObject deletes", {},
        [] {
            return [] {
                IWbemObjectManager manager;
                manager.AddObject(NewNest());
                manager.ReleaseObject();
            };
        },
        KeptByCalls("the nested object with its property", MakeInner));
    AddKeeping(
        table, "kept: nested objects of a sink's out parameter", {},
        [] {
            return [nest = NewNest()] {
                IWbemObjectSink sink;
                IWbemClassObject* object = nest;
                (void)sink.Indicate(1, &object);
            };
        },
        KeptByCalls("the nested object with its property", MakeInner));
}

}  // namespace

void AddObjectOperations(Operations& table)
{
    AddGetters(table);
    AddSetters(table);
    AddClassObject(table);
    AddTextRecords(table);
    AddManager(table);
    AddSink(table);
    AddRecords(table);
    AddKept(table);
}

}  // namespace qor::proof
