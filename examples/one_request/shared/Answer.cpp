#include "shared/Answer.h"

#include <algorithm>
#include <utility>

#include "CIWbemUtil.h"
#include "CStringUtil.h"
#include "QorException.h"
#include "shared/ObjectText.h"

namespace one_request {
namespace {

constexpr char kOutcome[] = "Outcome";
constexpr char kReason[] = "Reason";
constexpr char kResult[] = "Result";

constexpr std::size_t kLineLength = 160;  // bytes

const struct {
    Outcome outcome;
    const char* word;
} kWords[] = {
    {Outcome::kDone, "done"},
    {Outcome::kRefused, "refused"},
    {Outcome::kFailed, "failed"},
};

const char* WordOf(Outcome outcome)
{
    return std::find_if(std::begin(kWords), std::end(kWords),
                        [=](const auto& entry) { return entry.outcome == outcome; })
        ->word;
}

Outcome OutcomeOf(const std::string& word)
{
    const auto* const entry =
        std::find_if(std::begin(kWords), std::end(kWords),
                     [&](const auto& candidate) { return candidate.word == word; });
    if (entry == std::end(kWords))
        throw QorException("the answer names no outcome");
    return entry->outcome;
}

std::string GetString(const ObjectTree& object, const char* name)
{
    std::string value;
    (void)CIWbemUtil::getStringFromIWbemClassObject(object.get(), name, &value);
    return value;
}

ObjectTree NewMessage(Outcome outcome, const std::string& reason)
{
    ObjectTree message = NewObjectTree();
    IWbemClassObject noResult;
    (void)CIWbemUtil::setStringToIWbemClassObject(message.get(), kOutcome, WordOf(outcome));
    (void)CIWbemUtil::setStringToIWbemClassObject(message.get(), kReason, OneLine(reason));
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(message.get(), kResult, &noResult);
    return message;
}

}  // namespace

Answer::Answer(Outcome outcome, const std::string& reason)
    : Answer(outcome, NewMessage(outcome, reason))
{
}

Answer::Answer(Outcome outcome, ObjectTree message)
    : outcome_(outcome), message_(std::move(message))
{
}

Answer Answer::FromText(const std::string& text)
{
    ObjectTree message = ReadObjectText(text);
    const Outcome outcome = OutcomeOf(GetString(message, kOutcome));
    Answer answer(outcome, std::move(message));
    if (answer.Result() == nullptr)
        throw QorException("the answer holds no result");
    return answer;
}

std::string Answer::ToText() const
{
    return WriteObjectText(*message_);
}

std::string Answer::Reason() const
{
    return GetString(message_, kReason);
}

IWbemClassObject* Answer::Result() const
{
    IWbemClassObject* result = nullptr;
    (void)CIWbemUtil::getParameterClassFromIWbemClassObject(message_.get(), kResult, &result);
    return result;
}

std::string OneLine(std::string text)
{
    text.resize(std::min(text.size(), kLineLength));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    CStringUtil::strReplace(text, "%!@", ";");  // what a text record would make of it
    return text;
}

}  // namespace one_request
