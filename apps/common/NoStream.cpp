#include "apps/common/NoStream.h"

namespace quorvid::app {

std::string whyNoStream(const StreamTarget& target, const Reachability& server, bool lookupFailed) {
  if (server.state != Reachability::State::Connected) return server.sentence;
  if (lookupFailed) {
    return target.server.text() + " named no relay for device " + target.device +
           " (unknown device, account, or no lookup server?)";
  }
  return server.sentence + " but sent no stream for device " + target.device + ", channel " +
         std::to_string(target.channel) +
         " (unknown or off line?); `quorvid probe` shows the exchange";
}

}  // namespace quorvid::app
