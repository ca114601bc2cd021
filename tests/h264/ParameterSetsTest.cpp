// Only parameter sets that hold together to the last bit make a session.
#include "h264/ParameterSets.h"

#include <gtest/gtest.h>

#include "support/H264TestStream.h"

namespace quorvid::h264 {
namespace {

const Bytes kSps{0x67, 0x42, 0xC0, 0x1E, 0xDA, 0x02, 0x80, 0xF6, 0x40};  // 640x480
const Bytes kPps{0x68, 0xCE, 0x3C, 0x80};
// High profile, 1920x1080 with cropping, pixel shape, colours, timing and reordering limits.
const Bytes kHigh{0x67, 0x64, 0x00, 0x28, 0xAC, 0xD9, 0x40, 0x78, 0x02,
                  0x27, 0xE5, 0xC0, 0x44, 0x00, 0x00, 0x03, 0x00, 0x04,
                  0x00, 0x00, 0x03, 0x00, 0xC8, 0x3C, 0x60, 0xC6, 0x58};

bool accepted(const Bytes& sps, const Bytes& pps) {
  return ParameterSets::make(sps, pps).has_value();
}

Bytes changed(Bytes bytes, std::size_t at, std::uint8_t value) {
  bytes.at(at) = value;
  return bytes;
}

TEST(ParameterSetsTest, SetsOfRealEncodersAreTaken) {
  EXPECT_TRUE(accepted(kSps, kPps));
  EXPECT_TRUE(accepted(kSps, {0x68, 0xCE, 0x01, 0xAF, 0x20}));  // the lowest quantiser
  // 3072 by 3072 pixels, the largest picture there is, and as many for reference as it may have
  EXPECT_TRUE(accepted({0x67, 0x42, 0xC0, 0x33, 0xD9, 0x80, 0x30, 0x00, 0x60, 0x64}, kPps));
  EXPECT_TRUE(accepted(changed(kSps, 0, 0x27), changed(kPps, 0, 0x28)));
  EXPECT_TRUE(accepted(kHigh, {0x68, 0xEB, 0xE3, 0xCB, 0x22, 0xC0}));
  // Fields of 200 lines lie in 13 rows of macroblocks each, and are cropped by 4 lines at a time.
  const auto fields = test::encodeTestStream(
      {.height = 400, .frames = 1, .mainProfile = true, .keepVui = true, .encoder = "tff=1"});
  EXPECT_EQ(parseSps(fields.sps)->displayedHeight(), 400);
}

TEST(ParameterSetsTest, ZerosThatFillThePlaceAreCutOff) {
  for (const std::size_t zeros : {1U, 3U, 4000U}) {
    Bytes sps = kSps, pps = kPps;
    sps.resize(sps.size() + zeros);
    pps.resize(pps.size() + zeros);
    const auto padded = ParameterSets::make(sps, pps);
    ASSERT_TRUE(padded) << zeros;
    EXPECT_EQ(padded->avcRecord(), ParameterSets::make(kSps, kPps)->avcRecord());
  }
  Bytes sps = kSps, pps = kPps;
  sps.resize(4097);
  pps.resize(4097);
  EXPECT_FALSE(accepted(sps, kPps) || accepted(kSps, pps));
}

TEST(ParameterSetsTest, RecordHoldsBothSetsAndForbidsReordering) {
  const auto sets = ParameterSets::make(kSps, kPps);
  ASSERT_TRUE(sets);
  const auto again = ParameterSets::make(sets->sps, sets->pps);
  ASSERT_TRUE(again);  // what was added is valid itself
  EXPECT_EQ(again->sps, sets->sps);
  EXPECT_TRUE(std::equal(kSps.begin(), kSps.end() - 1, sets->sps.begin()));
  const Bytes record = sets->avcRecord();
  const auto size = static_cast<std::uint8_t>(sets->sps.size());
  const Bytes head{1, 0x42, 0xC0, 0x1E, 0xFF, 0xE1, 0, size};
  EXPECT_TRUE(std::equal(head.begin(), head.end(), record.begin()));
  const Bytes tail{1, 0, 4, 0x68, 0xCE, 0x3C, 0x80};
  EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), record.rbegin()));
  BitWriter writer;
  writer.bits(3, 24);
  EXPECT_EQ(writer.unit(0x67), (Bytes{0x67, 0, 0, 3, 3, 0x80}));
}

TEST(ParameterSetsTest, EachFaultIsFound) {
  Bytes unescaped = kHigh;  // without the 03 that keeps start codes out
  std::erase(unescaped, 0x03);
  Bytes reserved = changed(kHigh, 15, 0x02);
  reserved.erase(reserved.begin() + 16);
  Bytes longSet = kSps;
  longSet.resize(4097);
  const std::vector<std::pair<const char*, Bytes>> faultySps{
      {"none", {}},
      {"header only", {0x67}},
      {"longer than any", longSet},
      {"forbidden bit", changed(kSps, 0, 0xE7)},
      {"no reference", changed(kSps, 0, 0x07)},
      {"another type", changed(kSps, 0, 0x68)},
      {"unknown profile", changed(kSps, 1, 0x43)},
      {"reserved bits", changed(kSps, 2, 0xC1)},
      {"unknown level", changed(kSps, 3, 0x1F + 2)},
      {"cut short", Bytes(kSps.begin(), kSps.end() - 1)},
      {"leftover byte", {0x67, 0x42, 0xC0, 0x1E, 0xDA, 0x02, 0x80, 0xF6, 0x40, 0x80}},
      {"closing bit missing", changed(kSps, 8, 0x00)},
      {"bits after the closing one", changed(kSps, 8, 0x41)},
      {"order count type 5", {0x67, 0x42, 0xC0, 0x1E, 0xCC, 0x80}},
      {"4096 by 4096 pixels", {0x67, 0x42, 0xC0, 0x33, 0xDA, 0x00, 0x40, 0x00, 0x20, 0x19}},
      // 3072 by 3072 pixels as above, but 6 of them kept for reference
      {"more reference than level 5.1",
       {0x67, 0x42, 0xC0, 0x33, 0xD9, 0xC0, 0x30, 0x00, 0x60, 0x64}},
      {"start code inside", unescaped},
      {"00 00 02 inside", reserved}};
  for (const auto& [fault, sps] : faultySps) {
    EXPECT_FALSE(accepted(sps, kPps)) << fault;
  }
  const std::vector<std::pair<const char*, Bytes>> faultyPps{
      {"none", {}},
      {"another type", changed(kPps, 0, 0x67)},
      {"refers to another SPS", {0x68, 0xA3, 0x8F, 0x20}},
      {"two slice groups", {0x68, 0xC5, 0x8F, 0x20}},
      {"cut short", {0x68, 0xCE}},
      {"leftover byte", {0x68, 0xCE, 0x3C, 0x80, 0x80}},
      {"nothing but padding", {0, 0, 0, 0}},
      {"quantiser out of range", {0x68, 0xCE, 0x01, 0xBF, 0x20}}};
  for (const auto& [fault, pps] : faultyPps) {
    EXPECT_FALSE(accepted(kSps, pps)) << fault;
  }
}

TEST(ParameterSetsTest, SampleAspectGivesTheDisplayShape) {
  const auto aspect = [](const char* encoder) {
    const auto stream = test::encodeTestStream(
        {.width = 704, .height = 576, .frames = 1, .keepVui = true, .encoder = encoder});
    return parseSps(stream.sps)->displayAspect();
  };
  EXPECT_NEAR(aspect(""), 704.0 / 576, 1e-9);
  EXPECT_NEAR(aspect("sar=12/11"), 4.0 / 3, 1e-9);              // from the table
  EXPECT_NEAR(aspect("sar=7/5"), 704.0 * 7 / (576 * 5), 1e-9);  // written out
  EXPECT_NEAR(aspect("sar=17/1"), 704.0 / 576, 1e-9);           // a mistake
  EXPECT_NEAR(parseSps(kHigh)->displayAspect(), 16.0 / 9, 1e-9);
}

}  // namespace
}  // namespace quorvid::h264
