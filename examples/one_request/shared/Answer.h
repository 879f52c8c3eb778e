// Answer.h - what the service answers, as text: see ObjectText.h for the records.
//
//     Answer answer(Outcome::kDone);
//     provider.ExecMethod(method, request.Parameters(), answer.Result());
//     std::string text = answer.ToText();
//
//     string;.Outcome;done;string;.Reason;;class;.Result;;
//     ulong;.Result.ReturnValue;0;string;.Result.HostName;node7;
//
//     string;.Outcome;refused;string;.Reason;there is no class "Network";class;.Result;;
#ifndef ONE_REQUEST_SHARED_ANSWER_H
#define ONE_REQUEST_SHARED_ANSWER_H

#include <string>

#include "shared/ObjectTree.h"

namespace one_request {

enum class Outcome {
    kDone,     ///< "done": the method ran; its own status is "ReturnValue" in the result
    kRefused,  ///< "refused": the service did not try, for the reason given
    kFailed    ///< "failed": the service could not have it done, for the reason given
};

class Answer
{
public:
    /// With an empty result. The reason is made fit for a line of text: see OneLine.
    explicit Answer(Outcome outcome, const std::string& reason = std::string());

    /// Throws QorException for text that is no answer.
    static Answer FromText(const std::string& text);

    /// Throws QorException when the result holds something that text records do not carry.
    std::string ToText() const;

    Outcome GetOutcome() const { return outcome_; }
    std::string Reason() const;

    /// To fill in or to read; lives as long as the answer.
    IWbemClassObject* Result() const;

private:
    Answer(Outcome outcome, ObjectTree message);

    Outcome outcome_;
    ObjectTree message_;
};

/// `text` cut to 160 bytes, with "?" for control characters: short enough for one record of the
/// operation log, whose lines are read back in pieces of 255 bytes.
std::string OneLine(std::string text);

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_ANSWER_H
