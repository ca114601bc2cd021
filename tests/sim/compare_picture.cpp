// compare_picture FILE.png: holds a viewer's picture of the simulator's first channel against the
// frame that was drawn for it. The block code in the picture says which frame that was; 30 dB are
// asked for between the two.
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "sim/media/Av.h"
#include "sim/media/Encoder.h"
#include "sim/media/Scene.h"
#include "sim/media/SceneCode.h"

namespace {

using quorvid::sim::Scene;

constexpr int kChannels = 4;
constexpr double kLeastDecibels = 30;
const quorvid::sim::SceneLabels kLabels{.device = "TRUCK-7", .channel = 0};

// Four bytes a pixel: blue, green, red, unused.
struct Picture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> bytes;
};

Picture readPng(const char* fileName) {
  Picture picture;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, fileName) == 0) return picture;
  image.format = PNG_FORMAT_BGRA;
  picture.bytes.resize(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr);
  picture.width = static_cast<int>(image.width);
  picture.height = static_cast<int>(image.height);
  return picture;
}

// As the simulator draws it, scaled to the picture's size.
Picture drawn(const quorvid::sim::SceneCode& code, const Picture& like) {
  const quorvid::sim::EncoderSettings usual;
  Scene scene(usual.width, usual.height, kLabels);
  scene.draw({.counter = code.counter, .seconds = code.timeMs / 1000.0});
  Picture picture{like.width, like.height, std::vector<std::uint8_t>(like.bytes.size())};
  const quorvid::sim::ScalerPtr scaler(sws_getContext(usual.width, usual.height, AV_PIX_FMT_BGR0,
                                                      like.width, like.height, AV_PIX_FMT_BGR0,
                                                      SWS_BILINEAR, nullptr, nullptr, nullptr));
  const std::uint8_t* const from = scene.pixels();
  const int fromStride = scene.stride();
  std::uint8_t* const to = picture.bytes.data();
  const int toStride = kChannels * like.width;
  sws_scale(scaler.get(), &from, &fromStride, 0, usual.height, &to, &toStride);
  return picture;
}

double decibels(const Picture& a, const Picture& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.bytes.size(); ++i) {
    const double difference = i % kChannels == 3 ? 0 : a.bytes[i] - b.bytes[i];
    sum += difference * difference;
  }
  const double samples = static_cast<double>(a.bytes.size()) * 3 / kChannels;
  return 10 * std::log10(255 * 255 * samples / std::max(sum, 1.0));
}

}  // namespace

int main(int argc, char** argv) {
  const Picture picture = argc == 2 ? readPng(argv[1]) : Picture{};
  if (picture.bytes.empty()) return std::fputs("usage: compare_picture FILE.png\n", stderr), 2;
  const auto code =
      quorvid::sim::readSceneCode({picture.bytes.data() + 1, picture.width, picture.height,
                                   kChannels * picture.width, kChannels});
  if (!code) return std::fputs("the picture has no block code\n", stderr), 1;
  const double found = decibels(picture, drawn(*code, picture));
  std::printf("picture %d of the loop: %.1f dB\n", code->counter, found);
  return found >= kLeastDecibels ? 0 : 1;
}
