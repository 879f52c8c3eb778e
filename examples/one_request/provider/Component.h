// Component.h - the provider's own trace component: its logs lie beside those of the service, its
// settings and texts in /opt/velmora/qor/provider.
#ifndef ONE_REQUEST_PROVIDER_COMPONENT_H
#define ONE_REQUEST_PROVIDER_COMPONENT_H

namespace one_request {

constexpr char kComponent[] = "inventory";

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_COMPONENT_H
