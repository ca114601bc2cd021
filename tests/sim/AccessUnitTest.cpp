#include "sim/media/AccessUnit.h"

#include <gtest/gtest.h>

#include <array>

#include "sim/PictureDecoder.h"
#include "sim/media/DrawnSource.h"
#include "sim/media/Encoder.h"

namespace quorvid::sim {
namespace {

// Sizes and the bytes of their SPS, without the zeros that fill its place.
TEST(AccessUnit, KeyFramesAreLaidOutExactlyAndDecodeToTheEncodersPictures) {
  constexpr std::size_t kSizes[][3] = {{160, 128, 8}, {640, 480, 9}, {1920, 1088, 9}};
  for (const auto& [width, height, sps] : kSizes) {
    EncoderSettings settings;
    settings.width = static_cast<int>(width);
    settings.height = static_cast<int>(height);
    settings.gop = 3;
    Encoder encoder(settings);
    DrawnSource source(settings.width, settings.height, settings.rate, 6, {"A1", 2});
    PictureDecoder plain, arranged;
    // Where each unit begins, its length and type; 0 is the slice's, whatever it has.
    using Parts = std::vector<std::array<std::size_t, 3>>;
    const Parts key{{4, sps, 7}, {17, 4, 8}, {25, 5, 6}, {34, 0, 5}}, other{{4, 0, 1}};
    for (int i = 0; i < 6; ++i) {
      const ByteView units = encoder.encodePlain(*source.next());
      const Bytes frame = arrangeFrame(units, true);
      Parts parts;
      for (const ByteView part : splitUnits(frame)) {
        const std::size_t type = part[0] & 31u;
        parts.push_back({static_cast<std::size_t>(part.data() - frame.data()),
                         type < 6 ? 0 : part.size(), type});
      }
      EXPECT_EQ(parts, i % 3 == 0 ? key : other);
      const Bytes expected = plain.decode(units);
      EXPECT_EQ(expected.size(), width * height * 3 / 2);
      EXPECT_TRUE(arranged.decode(frame) == expected) << "picture " << i;
    }
  }
}

}  // namespace
}  // namespace quorvid::sim
