// The object model, which touches memory alone: what fails leaves the objects as they were.
#include <list>
#include <optional>

#include "CIWbemUtil.h"
#include "CQorDefs.h"
#include "IWbemClassObject.h"
#include "IWbemObjectManager.h"
#include "IWbemObjectSink.h"
#include "proof/operations/Operation.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

using Object = IWbemClassObject;
using Objects = std::vector<IWbemClassObject*>;
using Strings = std::vector<std::string>;
using Util = CIWbemUtil;

constexpr char kName[] = "a name of many bytes";

// Released before it is destroyed, as its header asks.
struct Bag : IWbemClassObject {
    Bag() = default;
    Bag(const Bag&) = delete;
    Bag& operator=(const Bag&) = delete;
    ~Bag() { (void)Release(); }
};

// What is in a bag: the names of its properties.
std::string Describe(IWbemClassObject& bag)
{
    std::string names;
    for (auto i = bag.getIterator(); bag.hasNext(i); ++i)
        names += (names.empty() ? "" : " ") + i->first;
    return "[" + names + "]";
}

// A bag with one property, another one to be put into it, and an object that a call makes.
struct Bags {
    Bag bag;
    Bag nested;
    IWbemClassObject* out = nullptr;

    Bags()
    {
        nested.push("inner", boost::any(std::string(kLong)));
        bag.push("first", boost::any(1));
    }
    Bags(const Bags&) = delete;
    Bags& operator=(const Bags&) = delete;
    ~Bags()
    {
        if (out != nullptr)
            (void)out->Release();
        delete out;
    }
};

std::string StateOf(Bags& bags)
{
    return Describe(bags.bag) + (bags.out == nullptr ? "" : " out " + Describe(*bags.out));
}

// On a bag with one property; without memory it keeps only that one. added: what follows it.
template <typename Use>
Operation& OnBag(const Table& t, const std::string& name, const std::string& outcome, Use use)
{
    return t.On<Bags>(name, outcome, use, StateOf)
        .UsedUp()
        .Faults({{"allocation", {"bad_alloc | [first]"}}});
}

// With a value of every kind, the nested object last: it ends a search.
struct FullBag : Bag {
    FullBag()
    {
        const Strings texts{kLong, "b"};
        (void)Util::setReturnValueToIWbemClassObject(this, 7);
        push("int", 7);
        push("long", 7L);
        push("ulong", 7UL);
        push("bool", true);
        push("string", std::string(kLong));
        push("uints", std::vector<unsigned int>{1, 2});
        push("longs", std::vector<long>{1, 2});
        push("ulongs", std::vector<unsigned long>{1, 2});
        push("bools", std::vector<bool>{true, false});
        (void)Util::setIntArrayToIWbemClassObject(this, "ints", {1, 2});
        (void)Util::setStringArrayToIWbemClassObject(this, "strings", &texts);
        Bag nested;
        nested.push("inner", std::string(kLong));
        (void)Util::setParameterClassToIWbemClassObject(this, "class", &nested);
    }
};

// A bag and a nested one in it, by new.
IWbemClassObject* NewNest()
{
    auto* const bag = new IWbemClassObject;
    IWbemClassObject inner;
    inner.push("text", std::string(kLong));
    bag->push("inner", &inner);
    return bag;
}

// ---- the named getters and setters

template <typename Value>
Operation& Getter(const Table& t, const std::string& name, const std::string& value,
                  int (*get)(IWbemClassObject*, const char*, Value*), const char* property)
{
    return t.On<FullBag>("CIWbemUtil::" + name, "0 " + value, [=](FullBag& bag, Result& result) {
        Value got{};
        Append(result, get(&bag, property, &got));
        result += " ";
        Append(result, got);
    });
}

template <typename Value>
Operation& Returned(const Table& t, const std::string& type)
{
    return t.On<FullBag>(
        "CIWbemUtil::getReturnValueFromIWbemClassObject(IWbemClassObject*, " + type + "*)", "0 7",
        [](FullBag& bag, Result& result) {
            Value got{};
            Append(result, Util::getReturnValueFromIWbemClassObject(&bag, &got));
            result += " ";
            Append(result, got);
        });
}

void AddGetters(const Table& t)
{
    const std::string from = "FromIWbemClassObject(IWbemClassObject*, char const*, ";
    const std::string texts = std::string(kLong) + ";b;";
    Getter(t, "getInt" + from + "int*)", "7", Util::getIntFromIWbemClassObject, "int");
    Getter(t, "getUInt" + from + "unsigned int*)", "7", Util::getUIntFromIWbemClassObject, "int");
    Getter(t, "getLong" + from + "long*)", "7", Util::getLongFromIWbemClassObject, "long");
    Getter(t, "getULong" + from + "unsigned long*)", "7", Util::getULongFromIWbemClassObject,
           "ulong");
    Getter(t, "getBool" + from + "bool*)", "true", Util::getBoolFromIWbemClassObject, "bool");
    Getter(t, "getString" + from + "string*)", kLong, Util::getStringFromIWbemClassObject,
           "string");
    Getter(t, "getIntArray" + from + "vector<int>*)", "1;2;", Util::getIntArrayFromIWbemClassObject,
           "ints");
    Getter(t, "getUIntArray" + from + "vector<unsigned int>*)", "1;2;",
           Util::getUIntArrayFromIWbemClassObject, "uints");
    Getter(t, "getLongArray" + from + "vector<long>*)", "1;2;",
           Util::getLongArrayFromIWbemClassObject, "longs");
    Getter(t, "getULongArray" + from + "vector<unsigned long>*)", "1;2;",
           Util::getULongArrayFromIWbemClassObject, "ulongs");
    Getter(t, "getBoolArray" + from + "vector<bool>*)", "true;false;",
           Util::getBoolArrayFromIWbemClassObject, "bools");
    Getter(t, "getStringArray" + from + "vector<string>*)", texts,
           Util::getStringArrayFromIWbemClassObject, "strings");
    Getter(t, "getParameterClass" + from + "IWbemClassObject**)", "one",
           Util::getParameterClassFromIWbemClassObject, "class");
    Getter(t, "getParameterClassArray" + from + "vector<IWbemClassObject*>*)", "one;",
           Util::getParameterClassArrayFromIWbemClassObject, "class");
    Returned<long>(t, "long");
    Returned<unsigned long>(t, "unsigned long");
}

// Puts a value under the name "p".
Operation& Setter(const Table& t, const std::string& name, int (*set)(Bag*, Bags&))
{
    return OnBag(t, "CIWbemUtil::" + name, "0 | [first p]",
                 [set](Bags& bags) { return set(&bags.bag, bags); });
}

void AddSetters(const Table& t)
{
    const std::string to = "ToIWbemClassObject(IWbemClassObject*, char const*, ";
    Setter(t, "setInt" + to + "int)",
           [](Bag* b, Bags&) { return Util::setIntToIWbemClassObject(b, "p", 7); });
    Setter(t, "setUInt" + to + "unsigned int)",
           [](Bag* b, Bags&) { return Util::setUIntToIWbemClassObject(b, "p", 7); });
    Setter(t, "setLong" + to + "long)",
           [](Bag* b, Bags&) { return Util::setLongToIWbemClassObject(b, "p", 7); });
    Setter(t, "setULong" + to + "unsigned long)",
           [](Bag* b, Bags&) { return Util::setULongToIWbemClassObject(b, "p", 7); });
    Setter(t, "setBool" + to + "bool)",
           [](Bag* b, Bags&) { return Util::setBoolToIWbemClassObject(b, "p", true); });
    Setter(t, "setString" + to + "string)",
           [](Bag* b, Bags&) { return Util::setStringToIWbemClassObject(b, "p", kLong); });
    Setter(t, "setIntArray" + to + "vector<int>)", [](Bag* b, Bags&) {
        return Util::setIntArrayToIWbemClassObject(b, "p", {1, 2});
    });
    Setter(t, "setStringArray" + to + "vector<string> const*)", [](Bag* b, Bags&) {
        const Strings texts{kLong, "b"};
        return Util::setStringArrayToIWbemClassObject(b, "p", &texts);
    });
    Setter(t, "setStringArray" + to + "list<pair<string, string>> const*)", [](Bag* b, Bags&) {
        const std::list<std::pair<std::string, std::string>> pairs{{kLong, "b"}};
        return Util::setStringArrayToIWbemClassObject(b, "p", &pairs);
    });
    Setter(t, "setParameterClass" + to + "IWbemClassObject*)", [](Bag* b, Bags& bags) {
        return Util::setParameterClassToIWbemClassObject(b, "p", &bags.nested);
    });
    // Its elements are freed by who reads them.
    Setter(t, "setParameterClassArray" + to + "vector<IWbemClassObject*> const*)",
           [](Bag* b, Bags&) {
               Bag first;
               first.push("text", std::string(kLong));
               const Objects objects{&first, nullptr};
               const int result = Util::setParameterClassArrayToIWbemClassObject(b, "p", &objects);
               Objects read;
               (void)Util::getParameterClassArrayFromIWbemClassObject(b, "p", &read);
               for (IWbemClassObject* const object : read)
                   delete object;
               return result;
           })
        .Faults({{"allocation", {"bad_alloc | [first]", "bad_alloc | [first p]"}}});
    OnBag(t, "CIWbemUtil::setReturnValueToIWbemClassObject(IWbemClassObject*, unsigned long)",
          "0 | [first ReturnValue]",
          [](Bags& bags) { return Util::setReturnValueToIWbemClassObject(&bags.bag, 7); });
}

// ---- the bag

void AddClassObject(const Table& t)
{
    const std::string c = "IWbemClassObject::";
    const std::string pop = c + "pop(string) const";
    t.Plain(c + "IWbemClassObject()", "done", [] { const IWbemClassObject bag; });
    OnBag(t, c + "IWbemClassObject(IWbemClassObject const&)", "done | [first] out [inner]",
          [](Bags& bags) { bags.out = new IWbemClassObject(bags.nested); });
    t.On<FullBag>(c + "IWbemClassObject(IWbemClassObject const&): all kinds", "done",
                  [](FullBag& bag) {
                      IWbemClassObject copy(bag);
                      (void)copy.Release();
                  });
    t.Plain(c + "~IWbemClassObject()", "done", [] { delete new IWbemClassObject; });
    OnBag(t, c + "push(string, boost::any)", "done | [first s]",
          [](Bags& bags) { bags.bag.push("s", boost::any(std::string(kLong))); });
    OnBag(t, c + "push(string, boost::any): an object", "done | [first n]",
          [](Bags& bags) { bags.bag.push("n", boost::any(&bags.nested)); });
    OnBag(t, c + "push(string, boost::any): no object", "done | [first n]",
          [](Bags& bags) { bags.bag.push("n", static_cast<IWbemClassObject*>(nullptr)); });
    t.On<FullBag>(c + "find(string) const", "one",
                  [](FullBag& bag) { return bag.find("string").empty() ? "none" : "one"; });
    t.On<FullBag>(pop, kLong,
                  [](FullBag& bag) { return boost::any_cast<std::string>(bag.pop("string")); });
    t.On<FullBag>(c + "pop(string, IWbemClassObject*) const", kLong, [](FullBag& bag) {
        return boost::any_cast<std::string>(Object().pop("string", &bag));
    });
    t.On<FullBag>(c + "getIterator()", "ReturnValue",
                  [](FullBag& bag) { return bag.getIterator()->first; });
    t.On<FullBag>(c + "hasNext(_List_iterator<pair<string, boost::any>>) const", "13",
                  [](FullBag& bag) {
                      int count = 0;
                      for (auto i = bag.getIterator(); bag.hasNext(i); ++i)
                          ++count;
                      return count;
                  });
    OnBag(t, c + "SpawnInstance(long, IWbemClassObject**)", "done | [first] out []",
          [](Bags& bags) { (void)bags.bag.SpawnInstance(0, &bags.out); });
    OnBag(t, c + "GetMethod(char const*, long, IWbemClassObject**, IWbemClassObject**)",
          "done | [first] out []",
          [](Bags& bags) { (void)bags.bag.GetMethod("m", 0, nullptr, &bags.out); });
    t.Plain(c + "cleanup()", "done", [] {
        const std::unique_ptr<IWbemClassObject> bag(NewNest());
        bag->cleanup();
    });
    t.Plain(c + "Release()", "done", [] {
        const std::unique_ptr<IWbemClassObject> bag(NewNest());
        (void)bag->Release();
    });
    t.Plain(c + "log(bool)", "done", [] {
        IWbemClassObject bag;
        bag.log(true);
    });
    // They export nothing: their members do the work.
    t.Plain(c + "IWbemClassObject(): the records of CQorDefs.h", "done", [] {
        CVelmora_ToolInfo tool;
        tool.stringList1 = Strings{kLong, kLong};
        tool.manageModuleInfoList1.resize(2);
        tool.manageModuleInfoList1[0].manageRepositoryInfoList1.resize(2);
        CVelmora_ToolProviderManageInfo provider;
        provider.toolInfoList1 = {tool, tool};
        const CVelmora_ToolProviderManageInfo copy = provider;
        CVELMORA_UpdatePlans plans;
        plans.string9 = copy.toolInfoList1[1].stringList1[0];
        CVelmora_DevProviderManageInfo info;
        info.deviceInfoList1.resize(1);
        const CVelmora_DevProviderManageInfo other(info);
    });
}

// ---- text records

Operation& Record(const Table& t, const std::string& name, const std::string& record,
                  void (*set)(std::string&))
{
    return t.Plain("IWbemClassObject::" + name, record, [set] {
        std::string text;
        set(text);
        return text;
    });
}

// record: "TYPE;a name of many bytes;VALUE;".
template <typename Value>
Operation& FromRecord(const Table& t, const std::string& name, const std::string& value,
                      void (*get)(std::string, std::string, Value&), const char* record)
{
    return t.Plain("IWbemClassObject::" + name, value, [=](Result& result) {
        Value got{};
        get(record, kName, got);
        Append(result, got);
    });
}

void AddTextRecords(const Table& t)
{
    const std::string named = ";a name of many bytes;";
    using Text = std::string;
    Record(t, "SetInt(string&, string, int)", "int" + named + "7;",
           [](Text& text) { Object::SetInt(text, kName, 7); });
    Record(t, "SetInt(string&, string, string, int)", "int" + named + "7;",
           [](Text& text) { Object::SetInt(text, "a name of ", "many bytes", 7); });
    Record(t, "SetUInt(string&, string, unsigned int)", "int" + named + "7;",
           [](Text& text) { Object::SetUInt(text, kName, 7); });
    Record(t, "SetLong(string&, string, long)", "long" + named + "7;",
           [](Text& text) { Object::SetLong(text, kName, 7); });
    Record(t, "SetULong(string&, string, unsigned long)", "ulong" + named + "7;",
           [](Text& text) { Object::SetULong(text, kName, 7); });
    Record(t, "SetBool(string&, string, bool)", "bool" + named + "true;",
           [](Text& text) { Object::SetBool(text, kName, true); });
    Record(t, "SetBool(string&, string, string, bool)", "bool" + named + "true;",
           [](Text& text) { Object::SetBool(text, "a name of ", "many bytes", true); });
    Record(t, "SetString(string&, string, string)", "string;name;a%!@b;",
           [](Text& text) { Object::SetString(text, "name", "a;b"); });
    Record(t, "SetString(string&, string, string, string)", "string;name;a%!@b;",
           [](Text& text) { Object::SetString(text, "na", "me", Text("a;b")); });
    Record(t, "SetStringArray(string&, string, vector<string>)", "string[];name;a!#b;",
           [](Text& text) {
               Object::SetStringArray(text, "name", Strings{"a", "b"});
           });
    Record(t, "SetStringArray(string&, string, string, vector<string>)", "string[];name;a!#b;",
           [](Text& text) {
               Object::SetStringArray(text, "na", "me", Strings{"a", "b"});
           });
    Record(t, "SetClass(string&, string, IWbemClassObject const&)", "class" + named + ";",
           [](Text& text) { Object::SetClass(text, kName, Object()); });
    Record(t, "SetClass(string&, string, string, IWbemClassObject const&)", "class" + named + ";",
           [](Text& text) { Object::SetClass(text, "a name of ", "many bytes", Object()); });
    Record(t, "SetClassArray(string&, string, vector<IWbemClassObject*> const*)",
           "class[]" + named + ";", [](Text& text) {
               const Objects objects(2);
               Object::SetClassArray(text, kName, &objects);
           });
    Record(t, "SetClassArray(string&, string, string, vector<IWbemClassObject*> const*)",
           "class[]" + named + ";", [](Text& text) {
               const Objects objects(2);
               Object::SetClassArray(text, "a name of ", "many bytes", &objects);
           });
    FromRecord(t, "GetString(string, string, string&)", "a text of many, many bytes",
               Object::GetString, "string;a name of many bytes;a text of many, many bytes;");
    FromRecord(t, "GetInt(string, string, int&)", "7", Object::GetInt,
               "int;a name of many bytes;7;");
    FromRecord(t, "GetLong(string, string, long&)", "7", Object::GetLong,
               "long;a name of many bytes;7;");
    FromRecord(t, "GetULong(string, string, unsigned long&)", "7", Object::GetULong,
               "ulong;a name of many bytes;7;");
    FromRecord(t, "GetBool(string, string, bool&)", "true", Object::GetBool,
               "bool;a name of many bytes;true;");
    FromRecord(t, "GetStringArray(string, string, vector<string>&)", "one;two;",
               Object::GetStringArray, "string[];a name of many bytes;one!#two;");
}

// ---- managers and sinks

// `nest` is given as often; the nested objects of the copies are released, the sink frees the rest.
void Indicate(IWbemObjectSink& sink, IWbemClassObject* nest, int times)
{
    for (int i = 0; i < times; ++i) {
        (void)sink.Indicate(1, &nest);
        (void)sink.GetOutParam()->Release();
    }
}

struct Nest {
    std::unique_ptr<IWbemClassObject> object{NewNest()};
    Nest() = default;
    Nest(const Nest&) = delete;
    Nest& operator=(const Nest&) = delete;
    ~Nest() { (void)object->Release(); }
};

// Received a flat object: the copy has nothing to release.
struct FullSink : IWbemObjectSink {
    FullSink()
    {
        IWbemClassObject object;
        object.push("text", std::string(kLong));
        IWbemClassObject* objects[] = {&object};
        (void)Indicate(1, objects);
    }
};

void AddManagersAndSinks(const Table& t)
{
    const Table m = t.In("IWbemObjectManager::");
    const Table s = t.In("IWbemObjectSink::");
    const std::string entered = "done | [ENTER] void IWbemObjectManager::ReleaseObject()";
    m.Plain("IWbemObjectManager()", "done", [] { const IWbemObjectManager manager; });
    m.Plain("~IWbemObjectManager()", "done", [] { delete new IWbemObjectManager; });
    OnBag(m, "GetObject(string const&, int, void*, IWbemClassObject**, void**)",
          "done | [first] out []", [](Bags& bags) {
              IWbemObjectManager manager;
              (void)manager.GetObject("path", 0, nullptr, &bags.out, nullptr);
          });
    OnBag(m, "AddObject(IWbemClassObject*)", "done | [first]", [](Bags& bags) {
        IWbemObjectManager manager;
        manager.AddObject(&bags.nested);
        manager.AddObject(nullptr);
    });
    m.Of(
         "ReleaseObject()", entered,
         [] {
             auto manager = std::make_shared<IWbemObjectManager>();
             manager->AddObject(new IWbemClassObject);
             return manager;
         },
         [](IWbemObjectManager& manager) { manager.ReleaseObject(); },
         [](IWbemObjectManager&) { return DebugRecords("som"); })
        .Lay([] {
            test::MakeLogDirectory();
            for (const std::string& name : test::LogFileNames("som", test::kDebugLog))
                (void)std::remove(test::LogPath(name).c_str());
        })
        .UsedUp()
        .Faults({{"write", "/log/", "EIO ENOSPC", {"done | "}},
                 {"lasting", {"done | ", "done | a torn record"}},
                 {"allocation", {"bad_alloc | ", "done | ", entered}}});
    m.Plain("Release()", "done", [] {
        IWbemObjectManager manager;
        manager.Release();
    });
    s.Plain("IWbemObjectSink()", "done", [] { const IWbemObjectSink sink; });
    s.Plain("~IWbemObjectSink()", "done", [] { delete new IWbemObjectSink; });
    s.On<Nest>("Indicate(long, IWbemClassObject**)", "done", [](Nest& nest) {
        IWbemObjectSink sink;
        Indicate(sink, nest.object.get(), 3);
    });
    s.On<Nest>("GetOutParam()", "done", [](Nest& nest) {
        IWbemObjectSink sink;
        Indicate(sink, nest.object.get(), 1);
    });
    s.Plain("SetStatus(long, unsigned long, char*, IWbemClassObject*)", "done", [] {
        IWbemObjectSink sink;
        (void)sink.SetStatus(0, 0, nullptr, nullptr);
    });
    s.On<FullSink>("IWbemObjectSink(IWbemObjectSink const&)", "done",
                   [](FullSink& sink) { const IWbemObjectSink copy(sink); });
    s.On<FullSink>("operator=(IWbemObjectSink const&)", "done", [](FullSink& sink) {
        IWbemObjectSink other;
        other = sink;
    });
}

// ---- what is kept by contract

// what: is made by `make` once more, by itself.
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

void MakeInner()
{
    auto* const inner = new IWbemClassObject;
    inner->push("text", std::string(kLong));
}

void AddKept(const Table& t)
{
    const Kept inner = KeptByCalls("the nested object with its property", MakeInner);
    t.Plain("IWbemClassObject::~IWbemClassObject(): without Release", "done", [] {
         delete NewNest();
     }).Keeps(inner);
    t.Plain(
         "CIWbemUtil::setParameterClassArrayToIWbemClassObject(IWbemClassObject*, char "
         "const*, "
         "vector<IWbemClassObject*> const*): nobody reads it",
         "0",
         [] {
             Bag bag;
             Bag first;
             first.push("text", std::string(kLong));
             const Objects objects{&first, nullptr, &first};
             return Util::setParameterClassArrayToIWbemClassObject(&bag, "a", &objects);
         })
        .Keeps(KeptByCalls("a copy of each element that is not null", [] {
            MakeInner();
            MakeInner();
        }));
    t.Plain("IWbemObjectManager::~IWbemObjectManager(): without ReleaseObject", "done", [] {
         IWbemObjectManager manager;
         manager.AddObject(new IWbemClassObject);
     }).Keeps(KeptByCalls("the managed object", [] { (void)new IWbemClassObject; }));
    t.Plain("IWbemObjectManager::ReleaseObject(): nested objects", "done",
            [] {
                IWbemObjectManager manager;
                manager.AddObject(NewNest());
                manager.ReleaseObject();
            })
        .Lay([] { test::MakeLogDirectory(); })
        .Faults({{"allocation", {"bad_alloc", "done"}}})
        .Keeps(inner);
    t.On<Nest>("IWbemObjectSink::~IWbemObjectSink(): nested objects", "done", [](Nest& nest) {
         IWbemObjectSink sink;
         IWbemClassObject* object = nest.object.get();
         (void)sink.Indicate(1, &object);
     }).Keeps(inner);
}

}  // namespace

void AddObjectOperations(const Table& t)
{
    AddGetters(t);
    AddSetters(t);
    AddClassObject(t);
    AddTextRecords(t);
    AddManagersAndSinks(t);
    AddKept(t);
}

}  // namespace qor::proof
