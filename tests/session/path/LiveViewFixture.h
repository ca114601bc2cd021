// A live view on a loopback server: refreshes the run loop until something is to be seen.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "quorvid/session/UIFleetLiveView.h"
#include "session/FleetServer.h"
#include "support/Eventually.h"
#include "support/H264TestStream.h"
#include "view/Picture.h"

namespace quorvid::test {

using Ycc = YCbCr;
inline constexpr YCbCr kRust{110, 90, 180};
inline constexpr YCbCr kTeal{140, 150, 70};

inline Rgb rgbOf(YCbCr colour) {
  return expectedRgb(colour, kColorConversion601);
}
// But for coding loss.
inline bool isNear(const Rgb& a, const Rgb& b) {
  return distance(a, b) <= 8;
}

// One-coloured pictures of 640x480, a key frame and those that refer to it, as a server sends them.
std::vector<std::string> oneColouredFrames(YCbCr colour, bool withSei = false, int count = 4);

class LiveViewFixture : public ::testing::Test {
 protected:
  static std::shared_ptr<UIFleetLiveView> makeView(const FleetServer& server, CGRect frame);
  // Display refreshes until the condition holds, as eventually() waits.
  static void refreshUntil(const std::function<bool()>& condition,
                           const char* file = __builtin_FILE(), int line = __builtin_LINE());
  // From the lower left, in what the layer drew last; its context is current then.
  static Rgb pixelAt(int x, int y);
  // True when the layer has drawn a picture with that pixel in that colour.
  static bool shows(const UIFleetLiveView& view, int x, int y, YCbCr colour);
};

}  // namespace quorvid::test
