// What a unit's slices may ask of a decoder, judged by their headers alone.
#include "platform/linux/H264WorkBounds.h"

#include <gtest/gtest.h>

namespace quorvid {
namespace {

using enum H264Picture;
using enum H264SliceType;

H264Sps stream(std::uint32_t width, std::uint32_t height) {
  H264Sps sps;
  sps.widthInMacroblocks = width;
  sps.heightInMacroblocks = height;
  return sps;
}

H264SliceHeader slice(std::uint32_t first, H264SliceType type = P, H264Picture picture = Frame) {
  return {.firstMacroblock = first, .type = type, .picture = picture};
}

// How many slices are taken that begin at macroblock 0, `step`, 2 * `step` and so on.
std::uint32_t taken(const H264Sps& sps, H264SliceType type, std::uint32_t step, std::size_t size) {
  H264WorkBounds bounds(sps);
  std::uint32_t count = 0;
  while (count < 1000 && bounds.take(slice(count * step, type), size)) {
    ++count;
  }
  return count;
}

TEST(WorkBoundsTest, PicturesOfHonestEncodersAreTaken) {
  EXPECT_EQ(taken(stream(192, 192), B, 36864, 131'000), 1U);  // one slice, whatever it holds
  EXPECT_EQ(taken(stream(120, 68), I, 120, 1'500), 68U);      // one a row of 1080 lines
  EXPECT_EQ(taken(stream(120, 68), P, 120, 250), 68U);
  EXPECT_EQ(taken(stream(80, 60), I, 44, 1'200), 110U);  // cut for network packets
  EXPECT_EQ(taken(stream(80, 60), P, 120, 1'200), 40U);
  EXPECT_EQ(taken(stream(40, 135), P, 40, 100), 135U);  // one a row, and more than 128
}

TEST(WorkBoundsTest, NoMoreWorkThanAQuarterOfASecondIsTaken) {
  EXPECT_EQ(taken(stream(40, 30), P, 1, 10), 128U);
  EXPECT_EQ(taken(stream(192, 192), P, 1, 10), 16U);
  EXPECT_EQ(taken(stream(192, 192), P, 1, 10'000), 3U);
  EXPECT_EQ(taken(stream(192, 192), I, 1, 10), 8U);
  EXPECT_EQ(taken(stream(192, 192), B, 1, 10), 1U);
  EXPECT_EQ(taken(stream(80, 60), B, 1, 10), 12U);
  H264Sps deep = stream(192, 192);
  deep.bitDepth = 10;
  EXPECT_EQ(taken(deep, P, 1, 10), 8U);
  deep.chromaFormat = 3;
  EXPECT_EQ(taken(deep, B, 1, 10), 1U);
}

TEST(WorkBoundsTest, FirstMacroblocksRiseAndOnlyASecondFieldBeginsAgain) {
  H264Sps sps = stream(40, 30);
  sps.framesOnly = false;
  sps.pairsInFrames = true;
  using Slices = std::vector<H264SliceHeader>;
  const auto allTaken = [&sps](const Slices& slices) {
    H264WorkBounds bounds(sps);
    return std::all_of(slices.begin(), slices.end(),
                       [&bounds](const H264SliceHeader& the) { return bounds.take(the, 100); });
  };
  EXPECT_TRUE(allTaken({slice(0), slice(20), slice(599)}));  // pairs
  EXPECT_TRUE(allTaken({slice(0, I, TopField), slice(599, I, TopField), slice(0, P, BottomField),
                        slice(300, P, BottomField)}));
  for (const Slices& refused : std::initializer_list<Slices>{
           {slice(600)},
           {slice(600, P, TopField)},
           {slice(20), slice(20)},
           {slice(20), slice(0)},
           {slice(0, I, TopField), slice(0, I, TopField)},
           {slice(0, I, TopField), slice(1, I, BottomField)},
           {slice(0, I, TopField), slice(0, I)},
           {slice(0), slice(0, P, BottomField)},
           {slice(0, I, TopField), slice(0, I, BottomField), slice(0, I, TopField)}}) {
    EXPECT_FALSE(allTaken(refused)) << refused.back().firstMacroblock;
  }
}

}  // namespace
}  // namespace quorvid
