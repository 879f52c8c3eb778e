#include "shared/Messages.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "CIWbemUtil.h"
#include "CStringUtil.h"
#include "QorException.h"
#include "shared/ObjectText.h"

namespace one_request {
namespace {

constexpr std::size_t kLineLength = 160;  // bytes

const char* const kOutcomes[] = {"done", "refused", "failed"};  // in the order of Outcome

using Property = std::pair<const char*, std::string>;

// The setters fail for null pointers only.
ObjectTree NewMessage(const Property& first, const Property& second, const char* object)
{
    ObjectTree message = NewObjectTree();
    IWbemClassObject empty;
    (void)CIWbemUtil::setStringToIWbemClassObject(message.get(), first.first, first.second);
    (void)CIWbemUtil::setStringToIWbemClassObject(message.get(), second.first, second.second);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(message.get(), object, &empty);
    return message;
}

}  // namespace

std::string Message::ToText() const
{
    return WriteObjectText(*object_);
}

std::string Message::Text(const char* name) const
{
    std::string value;
    (void)CIWbemUtil::getStringFromIWbemClassObject(object_.get(), name, &value);
    return value;
}

IWbemClassObject* Message::Object(const char* name) const
{
    IWbemClassObject* object = nullptr;
    (void)CIWbemUtil::getParameterClassFromIWbemClassObject(object_.get(), name, &object);
    return object;
}

Request::Request(const std::string& className, const std::string& methodName)
    : Message(NewMessage({"Class", className}, {"Method", methodName}, "Parameters"))
{
}

Request Request::FromText(const std::string& text)
{
    if (text.empty())
        throw QorException("the request is empty");
    Request request(ReadObjectText(text));
    if (!IsName(request.ClassName()))
        throw QorException("the request names no class");
    if (!IsName(request.MethodName()))
        throw QorException("the request names no method");
    if (request.Parameters() == nullptr)
        throw QorException("the request holds no parameters");
    return request;
}

Answer::Answer(Outcome outcome, const std::string& reason)
    : Message(NewMessage({"Outcome", kOutcomes[static_cast<std::size_t>(outcome)]},
                         {"Reason", OneLine(reason)}, "Result"))
{
}

Answer Answer::FromText(const std::string& text)
{
    Answer answer(ReadObjectText(text));
    (void)answer.GetOutcome();
    if (answer.Result() == nullptr)
        throw QorException("the answer holds no result");
    return answer;
}

Outcome Answer::GetOutcome() const
{
    const auto* const word = std::find(std::begin(kOutcomes), std::end(kOutcomes), Text("Outcome"));
    if (word == std::end(kOutcomes))
        throw QorException("the answer names no outcome");
    return static_cast<Outcome>(word - kOutcomes);
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
