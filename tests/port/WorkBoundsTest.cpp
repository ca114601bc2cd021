// What a unit's slices may ask of a decoder, judged by their headers alone.
#include "h264/Slice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "port/av/DecompressionSession.h"
#include "support/H264TestStream.h"

namespace quorvid::h264 {
namespace {

using enum PictureStructure;
using enum SliceType;

Sps stream(std::uint32_t width, std::uint32_t height) {
  Sps sps;
  sps.picWidthInMbs = width;
  sps.frameHeightInMbs = height;
  return sps;
}

SliceHeader slice(std::uint32_t first, SliceType type = P, PictureStructure picture = Frame) {
  return {.firstMbInSlice = first, .sliceType = type, .structure = picture};
}

// How many slices are taken that begin at macroblock 0, `step`, 2 * `step` and so on.
std::uint32_t taken(const Sps& sps, SliceType type, std::uint32_t step, std::size_t size,
                    std::uint64_t mostWork = kWorkOfAQuarterSecond) {
  WorkBounds bounds(sps, mostWork);
  std::uint32_t count = 0;
  while (count < 1000 && bounds.take(slice(count * step, type), size)) {
    ++count;
  }
  return count;
}

TEST(WorkBoundsTest, PicturesOfHonestEncodersAreTaken) {
  const auto all = [](std::uint32_t width, std::uint32_t height, SliceType type,
                      std::uint32_t slices, std::size_t size) {
    const std::uint32_t step = width * height / slices;
    return std::min(slices, taken(stream(width, height), type, step, size, kWorkOfHonestUnits));
  };
  EXPECT_EQ(all(192, 192, B, 1, 131'000), 1U);  // one slice, whatever it holds
  for (const SliceType type : {I, P, B}) {
    EXPECT_EQ(all(120, 68, type, 68, 1'900), 68U);  // one a row of 1080 lines
  }
  EXPECT_EQ(all(120, 68, I, 110, 1'200), 110U);  // cut for network packets
  EXPECT_EQ(all(40, 135, P, 135, 900), 135U);    // one a row, and more than 128
  EXPECT_EQ(taken(stream(192, 192), P, 1, 10, kWorkOfHonestUnits), 40U);  // 1.5 million macroblocks
}

TEST(WorkBoundsTest, WhateverTheSlicesHoldAQuarterOfASecondIsEnough) {
  EXPECT_EQ(taken(stream(40, 30), P, 1, 10), 128U);
  EXPECT_EQ(taken(stream(192, 192), P, 1, 10), 16U);
  EXPECT_EQ(taken(stream(192, 192), P, 1, 10'000), 3U);
  EXPECT_EQ(taken(stream(192, 192), I, 1, 10), 8U);
  EXPECT_EQ(taken(stream(192, 192), B, 1, 10), 1U);
  EXPECT_EQ(taken(stream(80, 60), B, 1, 10), 12U);
  Sps deep = stream(192, 192);
  deep.bitDepth = 10;
  EXPECT_EQ(taken(deep, P, 1, 10), 8U);
  deep.chromaFormatIdc = 3;
  EXPECT_EQ(taken(deep, B, 1, 10), 1U);
}

TEST(WorkBoundsTest, FirstMacroblocksRiseAndOnlyASecondFieldBeginsAgain) {
  Sps sps = stream(40, 30);
  sps.frameMbsOnly = false;
  sps.mbAdaptiveFrameField = true;
  using Slices = std::vector<SliceHeader>;
  const auto allTaken = [&sps](const Slices& slices) {
    WorkBounds bounds(sps, kWorkOfHonestUnits);
    return std::all_of(slices.begin(), slices.end(),
                       [&bounds](const SliceHeader& the) { return bounds.take(the, 100); });
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
    EXPECT_FALSE(allTaken(refused)) << refused.back().firstMbInSlice;
  }
}

// Takes longer than any honest unit.
class SlowDecoder : public PictureDecoder {
 public:
  explicit SlowDecoder(int& units) : units_(units) {}
  DecodedPicture decode(const AVPacket& /*packet*/) override {
    ++units_;
    const auto begin = std::clock();
    while (std::clock() - begin < CLOCKS_PER_SEC * 3 / 10) {
    }
    return {kVTVideoDecoderBadDataErr, nullptr};
  }

 private:
  int& units_;
};

TEST(WorkBoundsTest, ASessionIsFooledOnce) {
  int units = 0;
  const auto sets = test::encodeTestStream({});
  auto chain = DecoderChain::open(
      {{"slow", [&units](const auto&) { return std::make_unique<SlowDecoder>(units); }}},
      *ParameterSets::make(sets.sps, sets.pps));
  ParameterSets large = *ParameterSets::make(sets.sps, sets.pps);
  large.stream = stream(192, 192);
  VTDecompressionSession session(std::move(chain), large, {1280, 960}, {[](auto...) {}, nullptr});
  // Two B slices over the whole picture, and a single one, which is taken in any case.
  const std::vector<std::uint8_t> one{0, 0, 0, 4, 0x41, 0xA8, 0x80, 0x80};
  std::vector<std::uint8_t> two{0, 0, 0, 11,   0x41, 0xA8, 0x80, 0x80,
                                0, 0, 1, 0x41, 0x4A, 0x20, 0x80};
  VTDecodeInfoFlags flags = 0;
  // Decoded, but held, and then refused unseen.
  for (const OSStatus status : {noErr, kVTVideoDecoderBadDataErr, kVTVideoDecoderBadDataErr}) {
    EXPECT_EQ(session.decode(two, nullptr, flags), status);
    EXPECT_EQ(units, 1);
  }
  session.decode(one, nullptr, flags);
  EXPECT_EQ(units, 2);
}

}  // namespace
}  // namespace quorvid::h264
