#include "apps/quorvid/probe/StreamFigures.h"

#include <gmock/gmock.h>

namespace quorvid::app {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Parameter sets of a 640x480 recorder, 9 and 4 bytes.
const Bytes kSps{0x67, 0x4D, 0x40, 0x1E, 0xDA, 0x02, 0x80, 0xF6, 0x40};
const Bytes kPps{0x68, 0xEE, 0x3C, 0x80};

void append(Bytes& frame, const Bytes& unit) {
  frame.insert(frame.end(), {0, 0, 0, 1});
  frame.insert(frame.end(), unit.begin(), unit.end());
}

Bytes keyFrame(const std::vector<Bytes>& units) {
  Bytes frame;
  for (const Bytes& unit : units) append(frame, unit);
  append(frame, Bytes(100, 0x65));
  return frame;
}

bool keepsLayout(const Bytes& frame) {
  return hasFixedKeyLayout(h264::unitsOf(frame));
}

TEST(H264, KnowsTheFixedLayoutOfKeyFrames) {
  EXPECT_TRUE(keepsLayout(keyFrame({kSps, kPps})));
  EXPECT_TRUE(keepsLayout(keyFrame({kSps, kPps, {6, 1, 1, 1, 0x80}})));
  EXPECT_FALSE(keepsLayout(keyFrame({kSps, kPps, {6, 1, 1, 1, 1, 0x80}})));
  Bytes longSps = kSps;
  longSps.push_back(0x80);
  EXPECT_FALSE(keepsLayout(keyFrame({longSps, kPps})));
  EXPECT_FALSE(keepsLayout(keyFrame({kPps, kSps})));
  Bytes shortStart = keyFrame({kSps, kPps});
  shortStart.erase(shortStart.begin());
  EXPECT_FALSE(keepsLayout(shortStart));
}

TEST(H264, ReadsTheSizeAndRefusesWhatIsCutShort) {
  const auto size = sizeOfSps(kSps);
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 640);
  EXPECT_EQ(size->height, 480);
  for (std::size_t length = 0; length + 2 < kSps.size(); ++length) {
    EXPECT_FALSE(sizeOfSps(h264::ByteView(kSps).first(length))) << length;
  }
  EXPECT_FALSE(sizeOfSps(Bytes(40)));
  Bytes strange = kSps;
  strange[3] = 33;  // no such level: nothing decodes it, but a file takes it
  strange.insert(strange.end(), {0, 0, 0, 4, 0x68});
  EXPECT_TRUE(sizeOfSps(strange));
}

TEST(StreamFigures, ClaimsNoRateOfASingleFrame) {
  StreamFigures figures;
  figures.add(keyFrame({kSps, kPps}), 1);
  EXPECT_THAT(figures.problems(), testing::ElementsAre(testing::HasSubstr("a single frame")));
  EXPECT_TRUE(figures.json()["frames_per_second"].is_null());
  figures.add(keyFrame({kSps, kPps}), 1.5);
  EXPECT_THAT(figures.problems(), testing::IsEmpty());
  EXPECT_EQ(figures.json()["frames_per_second"], 2);
}

TEST(StreamFigures, NamesWhatTroublesTheLiveView) {
  StreamFigures figures;
  figures.add(keyFrame({kPps}), 0);
  figures.add(Bytes(20, 0x41), 3);
  figures.addLeftOut(3.1);
  std::string all;
  for (const std::string& problem : figures.problems()) all += problem + "\n";
  EXPECT_NE(all.find("fixed layout"), std::string::npos) << all;
  EXPECT_NE(all.find("parameter sets are not understood"), std::string::npos) << all;
  EXPECT_NE(all.find("1 frames do not begin"), std::string::npos) << all;
  EXPECT_NE(all.find("paused for 3.0 s"), std::string::npos) << all;
  EXPECT_NE(all.find("out of sequence"), std::string::npos) << all;
}

}  // namespace
}  // namespace quorvid::app
