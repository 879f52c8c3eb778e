// The object model, which touches memory alone: what fails leaves the objects as they were.
#include <list>
#include <memory>

#include "CIWbemUtil.h"
#include "CQorDefs.h"
#include "CStringUtil.h"
#include "IWbemClassObject.h"
#include "IWbemObjectManager.h"
#include "IWbemObjectSink.h"
#include "proof/faults/Operation.h"
#include "support/LogFiles.h"

namespace qor::proof {
namespace {

constexpr char kLong[] = "a value that does not fit into the string itself";

// A bag and what is in it: the number of its properties and their names.
std::string Describe(IWbemClassObject& bag)
{
    std::string names;
    for (auto i = bag.getIterator(); bag.hasNext(i); ++i)
        names += (names.empty() ? "" : " ") + i->first;
    return "[" + names + "]";
}

struct Bag {
    IWbemClassObject bag;
    IWbemClassObject nested;
    IWbemClassObject source;
    IWbemClassObject* out = nullptr;
    std::string text;

    Bag()
    {
        nested.push("inner", boost::any(std::string(kLong)));
        bag.push("first", boost::any(1));
        FillSource();
    }
    Bag(const Bag&) = delete;
    Bag& operator=(const Bag&) = delete;
    ~Bag()
    {
        bag.Release();
        source.Release();
        Drop();
    }
    // One property of each kind, the nested object last: it ends a search.
    void FillSource()
    {
        const std::vector<std::string> strings = {kLong, "b"};
        (void)CIWbemUtil::setReturnValueToIWbemClassObject(&source, 7);
        (void)CIWbemUtil::setLongToIWbemClassObject(&source, "l", 7);
        (void)CIWbemUtil::setBoolToIWbemClassObject(&source, "b", true);
        (void)CIWbemUtil::setStringToIWbemClassObject(&source, "s", kLong);
        (void)CIWbemUtil::setIntArrayToIWbemClassObject(&source, "ia", {1, 2});
        (void)CIWbemUtil::setStringArrayToIWbemClassObject(&source, "sa", &strings);
        source.push("ua", boost::any(std::vector<unsigned int>{1, 2}));
        source.push("la", boost::any(std::vector<long>{1, 2}));
        source.push("ula", boost::any(std::vector<unsigned long>{1, 2}));
        source.push("ba", boost::any(std::vector<bool>{true, false}));
        (void)CIWbemUtil::setParameterClassToIWbemClassObject(&source, "c", &nested);
    }
    void Drop()
    {
        if (out != nullptr)
            out->Release();
        delete out;
        out = nullptr;
    }
};

// An operation on a bag with one property. What it adds shows in the result.
Operation OnBag(const char* name, const char* outcome, std::vector<const char*> withoutMemory,
                const std::function<void(Bag&)>& run)
{
    const auto current = std::make_shared<std::shared_ptr<Bag>>();
    return {name,
            outcome,
            {{"allocation", "", "", withoutMemory}},
            [] {},
            [=] {
                const auto bag = std::make_shared<Bag>();
                *current = bag;
                return Prepared{[=] { run(*bag); }, [] { return std::string("done"); }};
            },
            [=] {
                const std::shared_ptr<Bag> bag = *current;
                std::string state = Describe(bag->bag);
                if (bag->out != nullptr)
                    state += " out " + Describe(*bag->out);
                if (!bag->text.empty())
                    state += " text " + bag->text;
                return state;
            },
            nullptr};
}

Operations BagOperations()
{
    const std::vector<const char*> unchanged = {"bad_alloc | [first]"};
    return {
        OnBag("IWbemClassObject.push", "done | [first s]", unchanged,
              [](Bag& b) { b.bag.push("s", boost::any(std::string(kLong))); }),
        OnBag("IWbemClassObject.push.nested", "done | [first n]", unchanged,
              [](Bag& b) { b.bag.push("n", boost::any(&b.nested)); }),
        OnBag("IWbemClassObject.copy", "done | [first] out [inner]", unchanged,
              [](Bag& b) { b.out = new IWbemClassObject(b.nested); }),
        OnBag("IWbemClassObject.SpawnInstance", "done | [first] out []", unchanged,
              [](Bag& b) { (void)b.bag.SpawnInstance(0, &b.out); }),
        OnBag("IWbemClassObject.GetMethod", "done | [first] out []", unchanged,
              [](Bag& b) { (void)b.bag.GetMethod("m", 0, nullptr, &b.out); }),
        OnBag("IWbemClassObject.find", "done | [first]", unchanged,
              [](Bag& b) { (void)b.nested.find("inner"); }),
        OnBag("IWbemClassObject.SetString", "done | [first] text string;name;a%!@b;", unchanged,
              [](Bag& b) { b.bag.SetString(b.text, "name", "a;b"); }),
        OnBag("IWbemClassObject.SetStringArray", "done | [first] text string[];name;a!#b;",
              unchanged,
              [](Bag& b) {
                  std::vector<std::string> values = {"a", "b"};
                  b.bag.SetStringArray(b.text, "name", values);
              }),
        OnBag("IWbemClassObject.GetString", "done | [first] text a value of more than 15 bytes",
              unchanged,
              [](Bag& b) {
                  b.bag.GetString("string;name;a value of more than 15 bytes;", "name", b.text);
              }),
        OnBag("CIWbemUtil.setIntToIWbemClassObject", "done | [first i]", unchanged,
              [](Bag& b) { (void)CIWbemUtil::setIntToIWbemClassObject(&b.bag, "i", 7); }),
        OnBag("CIWbemUtil.setStringToIWbemClassObject", "done | [first s]", unchanged,
              [](Bag& b) { (void)CIWbemUtil::setStringToIWbemClassObject(&b.bag, "s", kLong); }),
        OnBag("CIWbemUtil.setStringArrayToIWbemClassObject", "done | [first a]", unchanged,
              [](Bag& b) {
                  std::vector<std::string> values = {kLong, "b"};
                  (void)CIWbemUtil::setStringArrayToIWbemClassObject(&b.bag, "a", &values);
              }),
        OnBag("CIWbemUtil.getIntFromIWbemClassObject", "done | [first]", unchanged,
              [](Bag& b) {
                  int value = 0;
                  (void)CIWbemUtil::getIntFromIWbemClassObject(&b.bag, "first", &value);
              }),
        OnBag("CIWbemUtil.setUIntToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) { (void)CIWbemUtil::setUIntToIWbemClassObject(&b.bag, "p", 7U); }),
        OnBag("CIWbemUtil.setLongToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) { (void)CIWbemUtil::setLongToIWbemClassObject(&b.bag, "p", 7L); }),
        OnBag("CIWbemUtil.setULongToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) { (void)CIWbemUtil::setULongToIWbemClassObject(&b.bag, "p", 7UL); }),
        OnBag("CIWbemUtil.setBoolToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) { (void)CIWbemUtil::setBoolToIWbemClassObject(&b.bag, "p", true); }),
        OnBag("CIWbemUtil.setIntArrayToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) {
                  (void)CIWbemUtil::setIntArrayToIWbemClassObject(&b.bag, "p", {1, 2});
              }),
        OnBag("CIWbemUtil.setStringArrayToIWbemClassObject.pairs", "done | [first p]", unchanged,
              [](Bag& b) {
                  const std::list<std::pair<std::string, std::string>> pairs = {{kLong, "b"}};
                  (void)CIWbemUtil::setStringArrayToIWbemClassObject(&b.bag, "p", &pairs);
              }),
        OnBag("CIWbemUtil.setParameterClassToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) {
                  (void)CIWbemUtil::setParameterClassToIWbemClassObject(&b.bag, "p", &b.nested);
              }),
        OnBag("CIWbemUtil.setParameterClassArrayToIWbemClassObject", "done | [first p]", unchanged,
              [](Bag& b) {
                  const std::vector<IWbemClassObject*> objects = {&b.nested, nullptr};
                  (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(&b.bag, "p", &objects);
              }),
        OnBag("CIWbemUtil.setReturnValueToIWbemClassObject", "done | [first ReturnValue]",
              unchanged,
              [](Bag& b) { (void)CIWbemUtil::setReturnValueToIWbemClassObject(&b.bag, 7); }),
        OnBag("CIWbemUtil.getLongFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  long value{};
                  b.text = std::to_string(
                      CIWbemUtil::getLongFromIWbemClassObject(&b.source, "l", &value));
              }),
        OnBag("CIWbemUtil.getBoolFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  bool value{};
                  b.text = std::to_string(
                      CIWbemUtil::getBoolFromIWbemClassObject(&b.source, "b", &value));
              }),
        OnBag("CIWbemUtil.getStringFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::string value{};
                  b.text = std::to_string(
                      CIWbemUtil::getStringFromIWbemClassObject(&b.source, "s", &value));
              }),
        OnBag("CIWbemUtil.getIntArrayFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::vector<int> value{};
                  b.text = std::to_string(
                      CIWbemUtil::getIntArrayFromIWbemClassObject(&b.source, "ia", &value));
              }),
        OnBag("CIWbemUtil.getStringArrayFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::vector<std::string> value{};
                  b.text = std::to_string(
                      CIWbemUtil::getStringArrayFromIWbemClassObject(&b.source, "sa", &value));
              }),
        OnBag("CIWbemUtil.getUIntArrayFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::vector<unsigned int> value{};
                  b.text = std::to_string(
                      CIWbemUtil::getUIntArrayFromIWbemClassObject(&b.source, "ua", &value));
              }),
        OnBag("CIWbemUtil.getLongArrayFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::vector<long> value{};
                  b.text = std::to_string(
                      CIWbemUtil::getLongArrayFromIWbemClassObject(&b.source, "la", &value));
              }),
        OnBag("CIWbemUtil.getULongArrayFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::vector<unsigned long> value{};
                  b.text = std::to_string(
                      CIWbemUtil::getULongArrayFromIWbemClassObject(&b.source, "ula", &value));
              }),
        OnBag("CIWbemUtil.getBoolArrayFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  std::vector<bool> value{};
                  b.text = std::to_string(
                      CIWbemUtil::getBoolArrayFromIWbemClassObject(&b.source, "ba", &value));
              }),
        OnBag("CIWbemUtil.getParameterClassFromIWbemClassObject", "done | [first] text 0",
              unchanged,
              [](Bag& b) {
                  IWbemClassObject* value{};
                  b.text = std::to_string(
                      CIWbemUtil::getParameterClassFromIWbemClassObject(&b.source, "c", &value));
              }),
        OnBag("CIWbemUtil.getParameterClassArrayFromIWbemClassObject", "done | [first] text 0",
              unchanged,
              [](Bag& b) {
                  std::vector<IWbemClassObject*> value{};
                  b.text = std::to_string(CIWbemUtil::getParameterClassArrayFromIWbemClassObject(
                      &b.source, "c", &value));
              }),
        OnBag("CIWbemUtil.getReturnValueFromIWbemClassObject", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  unsigned long value = 0;
                  b.text = std::to_string(
                      CIWbemUtil::getReturnValueFromIWbemClassObject(&b.source, &value));
              }),
        OnBag("IWbemClassObject.SetInt", "done | [first] text int;a name of many bytes;7;",
              unchanged, [](Bag& b) { b.bag.SetInt(b.text, "a name of many bytes", 7); }),
        OnBag("IWbemClassObject.SetUInt", "done | [first] text int;a name of many bytes;7;",
              unchanged, [](Bag& b) { b.bag.SetUInt(b.text, "a name of many bytes", 7); }),
        OnBag("IWbemClassObject.SetLong", "done | [first] text long;a name of many bytes;7;",
              unchanged, [](Bag& b) { b.bag.SetLong(b.text, "a name of many bytes", 7); }),
        OnBag("IWbemClassObject.SetULong", "done | [first] text ulong;a name of many bytes;7;",
              unchanged, [](Bag& b) { b.bag.SetULong(b.text, "a name of many bytes", 7); }),
        OnBag("IWbemClassObject.SetBool", "done | [first] text bool;a name of many bytes;true;",
              unchanged, [](Bag& b) { b.bag.SetBool(b.text, "a name of many bytes", true); }),
        OnBag("IWbemClassObject.SetClass", "done | [first] text class;a name of many bytes;;",
              unchanged, [](Bag& b) { b.bag.SetClass(b.text, "a name of many bytes", b.nested); }),
        OnBag("IWbemClassObject.SetString.prefix", "done | [first] text string;name;a%!@b;",
              unchanged, [](Bag& b) { b.bag.SetString(b.text, "na", "me", "a;b"); }),
        OnBag("IWbemClassObject.SetStringArray.prefix", "done | [first] text string[];name;a!#b;",
              unchanged,
              [](Bag& b) {
                  std::vector<std::string> values = {"a", "b"};
                  b.bag.SetStringArray(b.text, "na", "me", values);
              }),
        OnBag("IWbemClassObject.SetInt.prefix", "done | [first] text int;a name of many bytes;7;",
              unchanged, [](Bag& b) { b.bag.SetInt(b.text, "a name of ", "many bytes", 7); }),
        OnBag("IWbemClassObject.SetBool.prefix",
              "done | [first] text bool;a name of many bytes;true;", unchanged,
              [](Bag& b) { b.bag.SetBool(b.text, "a name of ", "many bytes", true); }),
        OnBag("IWbemClassObject.SetClass.prefix",
              "done | [first] text class;a name of many bytes;;", unchanged,
              [](Bag& b) { b.bag.SetClass(b.text, "a name of ", "many bytes", b.nested); }),
        OnBag("IWbemClassObject.GetInt", "done | [first] text 7", unchanged,
              [](Bag& b) {
                  int value = 0;
                  b.bag.GetInt("int;a name of many bytes;7;", "a name of many bytes", value);
                  b.text = std::to_string(value);
              }),
        OnBag("IWbemClassObject.GetStringArray", "done | [first] text 2", unchanged,
              [](Bag& b) {
                  std::vector<std::string> values;
                  b.bag.GetStringArray("string[];name;a value of many bytes!#b;", "name", values);
                  b.text = std::to_string(values.size());
              }),
        OnBag("CStringUtil.TstringListToTstring", "done | [first] text a piece, of many bytes",
              unchanged,
              [](Bag& b) {
                  b.text = CStringUtil::TstringListToTstring({"a piece", "of many bytes"});
              }),
        OnBag("CStringUtil.StringToUpperCase", "done | [first] text A PIECE OF MANY BYTES",
              unchanged,
              [](Bag& b) { b.text = CStringUtil::StringToUpperCase("a piece of many bytes"); }),
        OnBag("CStringUtil.DllNameToSoName", "done | [first] text libqorp_Provider.so", unchanged,
              [](Bag& b) { CStringUtil::DllNameToSoName("Provider.dll", b.text); }),
        OnBag("CStringUtil.CompareIgnoreCase", "done | [first] text 0", unchanged,
              [](Bag& b) {
                  b.text = std::to_string(CStringUtil::CompareIgnoreCase("A piece of many bytes",
                                                                         "a piece of MANY bytes"));
              }),
        OnBag("CVelmora_DevProviderManageInfo.copy", "done | [first] text 1", unchanged,
              [](Bag& b) {
                  CVelmora_DevProviderManageInfo info;
                  info.deviceInfoList1.resize(1);
                  const CVelmora_DevProviderManageInfo copy(info);
                  b.text = std::to_string(copy.deviceInfoList1.size());
              }),
        OnBag("IWbemObjectManager.GetObject", "done | [first] out []", unchanged,
              [](Bag& b) {
                  IWbemObjectManager manager;
                  (void)manager.GetObject("path", 0, nullptr, &b.out, nullptr);
              }),
        OnBag("IWbemObjectSink.Indicate", "done | [first]", unchanged,
              [](Bag& b) {
                  IWbemObjectSink sink;
                  IWbemClassObject* objects[] = {&b.nested};
                  (void)sink.Indicate(1, objects);
              }),
        OnBag("IWbemObjectManager.AddObject", "done | [first]", unchanged,
              [](Bag& b) {
                  IWbemObjectManager manager;
                  manager.AddObject(&b.nested);
              }),
        OnBag("IWbemObjectSink.IWbemObjectSink", "done | [first]", unchanged,
              [](Bag& b) {
                  IWbemObjectSink sink;
                  IWbemClassObject* objects[] = {&b.nested};
                  (void)sink.Indicate(1, objects);
                  const IWbemObjectSink copy(sink);
                  IWbemObjectSink assigned;
                  assigned = copy;
                  (void)assigned.GetOutParam();
              }),
        OnBag("CStringUtil.strReplace", "done | [first] text a text of many%!@bytes", unchanged,
              [](Bag& b) {
                  std::string text = "a text of many;bytes";
                  CStringUtil::strReplace(text, ";", "%!@");
                  b.text.swap(text);
              }),
        OnBag("CStringUtil.Split", "done | [first] text 3", unchanged,
              [](Bag& b) {
                  std::string text = "one.two.a piece of more than fifteen bytes";
                  b.text = std::to_string(CStringUtil::Split(text, ".").size());
              }),
    };
}

Operations TracedOperations()
{
    return {
        {"IWbemObjectManager.ReleaseObject",
         "done | [ENTER] void IWbemObjectManager::ReleaseObject()",
         {{"write", "/log/", "EIO ENOSPC", {"done | "}},
          {"lasting", "", "", {"done | ", "done | a torn record"}},
          {"allocation",
           "",
           "",
           {"bad_alloc | ", "done | ", "done | [ENTER] void IWbemObjectManager::ReleaseObject()"}}},
         [] { test::MakeLogDirectory(); },
         [] {
             const auto manager = std::make_shared<IWbemObjectManager>();
             manager->AddObject(new IWbemClassObject);
             return Prepared{[=] { manager->ReleaseObject(); }, [] { return std::string("done"); }};
         },
         [] {
             std::string texts;
             for (const test::DebugLine& line : DebugRecords("som"))
                 texts += line.text;
             return texts;
         }},
    };
}

}  // namespace

Operations ObjectOperations()
{
    Operations all = BagOperations();
    const Operations traced = TracedOperations();
    all.insert(all.end(), traced.begin(), traced.end());
    return all;
}

}  // namespace qor::proof
