#include "session/path/LiveViewFixture.h"

#include <GLES2/gl2.h>

namespace quorvid::test {

std::vector<std::string> oneColouredFrames(YCbCr colour, bool withSei, int count) {
  TestStreamOptions options;
  options.frames = options.keyInterval = count;
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

bool LiveViewFixture::shows(const UIFleetLiveView& view, int x, int y, YCbCr colour) {
  return view.playLayer()->pixelBuffer() != nullptr && isNear(pixelAt(x, y), rgbOf(colour));
}

}  // namespace quorvid::test
