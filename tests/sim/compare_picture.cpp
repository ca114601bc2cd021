// compare_picture FILE.png: holds a viewer's picture of the simulator's first channel against the
// frame that was drawn for it. The block code in the picture says which frame that was; 30 dB are
// asked for between the two.
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

#include "sim/media/DrawnSource.h"
#include "sim/media/Encoder.h"

namespace {

using namespace quorvid::sim;

constexpr int kChannels = 4;
constexpr double kLeastDecibels = 30;
constexpr int kTextRows = 18;  // of the viewer's line of text, which lies over the lowest rows
const SceneLabels kLabels{.device = "TRUCK-7", .channel = 0};

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

// The number of the picture in its loop; nothing without a block code whose checksum holds.
std::optional<std::uint16_t> counterIn(const Picture& picture) {
  CodeCells cells{};
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const double column = kCodeLeft + static_cast<double>(i % kCodeColumns) + .5;
    const std::size_t line = i / kCodeColumns;
    const double row = kCodeTop + static_cast<double>(line) + .5;
    const auto x = static_cast<std::size_t>(column * picture.width / kGridColumns);
    const auto y = static_cast<std::size_t>(row * picture.height / kGridRows);
    const std::size_t green = (y * static_cast<std::size_t>(picture.width) + x) * kChannels + 1;
    cells[i] = picture.bytes[green] > 126;
    bits = bits << 1 | (cells[i] ? 1 : 0);
  }
  const auto counter = static_cast<std::uint16_t>(bits >> 48);
  const bool holds = codeCells(counter, static_cast<std::uint32_t>(bits >> 16)) == cells;
  return holds ? std::optional(counter) : std::nullopt;
}

// As the simulator gives it to its encoder, at the picture's size.
Picture drawn(std::uint16_t counter, const Picture& like) {
  const EncoderSettings usual;
  DrawnSource source(usual.width, usual.height, usual.rate, 100, kLabels);
  const AVFrame* frame = nullptr;
  for (int i = 0; i <= counter; ++i) frame = source.next();
  if (frame == nullptr) return {};
  Picture picture{like.width, like.height, std::vector<std::uint8_t>(like.bytes.size())};
  const ScalerPtr scaler(
      sws_getContext(usual.width, usual.height, AV_PIX_FMT_YUV420P, like.width, like.height,
                     AV_PIX_FMT_BGR0, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  const int* matrix = sws_getCoefficients(matrixForLines(usual.height));
  sws_setColorspaceDetails(scaler.get(), matrix, 0, matrix, 1, 0, 1 << 16, 1 << 16);
  std::uint8_t* const to = picture.bytes.data();
  const int toStride = kChannels * like.width;
  sws_scale(scaler.get(), frame->data, frame->linesize, 0, usual.height, &to, &toStride);
  return picture;
}

double decibels(const Picture& a, const Picture& b) {
  double sum = 0;
  const auto rows = static_cast<std::size_t>(a.height - kTextRows);
  const std::size_t count = rows * kChannels * static_cast<std::size_t>(a.width);
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = i % kChannels == 3 ? 0 : a.bytes[i] - b.bytes[i];
    sum += difference * difference;
  }
  const double samples = static_cast<double>(count) * 3 / kChannels;
  return 10 * std::log10(255 * 255 * samples / std::max(sum, 1.0));
}

}  // namespace

int main(int argc, char** argv) {
  const Picture picture = argc == 2 ? readPng(argv[1]) : Picture{};
  if (picture.bytes.empty()) return std::fputs("usage: compare_picture FILE.png\n", stderr), 2;
  const auto counter = counterIn(picture);
  if (!counter) return std::fputs("the picture has no block code\n", stderr), 1;
  const Picture expected = drawn(*counter, picture);
  if (expected.bytes.empty()) return std::fputs("no such picture in the loop\n", stderr), 1;
  const double found = decibels(picture, expected);
  std::printf("picture %d of the loop: %.1f dB\n", *counter, found);
  return found >= kLeastDecibels ? 0 : 1;
}
