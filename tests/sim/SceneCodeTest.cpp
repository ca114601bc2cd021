#include "sim/media/SceneCode.h"

#include <gtest/gtest.h>

#include "sim/PictureDecoder.h"
#include "sim/media/DrawnSource.h"
#include "sim/media/MediaLoop.h"

namespace quorvid::sim {
namespace {

PixelView lumaOf(const AVFrame& picture) {
  return {picture.data[0], picture.width, picture.height, picture.linesize[0]};
}

// As a viewer's decoder hands pictures out, whatever the stream's size.
FramePtr scaled(const AVFrame& from) {
  FramePtr to = newPicture(1280, 960);
  const ScalerPtr scaler(sws_getContext(from.width, from.height, AV_PIX_FMT_YUV420P, 1280, 960,
                                        AV_PIX_FMT_YUV420P, SWS_FAST_BILINEAR, nullptr, nullptr,
                                        nullptr));
  sws_scale(scaler.get(), from.data, from.linesize, 0, from.height, to->data, to->linesize);
  return to;
}

TEST(SceneCode, ReadsBackFromDecodedAndScaledPicturesOfEverySize) {
  for (const auto& [width, height] : {std::pair{320, 240}, {352, 288}, {640, 480}, {1280, 720}}) {
    EncoderSettings settings;
    settings.width = width;
    settings.height = height;
    settings.rate = {30000, 1001};
    settings.bitrate = 100'000;  // poor pictures
    Encoder encoder(settings);
    const MediaLoop times(settings, 1);
    DrawnSource source(width, height, settings.rate, 40, {"A1", 0});
    PictureDecoder decoder;
    for (std::uint16_t i = 0; i < 40; ++i) {
      ASSERT_FALSE(decoder.decode(encoder.encode(*source.next()).bytes).empty());
      const SceneCode expected{i, times.timeMs(i)};
      EXPECT_EQ(readSceneCode(lumaOf(decoder.picture())), expected) << width << " picture " << i;
      EXPECT_EQ(readSceneCode(lumaOf(*scaled(decoder.picture()))), expected)
          << width << " picture " << i;
    }
  }
}

TEST(SceneCode, DamageShows) {
  Scene scene(640, 480, {"A1", 0});
  scene.draw({.counter = 513, .seconds = 1.25});
  std::vector<std::uint8_t> pixels(scene.pixels(), scene.pixels() + 480 * scene.stride());
  const PixelView green{pixels.data() + 1, 640, 480, scene.stride(), 4};
  ASSERT_EQ(readSceneCode(green), (SceneCode{513, 1250}));

  for (std::ptrdiff_t y = 408; y < 424; ++y) {  // the first cell, from black to white
    for (std::ptrdiff_t x = 368; x < 384; ++x) pixels.data()[y * scene.stride() + 4 * x + 1] = 255;
  }
  EXPECT_EQ(readSceneCode(green), std::nullopt);
  for (const std::uint8_t grey : {std::uint8_t{0}, std::uint8_t{255}}) {
    std::fill(pixels.begin(), pixels.end(), grey);
    EXPECT_EQ(readSceneCode(green), std::nullopt);
  }
}

}  // namespace
}  // namespace quorvid::sim
