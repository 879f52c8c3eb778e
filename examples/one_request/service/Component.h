// Component.h - the service's trace component; its settings and texts lie in the install
// directory "som".
#ifndef ONE_REQUEST_SERVICE_COMPONENT_H
#define ONE_REQUEST_SERVICE_COMPONENT_H

namespace one_request {

constexpr char kComponent[] = "som";

}  // namespace one_request

#endif  // ONE_REQUEST_SERVICE_COMPONENT_H
