#include "quorvid/live/LiveStatus.h"

namespace quorvid {

const char* nameOf(LiveState state) {
  switch (state) {
    case LiveState::Idle:
      return "idle";
    case LiveState::Resolving:
      return "resolving";
    case LiveState::Connecting:
      return "connecting";
    case LiveState::WaitingForKeyFrame:
      return "waiting for a key frame";
    case LiveState::Live:
      return "live";
    case LiveState::Late:
      return "late";
    case LiveState::Stalled:
      return "stalled";
    case LiveState::Reconnecting:
      return "reconnecting";
    case LiveState::Refused:
      return "refused";
    case LiveState::Stopped:
      return "stopped";
    case LiveState::Failed:
      return "failed";
  }
  return "";
}

}  // namespace quorvid
