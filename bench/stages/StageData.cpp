#include "bench/stages/StageData.h"

#include "sim/media/Encoder.h"
#include "sim/media/MediaLoop.h"

namespace quorvid::bench {
namespace {

constexpr AVRational kRate{30, 1};
constexpr std::size_t kLoop = 120;

}  // namespace

sim::DrawnSource drawnSource(int width, int height) {
  return {width, height, kRate, kLoop, {"STAGE", 0}};
}

std::vector<std::vector<std::uint8_t>> encodedLoop(int width, int height, std::size_t count) {
  sim::EncoderSettings settings;
  settings.width = width;
  settings.height = height;
  settings.rate = kRate;
  settings.gop = 30;
  sim::MediaLoop loop(settings, count);
  sim::DrawnSource source = drawnSource(width, height);
  loop.encode(source, false);
  std::vector<std::vector<std::uint8_t>> frames;
  for (std::size_t i = 0; i < count; ++i) {
    const auto look = loop.look(i);
    frames.emplace_back(look.frame->bytes.begin(), look.frame->bytes.end());
  }
  return frames;
}

}  // namespace quorvid::bench
