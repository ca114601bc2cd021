// Handles of the C interface that free themselves, and a server that one of them plays.
#pragma once

#include <memory>

#include "quorvid/quorvid.h"
#include "session/path/LiveViewFixture.h"

namespace quorvid::test {

struct FreeHandle {
  void operator()(quorvid_player* player) const { quorvid_player_free(player); }
  void operator()(quorvid_picture* picture) const { quorvid_picture_free(picture); }
  void operator()(quorvid_host* host) const { quorvid_host_free(host); }
  void operator()(quorvid_view* view) const { quorvid_view_free(view); }
};
template <class Handle>
using Owned = std::unique_ptr<Handle, FreeHandle>;

inline quorvid_target targetOf(const FleetServer& server) {
  quorvid_target target = QUORVID_TARGET_INIT;
  target.host = "127.0.0.1";
  target.port = server.port();
  target.device = "BUS-17";
  return target;
}

// A server of `times` times four pictures of 640x480 in one colour, as fast as they are taken.
inline FleetServer::Script streamOf(YCbCr colour, int times) {
  return [frames = oneColouredFrames(colour), times](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (int i = 0; i < times; ++i) {
      for (const std::string& frame : frames) {
        if (!client.sendVideo(frame)) return;
      }
    }
    client.waitForClose();
  };
}

}  // namespace quorvid::test
