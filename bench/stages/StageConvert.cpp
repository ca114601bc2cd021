// From a decoded frame to a picture of 1280x960, and by libyuv plane by plane.
#include <benchmark/benchmark.h>

#include "bench/limits/BareScaler.h"
#include "bench/stages/StageData.h"
#include "port/av/PictureConverter.h"

namespace quorvid::bench {
namespace {

struct Size {
  int width, height;
};

void convertOurs(benchmark::State& state, Size size) {
  sim::DrawnSource source = drawnSource(size.width, size.height);
  const AVFrame* const frame = source.next();
  PictureConverter converter({kPictureWidth, kPictureHeight});
  while (state.KeepRunning()) {
    CVPixelBufferRef picture = converter.convert(*frame);
    if (picture == nullptr) state.SkipWithError("no picture");
    CVPixelBufferRelease(picture);
  }
}

void convertLimit(benchmark::State& state, Size size) {
  sim::DrawnSource source = drawnSource(size.width, size.height);
  const AVFrame* const frame = source.next();
  BareScaler scaler;
  while (state.KeepRunning()) benchmark::DoNotOptimize(scaler.copy(*frame, {}));
}

#define QUORVID_CONVERT(WIDTH, HEIGHT)                         \
  BENCHMARK_CAPTURE(convertOurs, HEIGHT, Size{WIDTH, HEIGHT})  \
      ->Name("convert " #WIDTH "x" #HEIGHT "/ours")            \
      ->Unit(benchmark::kMillisecond);                         \
  BENCHMARK_CAPTURE(convertLimit, HEIGHT, Size{WIDTH, HEIGHT}) \
      ->Name("convert " #WIDTH "x" #HEIGHT "/limit")           \
      ->Unit(benchmark::kMillisecond)

QUORVID_CONVERT(1280, 720);
QUORVID_CONVERT(704, 576);
QUORVID_CONVERT(1280, 960);

}  // namespace
}  // namespace quorvid::bench
