#include "sim/media/Scene.h"

#include <gtest/gtest.h>

#include <cmath>

#include "sim/PictureDecoder.h"
#include "sim/media/DrawnSource.h"
#include "sim/media/Encoder.h"

namespace quorvid::sim {
namespace {

// The cells, each read at its middle.
CodeCells cellsIn(const AVFrame& picture) {
  CodeCells cells{};
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const auto [x, y] = codePixel(i, picture.width, picture.height);
    cells[i] = picture.data[0][y * picture.linesize[0] + x] > 126;
  }
  return cells;
}

TEST(Scene, TheCodeIsReadBackFromDecodedPicturesOfEverySize) {
  for (const auto& [width, height] : {std::pair{320, 240}, {1280, 720}}) {
    EncoderSettings settings;
    settings.width = width;
    settings.height = height;
    settings.rate = {30000, 1001};
    settings.bitrate = 100'000;  // poor pictures
    Encoder encoder(settings);
    DrawnSource source(width, height, settings.rate, 40, {"A1", 0});
    PictureDecoder decoder;
    for (std::uint16_t i = 0; i < 40; ++i) {
      ASSERT_FALSE(decoder.decode(encoder.encode(*source.next()).bytes).empty());
      const CodeCells expected =
          codeCells(i, static_cast<std::uint32_t>(std::lround(i * 1001 / 30.0)));
      EXPECT_EQ(cellsIn(decoder.picture()), expected) << width << " picture " << i;
    }
  }
}

TEST(Scene, TheCodeEndsWithItsChecksum) {
  std::uint64_t bits = 0;
  for (const bool cell : codeCells(513, 1250)) bits = bits << 1 | (cell ? 1 : 0);
  EXPECT_EQ(bits, 0x0201000004e23ea9u);
}

}  // namespace
}  // namespace quorvid::sim
