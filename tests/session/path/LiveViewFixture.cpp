#include "session/path/LiveViewFixture.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/Clock.h"

namespace quorvid::test {

Rgb rgbOf(Ycc colour) {
  const double y = 1.164 * (colour.y - 16);
  const double cb = colour.cb - 128;
  const double cr = colour.cr - 128;
  const auto whole = [](double value) {
    return static_cast<int>(std::lround(std::clamp(value, 0.0, 255.0)));
  };
  return {whole(y + 1.596 * cr), whole(y - 0.392 * cb - 0.813 * cr), whole(y + 2.017 * cb)};
}

bool isNear(const Rgb& a, const Rgb& b) {
  constexpr int kCodingLoss = 8;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::abs(a[i] - b[i]) > kCodingLoss) return false;
  }
  return true;
}

std::vector<std::string> oneColouredFrames(Ycc colour, bool withSei) {
  TestStreamOptions options;
  options.frames = 4;
  options.draw = [colour](TestPicture& picture, int) {
    fillTestPicture(picture, colour.y, colour.cb, colour.cr);
  };
  const H264TestStream stream = encodeTestStream(options);
  std::vector<std::string> frames;
  for (std::size_t i = 0; i < stream.frames.size(); ++i) {
    const auto bytes = stream.frameBytes(i, withSei);
    frames.emplace_back(bytes.begin(), bytes.end());
  }
  return frames;
}

std::shared_ptr<UIFleetLiveView> LiveViewFixture::makeView(const FleetServer& server,
                                                           CGRect frame) {
  auto view = UIFleetLiveView::initWithFrame(frame);
  if (view != nullptr) {
    view->setConnectionParm("127.0.0.1", server.port(), 0, "acc", "pwd", "BUS-17");
  }
  return view;
}

void LiveViewFixture::refreshUntil(const std::function<bool()>& condition, const char* file,
                                   int line) {
  eventually(
      [&] {
        if (condition()) return true;
        RunLoop::currentRunLoop()->refresh(2);
        return false;
      },
      file, line);
}

Rgb LiveViewFixture::pixelAt(int x, int y) {
  std::array<std::uint8_t, 4> rgba{};
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
  return {rgba[0], rgba[1], rgba[2]};
}

bool LiveViewFixture::shows(const UIFleetLiveView& view, int x, int y, const Rgb& colour) {
  return view.playLayer()->pixelBuffer() != nullptr && isNear(pixelAt(x, y), colour);
}

}  // namespace quorvid::test
