// What the stand-ins for session, decoder and layer were asked to do, and what they answer.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "quorvid/session/UIFleetLiveView.h"

namespace quorvid::test {

struct Standins {
  std::vector<std::string> journal;
  bool decoderCanBeMade = true;
  bool layerCanBeMade = true;
  // Seen by the view as the session's frame.
  std::string frame;
  bool frameReady = false;
  std::uint32_t frameLength = 0;
  CGRect layerFrame;
  // Called by every decodeNalu with the decoder's delegate.
  std::function<void(H264HwDecoderImplDelegate&)> whenDecoding;
};

extern Standins standins;

}  // namespace quorvid::test
