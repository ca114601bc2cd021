// What the numbers of a stream's pictures say, case by case.
#include "h264/Continuity.h"

#include <gtest/gtest.h>

#include "support/H264TestStream.h"

namespace quorvid::h264 {
namespace {

using enum PictureStructure;

PictureInfo picture(std::uint32_t number, bool isReference = true,
                    PictureStructure structure = Frame) {
  return {.first = {.frameNum = number, .structure = structure},
          .isReference = isReference,
          .isIntra = false};
}
PictureInfo idr() {
  PictureInfo first = picture(0);
  first.isIdr = first.isIntra = true;
  return first;
}

class ContinuityTest : public testing::Test {
 protected:
  ContinuityTest() { take(idr()); }
  bool take(const PictureInfo& next) {
    const bool mayShow = continuity_.take(next);
    continuity_.decoded(true);
    return mayShow;
  }
  Continuity continuity_{Sps{}};  // numbers of 4 bits
};

TEST_F(ContinuityTest, PicturesThatNothingRefersToHaveTheNextNumberAndMayBeLost) {
  EXPECT_TRUE(take(picture(1, false)));
  EXPECT_TRUE(take(picture(1, false)));
  EXPECT_TRUE(take(picture(1)));
  EXPECT_TRUE(take(picture(2)));
  continuity_.take(picture(3, false));
  continuity_.decoded(false);
  EXPECT_TRUE(take(picture(3)));
  EXPECT_FALSE(take(picture(5, false)));  // 4 was lost
  PictureInfo intra = picture(6, false);
  intra.isIntra = true;
  EXPECT_FALSE(take(intra));
}

TEST_F(ContinuityTest, SecondFieldsShareTheNumberAndAreMissed) {
  EXPECT_TRUE(take(picture(1, true, TopField)));
  EXPECT_TRUE(take(picture(1, true, BottomField)));
  EXPECT_TRUE(take(picture(2, true, TopField)));
  EXPECT_FALSE(take(picture(3, true, TopField)));
  take(idr());
  PictureInfo whole = picture(1, true, TopField);
  whole.hasBothFields = true;
  EXPECT_TRUE(take(whole));
  EXPECT_TRUE(take(picture(2)));
  EXPECT_FALSE(take(picture(2)));  // a whole turn of the numbers was lost, or nearly
}

TEST_F(ContinuityTest, RecoveryTakesAsManyPicturesAsItSays) {
  EXPECT_FALSE(take(picture(13)));
  continuity_.announce(4);
  EXPECT_FALSE(take(picture(14)));
  EXPECT_FALSE(take(picture(1)));  // and lost again: 15 and 0
  EXPECT_FALSE(take(picture(2)));
  continuity_.announce(15);
  EXPECT_FALSE(take(picture(3)));
  continuity_.announce(1);
  EXPECT_FALSE(take(picture(4)));
  EXPECT_TRUE(take(picture(5)));
  EXPECT_TRUE(take(picture(6)));
  continuity_.announce(2);
  EXPECT_TRUE(take(picture(7)));
  continuity_.take(picture(8));
  continuity_.decoded(false);
  EXPECT_FALSE(take(picture(9)));  // built on the damaged one
}

// Of four groups of eleven pictures with a gap between the fifth and the sixth: how many are shown.
int shownOf(std::uint32_t type, std::uint32_t (*number)(std::uint32_t),
            std::uint32_t (*place)(std::uint32_t), double waited = 0.04) {
  Sps stream;  // order counts of 4 bits
  stream.picOrderCntType = type;
  Continuity continuity(stream);
  int shown = 0;
  double now = 0;
  for (std::uint32_t index = 0; index < 44; ++index) {
    now += index % 11 == 5 ? waited : 0.04;
    PictureInfo next = index % 11 == 0 ? idr() : picture(number(index % 11));
    next.first.picOrderCntLsb = 2 * place(index % 11) % 16;
    shown += continuity.take(next, now) ? 1 : 0;
    continuity.decoded(true);
  }
  return shown;
}

TEST_F(ContinuityTest, GapInStepWithTheGroupsIsALossWhereOrderCountsOrTimeAreMissingToo) {
  const auto even = [](std::uint32_t index) { return index; };
  const auto gap = [](std::uint32_t index) { return index + index / 5; };
  const auto reordered = [](std::uint32_t index) { return index == 0 ? 0 : ((index - 1) ^ 1) + 1; };
  constexpr int kHeld = 4 * 5, kReleased = 3 * 5 + 11;
  EXPECT_EQ(shownOf(0, gap, even), kReleased);
  EXPECT_EQ(shownOf(0, gap, reordered), kReleased);
  EXPECT_EQ(shownOf(0, gap, gap), kHeld);
  EXPECT_EQ(shownOf(2, gap, even), kReleased);
  EXPECT_EQ(shownOf(2, gap, even, 0.08), kHeld);
}

TEST_F(ContinuityTest, WholeTurnsOfTheNumbersShowInOrderCounts) {
  Sps stream;
  stream.log2MaxPicOrderCntLsb = 8;
  for (const std::uint32_t away : {32U, 96U, 256U - 32, 0U, 4U, 256U - 2}) {
    Continuity continuity(stream);
    continuity.take(idr());
    continuity.decoded(true);
    for (std::uint32_t index = 1; index < 20; ++index) {
      PictureInfo next = picture(index % 16);
      next.first.picOrderCntLsb = (2 * index + (index < 12 ? 0 : away)) % 256;
      EXPECT_EQ(continuity.take(next), index < 12 || away % 32 != 0 || away == 0) << away;
    }
  }
}

TEST_F(ContinuityTest, NumberingThatBeginsAgainIsReadFromTheSlice) {
  const auto stream = test::encodeTestStream({.frames = 2, .keepVui = true});
  auto sets = *ParameterSets::make(stream.sps, stream.pps);
  ASSERT_EQ(sets.stream.picOrderCntType, 2U);
  const auto slice = [](std::uint8_t header, std::uint32_t operation, std::uint32_t type = 5) {
    BitWriter writer;
    for (const std::uint32_t field : {0U, type, 0U}) writer.ue(field);
    writer.bits(1, 4);                     // frame_num
    writer.bits(0b01, type == 6 ? 4 : 2);  // as many references as usual, their order changed:
    for (const std::uint32_t field : {0U, 7U, 3U}) writer.ue(field);
    writer.bits(1, 1);  // marked by operations:
    for (const std::uint32_t field : {1U, 9U, operation, 0U}) writer.ue(field);
    return writer.unit(header);
  };
  EXPECT_TRUE(resetsFrameNum(sets, slice(0x41, 5)));
  EXPECT_FALSE(resetsFrameNum(sets, slice(0x41, 4)));
  EXPECT_FALSE(resetsFrameNum(sets, slice(0x01, 5)));
  EXPECT_FALSE(resetsFrameNum(sets, stream.frames[1].slice));
  sets.picture.weightedBipredIdc = 2;  // weights that a slice doesn't state
  EXPECT_TRUE(resetsFrameNum(sets, slice(0x41, 5, 6)));
  PictureInfo last = picture(1);
  last.resetsFrameNum = true;
  EXPECT_TRUE(take(last));
  EXPECT_TRUE(take(picture(1)));
}

TEST_F(ContinuityTest, APictureIsIntraWhereAllItsSlicesAre) {
  const auto stream = test::encodeTestStream({.frames = 1, .keepVui = true});
  const auto sets = *ParameterSets::make(stream.sps, stream.pps);
  const auto isIntra = [&sets](std::uint32_t first, std::uint32_t second) {
    Bytes sample{0, 0, 0, 0};
    for (const std::uint32_t place : {0U, 1U}) {
      BitWriter writer;
      for (const std::uint32_t field : {place, place == 0 ? first : second, 0U}) writer.ue(field);
      writer.bits(1, 4);
      const Bytes unit = writer.unit(0x41), code{0, 0, 1};
      if (place > 0) sample.insert(sample.end(), code.begin(), code.end());
      sample.insert(sample.end(), unit.begin(), unit.end());
    }
    sample[3] = static_cast<std::uint8_t>(sample.size() - 4);
    const Sample read = readSample(sample, sets, kWorkOfHonestUnits);
    return read.kind == SampleKind::Picture && read.picture.isIntra;
  };
  EXPECT_TRUE(isIntra(2, 2));
  EXPECT_FALSE(isIntra(0, 2));
  EXPECT_FALSE(isIntra(2, 0));
}

}  // namespace
}  // namespace quorvid::h264
