// Drawing: a picture handed to a layer, and the same uploads and the same rectangle by bare GL
// calls into a renderbuffer of that size. Both wait until GL is done.
#include <benchmark/benchmark.h>

#include <GLES2/gl2.h>

#include "base/PicturePtr.h"
#include "bench/limits/BareQuad.h"
#include "bench/stages/StageData.h"
#include "port/EAGLContext.h"
#include "port/av/PictureConverter.h"
#include "quorvid/render/AAPLEAGLLayer.h"

namespace quorvid::bench {
namespace {

struct Size {
  int width, height;
};

PicturePtr drawnPicture() {
  sim::DrawnSource source = drawnSource(kPictureWidth, kPictureHeight);
  PictureConverter converter({kPictureWidth, kPictureHeight});
  return PicturePtr(converter.convert(*source.next()));
}

void drawOurs(benchmark::State& state, Size size) {
  const auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, size.width, size.height));
  const PicturePtr pictures[2] = {drawnPicture(), drawnPicture()};
  std::size_t turn = 0;
  while (state.KeepRunning()) {
    layer->setPixelBuffer(pictures[turn++ % 2].get());
    glFinish();
  }
}

Nv12View viewOf(CVPixelBufferRef picture) {
  return {CVPixelBufferGetBaseAddressOfPlane(picture, 0),
          static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(picture, 0)),
          CVPixelBufferGetBaseAddressOfPlane(picture, 1),
          static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(picture, 1)),
          kPictureWidth,
          kPictureHeight};
}

void drawLimit(benchmark::State& state, Size size) {
  const auto context = EAGLContext::initWithAPI(kEAGLRenderingAPIOpenGLES2);
  EAGLContext::setCurrentContext(context);
  bindTarget(size.width, size.height);
  BareQuad quad;
  const PicturePtr pictures[2] = {drawnPicture(), drawnPicture()};
  std::size_t turn = 0;
  while (state.KeepRunning()) {
    glClear(GL_COLOR_BUFFER_BIT);
    quad.draw(viewOf(pictures[turn++ % 2].get()), false);
    glFinish();
  }
  EAGLContext::setCurrentContext(nullptr);
}

// GL in software has threads of its own: the process's time counts.
#define QUORVID_DRAW(WIDTH, HEIGHT)                        \
  BENCHMARK_CAPTURE(drawOurs, WIDTH, Size{WIDTH, HEIGHT})  \
      ->Name("draw " #WIDTH "x" #HEIGHT "/ours")           \
      ->MeasureProcessCPUTime()                            \
      ->Unit(benchmark::kMillisecond);                     \
  BENCHMARK_CAPTURE(drawLimit, WIDTH, Size{WIDTH, HEIGHT}) \
      ->Name("draw " #WIDTH "x" #HEIGHT "/limit")          \
      ->MeasureProcessCPUTime()                            \
      ->Unit(benchmark::kMillisecond)

QUORVID_DRAW(640, 480);
QUORVID_DRAW(1280, 960);

}  // namespace
}  // namespace quorvid::bench
