// ChannelPaths.h - where the channel of a proof lies; each sets it up by itself.
#ifndef QOR_PROOF_CHANNELPATHS_H
#define QOR_PROOF_CHANNELPATHS_H

#include <string>

namespace qor::proof {

inline const std::string kHome = "/opt/velmora/qor/som";
inline const std::string kConfig = kHome + "/socket.conf";
inline const std::string kClientDir = kHome + "/CS/";  // as a name follows
inline const std::string kServerDir = kHome + "/SS/";

}  // namespace qor::proof

#endif  // QOR_PROOF_CHANNELPATHS_H
