// NoStream: tells a person why a stream did not come, as far as that can be told from outside.
#pragma once

#include <string>

#include "apps/common/Reachability.h"

namespace quorvid::app {

// One sentence. server: what a connection of its own found. lookupFailed: the relay lookup of the
// target's server gave nothing.
std::string whyNoStream(const StreamTarget& target, const Reachability& server, bool lookupFailed);

}  // namespace quorvid::app
