// compare_picture FILE.png: holds a viewer's picture of the simulator's first channel against the
// frame that was drawn for it. The block code in the picture says which frame that was; 30 dB are
// asked for between the two.
//
// compare_picture SCREEN.png tiles: the same for a screen that shows one of the embedding examples,
// four channels in two rows on the example's own colour, with a line of text over the top of each.
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
constexpr double kLeastOnScreen = 27;  // a pointer may lie over the tile; another channel has 25
constexpr int kTextRows = 18;          // of the viewer's line of text, below the picture
const char* const kDevice = "TRUCK-7";
constexpr int kOwnColour[] = {89, 51, 26};  // blue, green, red of the examples' windows
constexpr int kGap = 4;          // around each picture of theirs, where a point is a pixel
constexpr int kTopText = 28;     // rows that their lines of text may take
constexpr int kTextWidth = 100;  // of the line, where there is text in any case
constexpr int kLeastWhite = 40;
constexpr double kMostAlike = 16;

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
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const auto [x, y] = codePixel(i, picture.width, picture.height);
    const auto pixel = static_cast<std::size_t>(std::ptrdiff_t{picture.width} * y + x);
    cells[i] = picture.bytes[pixel * kChannels + 1] > 126;
  }
  return quorvid::sim::counterIn(cells);
}

// As the simulator gives it to its encoder, at the picture's size.
Picture drawn(std::uint16_t counter, const Picture& like, int channel) {
  const EncoderSettings usual;
  DrawnSource source(usual.width, usual.height, usual.rate, 100,
                     {.device = kDevice, .channel = channel});
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
  const std::size_t count = a.bytes.size();
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = i % kChannels == 3 ? 0 : a.bytes[i] - b.bytes[i];
    sum += difference * difference;
  }
  const double samples = static_cast<double>(count) * 3 / kChannels;
  return 10 * std::log10(255 * 255 * samples / std::max(sum, 1.0));
}

// What the simulator drew for the frame that the picture shows; empty when that can't be told.
Picture expectedFor(const Picture& picture, int channel) {
  const auto counter = counterIn(picture);
  if (!counter) return std::fputs("the picture has no block code\n", stderr), Picture{};
  std::printf("channel %d, picture %d of the loop: ", channel, *counter);
  return drawn(*counter, picture, channel);
}

struct Box {
  int left = 0, top = 0, right = 0, bottom = 0;
};

Picture cut(const Picture& from, const Box& box) {
  Picture part{box.right - box.left, box.bottom - box.top, {}};
  for (int y = box.top; y < box.bottom; ++y) {
    const auto row = from.bytes.begin() + kChannels * (std::ptrdiff_t{from.width} * y);
    part.bytes.insert(part.bytes.end(), row + kChannels * box.left, row + kChannels * box.right);
  }
  return part;
}

// What the example's own colour encloses; empty where it isn't seen.
Box windowOn(const Picture& screen) {
  Box box{screen.width, screen.height, 0, 0};
  for (int i = 0; i < screen.width * screen.height; ++i) {
    const std::uint8_t* pixel = screen.bytes.data() + std::ptrdiff_t{kChannels} * i;
    if (!std::equal(kOwnColour, kOwnColour + 3, pixel,
                    [](int a, int b) { return std::abs(a - b) <= 1; })) {
      continue;
    }
    box = {std::min(box.left, i % screen.width), std::min(box.top, i / screen.width),
           std::max(box.right, i % screen.width + 1), std::max(box.bottom, i / screen.width + 1)};
  }
  return box;
}

// The picture inside its tile: as large as fits, 4:3; each edge at the nearest pixel.
Box fitted(double left, double top, double width, double height) {
  const double fitting = std::min(width, height * 4 / 3);
  const double x = left + (width - fitting) / 2;
  const double y = top + (height - fitting * 3 / 4) / 2;
  const auto edge = [](double at) { return static_cast<int>(std::lround(at)); };
  return {edge(x), edge(y), edge(x + fitting), edge(y + fitting * 3 / 4)};
}

// The line of text hides what the simulator drew, and has white letters.
bool hasText(const Picture& line, const Picture& drawnThere) {
  int white = 0;
  for (std::size_t i = 0; i < line.bytes.size(); i += kChannels) {
    white += std::all_of(&line.bytes[i], &line.bytes[i] + 3, [](int v) { return v > 200; }) ? 1 : 0;
  }
  const double alike = decibels(line, drawnThere);
  std::printf("; line of text: %d white pixels, %.1f dB\n", white, alike);
  return white > kLeastWhite && alike < kMostAlike;
}

bool showsTile(const Picture& picture, int channel) {
  const Picture expected = expectedFor(picture, channel);
  if (expected.bytes.empty()) return false;
  const Box below{0, kTopText, picture.width, picture.height};
  const Box text{0, 0, kTextWidth, kTopText};
  const double found = decibels(cut(picture, below), cut(expected, below));
  std::printf("%.1f dB", found);
  return hasText(cut(picture, text), cut(expected, text)) && found >= kLeastOnScreen;
}

bool showsTiles(const Picture& screen) {
  const Box window = windowOn(screen);
  const double width = (window.right - window.left - 3 * kGap) / 2.0;
  const double height = (window.bottom - window.top - 3 * kGap) / 2.0;
  std::printf("window at %d,%d: tiles of %g x %g\n", window.left, window.top, width, height);
  if (width < 2 * kTextWidth || height < 2 * kTextWidth) return false;
  bool all = true;
  for (int channel = 0; channel < 4; ++channel) {
    const double left = window.left + kGap + channel % 2 * (width + kGap);
    const double top = window.top + kGap + (channel > 1 ? height + kGap : 0);
    all = showsTile(cut(screen, fitted(left, top, width, height)), channel) && all;
  }
  return all;
}

}  // namespace

int main(int argc, char** argv) {
  const Picture seen = argc >= 2 ? readPng(argv[1]) : Picture{};
  if (seen.bytes.empty()) {
    return std::fputs("usage: compare_picture FILE.png [tiles]\n", stderr), 2;
  }
  if (argc > 2) return showsTiles(seen) ? 0 : 1;
  const Picture picture = cut(seen, {0, 0, seen.width, seen.height - kTextRows});
  const Picture expected = expectedFor(picture, 0);
  if (expected.bytes.empty()) return 1;
  const double found = decibels(picture, expected);
  std::printf("%.1f dB\n", found);
  return found >= kLeastDecibels ? 0 : 1;
}
