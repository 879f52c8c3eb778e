// Messages.h - what the tool asks of the service, and what the service answers, as text: see
// ObjectText.h for the records.
//
//     Request request("Inventory", "Host");
//     CIWbemUtil::setStringToIWbemClassObject(request.Parameters(), "Section", "Memory");
//     std::string text = request.ToText();
//
//     string;.Class;Inventory;string;.Method;Host;class;.Parameters;;
//     string;.Parameters.Section;Memory;
//
//     Answer answer(Outcome::kDone);
//     provider.ExecMethod(method, request.Parameters(), answer.Result());
//     std::string text = answer.ToText();
//
//     string;.Outcome;done;string;.Reason;;class;.Result;;
//     ulong;.Result.ReturnValue;0;string;.Result.HostName;node7;
//
//     string;.Outcome;refused;string;.Reason;there is no class "Network";class;.Result;;
#ifndef ONE_REQUEST_SHARED_MESSAGES_H
#define ONE_REQUEST_SHARED_MESSAGES_H

#include <string>
#include <utility>

#include "shared/ObjectTree.h"

namespace one_request {

/// A message's properties: two texts, and an object to fill in or to read, which lives as long as
/// the message.
class Message
{
public:
    /// Throws QorException when the object holds something that text records do not carry.
    std::string ToText() const;

protected:
    explicit Message(ObjectTree object) : object_(std::move(object)) {}

    /// "" when there is none.
    std::string Text(const char* name) const;

    /// Null when there is none.
    IWbemClassObject* Object(const char* name) const;

private:
    ObjectTree object_;
};

class Request : public Message
{
public:
    /// Without parameters.
    Request(const std::string& className, const std::string& methodName);

    /// Throws QorException for text that is no request: empty, malformed, or without its parts.
    static Request FromText(const std::string& text);

    std::string ClassName() const { return Text("Class"); }
    std::string MethodName() const { return Text("Method"); }
    IWbemClassObject* Parameters() const { return Object("Parameters"); }

private:
    using Message::Message;
};

enum class Outcome {
    kDone,     ///< "done": the method ran; its own status is "ReturnValue" in the result
    kRefused,  ///< "refused": the service did not try, for the reason given
    kFailed    ///< "failed": the service could not have it done, for the reason given
};

class Answer : public Message
{
public:
    /// With an empty result. The reason is made fit for a line of text: see OneLine.
    explicit Answer(Outcome outcome, const std::string& reason = std::string());

    /// Throws QorException for text that is no answer.
    static Answer FromText(const std::string& text);

    /// Throws QorException for an answer that names none.
    Outcome GetOutcome() const;
    std::string Reason() const { return Text("Reason"); }
    IWbemClassObject* Result() const { return Object("Result"); }

private:
    using Message::Message;
};

/// `text` cut to 160 bytes, with "?" for control characters: short enough for one record of the
/// operation log, whose lines are read back in pieces of 255 bytes.
std::string OneLine(std::string text);

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_MESSAGES_H
