// round_proof HOST:PORT [--device ID]: measures the sun in the simulator's scene where a live view
// shows it: in a window, in the view's own picture, and inside a framebuffer of a host. Prints one
// JSON object; fails where width and height differ by 2 % or more.
//
// The sun is what is brighter than the middle between its own luma and that of the glow around it.
// Its width and height are 4 times the standard deviations of its pixels, which for a disc are
// exact and finer than a pixel.
#include <epoxy/gl.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"
#include "quorvid/view/Window.h"
#include "sim/media/Scene.h"

namespace quorvid::bench {
namespace {

constexpr double kMostDifference = 0.02;
// Of the sun's middle in the scene, and of its radius, in parts of the scene's width and height.
constexpr double kSunX = 0.73, kSunY = sim::kHorizon * 0.56 / sim::kSceneHeight;
constexpr double kSunRadius = 17 / sim::kSceneHeight;
constexpr int kHostWidth = 900, kHostHeight = 800;  // no camera's shape

struct Image {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;  // from the top row down
  double luma(int x, int y) const {
    const auto at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)) *
                    3;
    return .299 * rgb[at] + .587 * rgb[at + 1] + .114 * rgb[at + 2];
  }
};

struct Disc {
  double width = 0, height = 0;
};

// shape: of the scene, which stands in the middle of the image as large as it fits.
Disc sunIn(const Image& image, double shape) {
  const double height = std::min<double>(image.height, image.width / shape);
  const double left = (image.width - height * shape) / 2, top = (image.height - height) / 2;
  const double x0 = left + kSunX * height * shape, y0 = top + kSunY * height;
  const double radius = kSunRadius * height;
  const auto at = [&](double x, double y) {
    return image.luma(static_cast<int>(x), static_cast<int>(y));
  };
  const double glow = (at(x0 - 1.35 * radius, y0) + at(x0 + 1.35 * radius, y0)) / 2;
  const double least = (at(x0, y0) + glow) / 2;
  double count = 0, sumX = 0, sumY = 0, sumXx = 0, sumYy = 0;
  for (int y = static_cast<int>(y0 - 1.6 * radius); y < y0 + 1.6 * radius; ++y) {
    for (int x = static_cast<int>(x0 - 1.6 * radius); x < x0 + 1.6 * radius; ++x) {
      if (image.luma(x, y) < least) continue;
      ++count;
      sumX += x;
      sumY += y;
      sumXx += static_cast<double>(x) * x;
      sumYy += static_cast<double>(y) * y;
    }
  }
  const double meanX = sumX / count, meanY = sumY / count;
  return {4 * std::sqrt(sumXx / count - meanX * meanX),
          4 * std::sqrt(sumYy / count - meanY * meanY)};
}

std::shared_ptr<LiveView> addView(UIView& parent, const LiveTarget& target) {
  auto view = LiveView::initWithFrame(parent.bounds());
  if (view == nullptr) return nullptr;
  parent.addSubview(view);
  view->connect(target);
  return view;
}

// What a host sees that draws the views into a framebuffer of its own, in the current context.
std::optional<Image> composed(ViewHost& host) {
  GLuint buffers[2];
  glGenFramebuffers(1, &buffers[0]);
  glGenRenderbuffers(1, &buffers[1]);
  glBindFramebuffer(GL_FRAMEBUFFER, buffers[0]);
  glBindRenderbuffer(GL_RENDERBUFFER, buffers[1]);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, kHostWidth, kHostHeight);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, buffers[1]);
  std::string why;
  if (!host.composite(0, 0, kHostWidth, kHostHeight, &why)) {
    std::cerr << why << '\n';
    return std::nullopt;
  }
  constexpr std::size_t kPixels = std::size_t{kHostWidth} * kHostHeight;
  std::vector<std::uint8_t> rgba(kPixels * 4);
  glReadPixels(0, 0, kHostWidth, kHostHeight, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
  glDeleteRenderbuffers(1, &buffers[1]);
  glDeleteFramebuffers(1, &buffers[0]);
  Image image{kHostWidth, kHostHeight, std::vector<std::uint8_t>(kPixels * 3)};
  for (std::size_t i = 0; i < kPixels; ++i) {  // OpenGL counts rows from the bottom
    const std::size_t row = kHostHeight - 1 - i / kHostWidth;
    std::copy_n(&rgba[(row * kHostWidth + i % kHostWidth) * 4], 3, &image.rgb[i * 3]);
  }
  return image;
}

int prove(const LiveTarget& target) {
  std::string error;
  const auto window = Window::open({"Round", 960, 900, true}, &error);
  if (!window) return std::cerr << error << '\n', 1;
  const auto host = ViewHost::create();
  host->resize(kHostWidth, kHostHeight, 1);
  const auto shown = addView(*window->contentView(), target);
  const auto embedded = addView(*host->contentView(), target);
  if (!shown || !embedded) return std::cerr << "no live view could be made\n", 1;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (shown->figures().shown < 5 || embedded->figures().shown < 5) {
    if (std::chrono::steady_clock::now() > end || !window->runTurn()) {
      return std::cerr << "no picture came\n", 1;
    }
  }
  WindowPicture picture;
  const auto own = shown->snapshot();
  const auto inHost = composed(*host);
  if (!window->snapshot(picture) || !own || !inHost) return std::cerr << "no picture\n", 1;
  const double shape = shown->figures().shape;
  nlohmann::ordered_json json{{"shape", shape}};
  bool isRound = true;
  for (const auto& [name, image] :
       {std::pair{"window", Image{picture.width, picture.height, picture.rgb}},
        {"snapshot", Image{own->width, own->height, own->rgb}},
        {"embedded", *inHost}}) {
    const Disc disc = sunIn(image, shape);
    const double ratio = disc.width / disc.height;
    isRound = isRound && std::abs(ratio - 1) < kMostDifference;
    json[name] = {{"width", disc.width}, {"height", disc.height}, {"ratio", ratio}};
  }
  std::cout << json.dump() << '\n';
  return isRound ? 0 : 1;
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  std::string server;
  quorvid::LiveTarget target;
  target.device = "TRUCK-7";
  CLI::App app("Measures a circle where a live view shows it.", "round_proof");
  app.add_option("server", server, "HOST:PORT of a quorvid-sim")->required();
  app.add_option("--device", target.device, "Device (TRUCK-7)");
  CLI11_PARSE(app, argc, argv);
  const std::size_t colon = server.rfind(':');
  target.host = server.substr(0, colon);
  target.port = std::stoi(server.substr(colon + 1));
  return quorvid::bench::prove(target);
} catch (const std::exception& error) {
  std::cerr << "round_proof: " << error.what() << '\n';
  return 1;
}
