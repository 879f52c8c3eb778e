#include "shared/Request.h"

#include <utility>

#include "CIWbemUtil.h"
#include "QorException.h"
#include "shared/ObjectText.h"

namespace one_request {
namespace {

constexpr char kClass[] = "Class";
constexpr char kMethod[] = "Method";
constexpr char kParameters[] = "Parameters";

}  // namespace

Request::Request(const std::string& className, const std::string& methodName)
    : message_(NewObjectTree())
{
    IWbemClassObject noParameters;
    (void)CIWbemUtil::setStringToIWbemClassObject(message_.get(), kClass, className);
    (void)CIWbemUtil::setStringToIWbemClassObject(message_.get(), kMethod, methodName);
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(message_.get(), kParameters,
                                                          &noParameters);
}

Request::Request(ObjectTree message) : message_(std::move(message)) {}

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

std::string Request::ToText() const
{
    return WriteObjectText(*message_);
}

std::string Request::ClassName() const
{
    std::string name;
    (void)CIWbemUtil::getStringFromIWbemClassObject(message_.get(), kClass, &name);
    return name;
}

std::string Request::MethodName() const
{
    std::string name;
    (void)CIWbemUtil::getStringFromIWbemClassObject(message_.get(), kMethod, &name);
    return name;
}

IWbemClassObject* Request::Parameters() const
{
    IWbemClassObject* parameters = nullptr;
    (void)CIWbemUtil::getParameterClassFromIWbemClassObject(message_.get(), kParameters,
                                                            &parameters);
    return parameters;
}

}  // namespace one_request
