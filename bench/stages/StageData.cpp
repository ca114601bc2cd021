#include "bench/stages/StageData.h"

#include <fmt/format.h>

#include <cstdlib>

#include "sim/media/Encoder.h"
#include "sim/media/LoopCache.h"
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
  const char* folder = std::getenv("QUORVID_BENCH_CACHE");
  const sim::LoopCache cache(folder == nullptr ? "" : folder);
  const std::string what = fmt::format("stages, {} frames, {}", count, textOf(settings));
  std::vector<sim::EncodedFrame> loop = cache.load(what);
  if (loop.empty()) {
    sim::MediaLoop fresh(settings, count);
    sim::DrawnSource source = drawnSource(width, height);
    fresh.encode(source, false);
    loop = fresh.frames();
    cache.store(what, loop);
  }
  std::vector<std::vector<std::uint8_t>> frames;
  frames.reserve(loop.size());
  for (sim::EncodedFrame& frame : loop) frames.push_back(std::move(frame.bytes));
  return frames;
}

}  // namespace quorvid::bench
