// Request.h - what the tool asks of the service, as text: see ObjectText.h for the records.
//
//     Request request("Inventory", "Host");
//     CIWbemUtil::setStringToIWbemClassObject(request.Parameters(), "Section", "Memory");
//     std::string text = request.ToText();
//
//     string;.Class;Inventory;string;.Method;Host;class;.Parameters;;
//     string;.Parameters.Section;Memory;
#ifndef ONE_REQUEST_SHARED_REQUEST_H
#define ONE_REQUEST_SHARED_REQUEST_H

#include <string>

#include "shared/ObjectTree.h"

namespace one_request {

class Request
{
public:
    /// Without parameters.
    Request(const std::string& className, const std::string& methodName);

    /// Throws QorException for text that is no request: empty, malformed, or without its parts.
    static Request FromText(const std::string& text);

    std::string ToText() const;

    std::string ClassName() const;
    std::string MethodName() const;

    /// To fill in or to read; lives as long as the request.
    IWbemClassObject* Parameters() const;

private:
    explicit Request(ObjectTree message);

    ObjectTree message_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_REQUEST_H
