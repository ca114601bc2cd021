// NoStream: tells a person why a stream did not come, as far as that can be told from outside.
#ifndef QUORVID_APPS_QUORVID_NO_STREAM_H
#define QUORVID_APPS_QUORVID_NO_STREAM_H

#include <string>

#include "apps/quorvid/Reachability.h"

namespace quorvid::app {

// One sentence. server: what a connection of its own found. lookupFailed: the relay lookup of the
// target's server gave nothing.
std::string whyNoStream(const StreamTarget& target, const Reachability& server, bool lookupFailed);

}  // namespace quorvid::app

#endif
