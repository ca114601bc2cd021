#include "sim/media/AccessUnit.h"

#include <gtest/gtest.h>

#include "h264/Units.h"
#include "sim/Error.h"
#include "sim/PictureDecoder.h"
#include "sim/media/DrawnSource.h"
#include "sim/media/Encoder.h"

namespace quorvid::sim {
namespace {

struct Size {
  int width, height;
  std::size_t sps = 9;  // bytes, without the zeros that fill its place
};

class KeyFrameLayout : public testing::TestWithParam<Size> {};

TEST_P(KeyFrameLayout, IsExactAndDecodesToTheEncodersPictures) {
  const auto [width, height, sps] = GetParam();
  EncoderSettings settings;
  settings.width = width;
  settings.height = height;
  settings.gop = 3;
  Encoder encoder(settings);
  DrawnSource source(width, height, settings.rate, 6, {"A1", 2});
  PictureDecoder plain, arranged;
  for (int i = 0; i < 6; ++i) {
    const ByteView units = encoder.encodePlain(*source.next());
    const Bytes frame = arrangeFrame(units, true);
    const std::vector<ByteView> parts = splitUnits(frame);
    if (i % 3 == 0) {
      ASSERT_EQ(parts.size(), 4u);
      EXPECT_EQ(parts[0].data() - frame.data(), 4);
      EXPECT_EQ(parts[0].size(), sps);
      EXPECT_EQ(parts[1].data() - frame.data(), 17);
      EXPECT_EQ(parts[1].size(), 4u);
      EXPECT_EQ(parts[2].data() - frame.data(), 25);
      EXPECT_EQ(h264::typeOf(parts[2]), h264::UnitType::Sei);
      EXPECT_EQ(parts[2].size(), 5u);
      EXPECT_EQ(parts[3].data() - frame.data(), 34);
      EXPECT_EQ(h264::typeOf(parts[3]), h264::UnitType::KeySlice);
    } else {
      ASSERT_EQ(parts.size(), 1u);
      EXPECT_EQ(parts[0].data() - frame.data(), 4);
      EXPECT_EQ(h264::typeOf(parts[0]), h264::UnitType::Slice);
    }
    const Bytes expected = plain.decode(units);
    EXPECT_EQ(expected.size(), static_cast<std::size_t>(width * height * 3 / 2));
    EXPECT_TRUE(arranged.decode(frame) == expected) << "picture " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, KeyFrameLayout,
                         testing::Values(Size{160, 128, 8}, Size{352, 288, 8}, Size{640, 480},
                                         Size{704, 576}, Size{960, 544}, Size{1280, 720},
                                         Size{1280, 960}, Size{1920, 1088}));

TEST(AccessUnit, RefusesASizeThatNeedsALongerSet) {
  EncoderSettings settings;
  settings.width = 2048;
  settings.height = 1152;
  Encoder encoder(settings);
  const FramePtr picture = newPicture(settings.width, settings.height);
  EXPECT_THROW(encoder.encode(*picture), SimError);
}

}  // namespace
}  // namespace quorvid::sim
