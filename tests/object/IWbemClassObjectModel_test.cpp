// Class objects and their typed accessors against the plain model of BagModel.h.
#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "CIWbemUtil.h"
#include "IWbemClassObject.h"
#include "object/BagModel.h"
#include "object/Bags.h"
#include "support/RandomCases.h"

namespace qor::test {
namespace {

// Two bags that should hold the same.
struct Pair {
    std::unique_ptr<Bag> bag = std::make_unique<Bag>();
    model::Bag model;
};

void ExpectSame(const IWbemClassObject& bag, const model::Bag& expected);

void ExpectSame(const boost::any& value, const model::Value& expected)
{
    switch (expected.kind) {
        case model::Kind::kInt:
            EXPECT_EQ(expected.number, As<int>(value));
            break;
        case model::Kind::kString:
            EXPECT_EQ(expected.text, As<std::string>(value));
            break;
        case model::Kind::kNothing:
            EXPECT_TRUE(value.empty());
            break;
        case model::Kind::kObject:
            ASSERT_EQ(expected.object == nullptr, As<IWbemClassObject*>(value) == nullptr);
            if (expected.object != nullptr)
                ExpectSame(*As<IWbemClassObject*>(value), *expected.object);
    }
}

// Walks a copy: a bag behaves the same whether or not an iterator was ever asked for.
void ExpectSame(const IWbemClassObject& bag, const model::Bag& expected)
{
    Bag copy(bag);
    auto property = copy.getIterator();
    for (const auto& theirs : expected.properties) {
        ASSERT_TRUE(copy.hasNext(property));
        EXPECT_EQ(theirs.first, property->first);
        ExpectSame(property->second, theirs.second);
        ++property;
    }
    EXPECT_FALSE(copy.hasNext(property));
}

class RandomBags : public Chance
{
public:
    RandomBags() : Chance(20261121) {}

    // Often the same, of one length, or alike at one end.
    std::string Name()
    {
        static const std::string names[] = {"",
                                            "a",
                                            "b",
                                            "ab",
                                            "bb",
                                            "ba",
                                            "aaa",
                                            "aba",
                                            std::string(1, '\0'),
                                            std::string("a\0b", 3),
                                            std::string(40, 'n'),
                                            std::string(39, 'n') + "m"};
        return OneOf(names);
    }

    void Push(Pair& pair, const Pair& other)
    {
        const std::string name = Name();
        switch (Below(6)) {
            case 0:
                pair.bag->push(name, 7);
                return model::Push(pair.model, name, model::Number(7));
            case 1:  // C strings
                CIWbemUtil::setIntToIWbemClassObject(pair.bag.get(), name.c_str(), -1);
                return model::Push(pair.model, name.c_str(), model::Number(-1));
            case 2:
                CIWbemUtil::setStringToIWbemClassObject(pair.bag.get(), name.c_str(), name);
                return model::Push(pair.model, name.c_str(),
                                   {model::Kind::kString, 0, name, nullptr});
            case 3:
                pair.bag->push(name, boost::any());
                return model::Push(pair.model, name, {model::Kind::kNothing, 0, "", nullptr});
            case 4:
                pair.bag->push(name, static_cast<IWbemClassObject*>(nullptr));
                return model::Push(pair.model, name, {model::Kind::kObject, 0, "", nullptr});
            default:  // maybe the bag itself
                PushNested(*pair.bag, name, *other.bag);
                return model::Push(
                    pair.model, name,
                    {model::Kind::kObject, 0, "", std::make_shared<model::Bag>(other.model)});
        }
    }

    // Gives a random entry another value through the bag's iterator. It may be the place of a
    // nested object, which is the bag's from then on, and may have been one.
    void Change(Pair& pair)
    {
        auto property = pair.bag->getIterator();
        if (pair.model.properties.empty())
            return;
        const std::size_t place = Below(pair.model.properties.size());
        std::advance(property, static_cast<std::ptrdiff_t>(place));
        if (property->second.type() == typeid(IWbemClassObject*))
            Free(As<IWbemClassObject*>(property->second));

        model::Value& theirs = pair.model.properties[place].second;
        if (Below(2) == 0) {
            property->second = 8;
            theirs = model::Number(8);
            return;
        }
        auto* const nested = new IWbemClassObject;
        nested->push("a", 9);
        property->second = nested;
        theirs = {model::Kind::kObject, 0, "", std::make_shared<model::Bag>()};
        model::Push(*theirs.object, "a", model::Number(9));
    }

private:
    static void Free(IWbemClassObject* nested)
    {
        if (nested != nullptr)
            (void)nested->Release();
        delete nested;
    }
};

void ExpectSameAnswers(Pair& pair, const std::string& name)
{
    ExpectSame(pair.bag->find(name), model::Find(pair.model, name));
    ExpectSame(pair.bag->pop(name), model::Pop(&pair.model, name));

    int number = 5;
    int expectedNumber = 6;
    EXPECT_EQ(model::GetInt(pair.model, name.c_str(), expectedNumber),
              CIWbemUtil::getIntFromIWbemClassObject(pair.bag.get(), name.c_str(), &number));
    EXPECT_EQ(expectedNumber, number);

    std::string text = "former";
    std::string expectedText;
    EXPECT_EQ(model::GetString(pair.model, name.c_str(), expectedText),
              CIWbemUtil::getStringFromIWbemClassObject(pair.bag.get(), name.c_str(), &text));
    EXPECT_EQ(expectedText, text);

    IWbemClassObject* object = pair.bag.get();
    std::shared_ptr<model::Bag> expectedObject;
    EXPECT_EQ(
        model::GetObject(pair.model, name.c_str(), expectedObject),
        CIWbemUtil::getParameterClassFromIWbemClassObject(pair.bag.get(), name.c_str(), &object));
    ASSERT_EQ(expectedObject == nullptr, object == nullptr);
    if (object != nullptr)
        ExpectSame(*object, *expectedObject);
}

void Copy(Pair& to, const Pair& from)
{
    to.bag = std::make_unique<Bag>(*from.bag);
    to.model = model::Copied(from.model);
}

TEST(IWbemClassObjectModelTest, AgreeWithThePlainModel)
{
    RandomBags random;
    for (unsigned round = 0; round < RandomCases(30) && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE(round);
        Pair pairs[2];
        for (int step = 0; step < 12; ++step) {
            Pair& pair = pairs[random.Below(2)];
            const std::size_t choice = random.Below(12);
            if (choice == 0)
                random.Change(pair);
            else if (choice == 1 && &pair != &pairs[0])
                Copy(pair, pairs[0]);
            else
                random.Push(pair, pairs[random.Below(2)]);
        }
        for (Pair& pair : pairs) {
            for (int question = 0; question < 6; ++question)
                ExpectSameAnswers(pair, random.Name());
            ExpectSame(*pair.bag, pair.model);
        }
    }
}

}  // namespace
}  // namespace qor::test
