#include "bench/limits/DrawLimit.h"

#include <ctime>
#include <vector>

#include "bench/limits/BareQuad.h"

namespace quorvid::bench {
namespace {

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

double measureDrawing(BareSize picture, int width, int height) {
  constexpr int kWarmUp = 5, kPictures = 60;
  const std::vector<std::uint8_t> luma(
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height), 128);
  const std::vector<std::uint8_t> chroma(luma.size() / 2, 120);
  bindTarget(width, height);
  BareQuad quad;
  double begin = 0;
  for (int i = -kWarmUp; i < kPictures; ++i) {
    if (i == 0) begin = processorSeconds();
    glClear(GL_COLOR_BUFFER_BIT);
    quad.draw(
        {luma.data(), picture.width, chroma.data(), picture.width, picture.width, picture.height},
        true);
    glFinish();
  }
  return 1e3 * (processorSeconds() - begin) / kPictures;
}

}  // namespace quorvid::bench
