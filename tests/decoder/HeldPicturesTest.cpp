// Which pictures of real streams are shown after a loss.
#include <gmock/gmock.h>

#include "decoder/DecodedStream.h"
#include "h264/BitStream.h"

namespace quorvid {
namespace {

using test::DecodedStream;
using test::drawnPicture;
using test::encodeTestStream;
using test::H264TestStream;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;
const Bytes kRecoveryPoint{0x06, 0x06, 0x01, 0x84, 0x80};  // at the picture that follows

class HeldPicturesTest : public testing::Test {
 protected:
  // For each frame from the first on: '+' shown, '.' not shown, 'x' lost and never fed.
  std::string shown(const H264TestStream& stream, std::size_t first = 0, std::size_t lost = 9999) {
    decoded_ = DecodedStream::make(stream);
    std::string marks;
    for (std::size_t index = first; index < stream.frames.size(); ++index) {
      marks += index == lost ? 'x' : decoded_->feed(stream.frames[index].slice) ? '+' : '.';
    }
    return marks;
  }
  double likenessOf(int index) {
    return test::likeness(decoded_->picture(), drawnPicture({}, index));
  }

  std::shared_ptr<DecodedStream> decoded_;
};

TEST_F(HeldPicturesTest, AfterALossNothingIsShownUpToTheNextKeyFrame) {
  const H264TestStream stream = encodeTestStream({.frames = 50, .keyInterval = 40});
  EXPECT_EQ(shown(stream), std::string(50, '+'));  // the numbers wrap twice
  EXPECT_EQ(shown(stream, 0, 20),
            std::string(20, '+') + 'x' + std::string(19, '.') + std::string(10, '+'));
  EXPECT_GT(likenessOf(49), 38);
  EXPECT_EQ(decoded_->decoder().heldUnits(), 19U);
  EXPECT_FALSE(decoded_->decoder().isWaitingForKeyFrame());
  EXPECT_EQ(shown(stream, 33), std::string(7, '.') + std::string(10, '+'));  // joined at number 1
  EXPECT_EQ(decoded_->decoder().heldUnits(), 7U);
  EXPECT_THAT(decoded_->errors, IsEmpty());
}

TEST_F(HeldPicturesTest, DamagedUnitHasItsStatusAndWhatFollowsIsHeldQuietly) {
  H264TestStream stream = encodeTestStream({.keyInterval = 5});
  for (const std::size_t index : {2U, 3U}) {
    Bytes& slice = stream.frames[index].slice;
    slice.resize(slice.size() / 2);
  }
  EXPECT_EQ(shown(stream), "++...+++++");
  EXPECT_THAT(decoded_->errors, ElementsAre("IOS8VT: decode failed status=-12909(Bad data)"));
  EXPECT_EQ(decoded_->decoder().heldUnits(), 2U);
  EXPECT_GT(likenessOf(9), 37);
  EXPECT_FALSE(decoded_->feed({0xE5, 1, 2, 3}));  // the forbidden bit
}

// Key pictures that are no IDR ones: the encoder answers a cut between two of those with I slices.
TEST_F(HeldPicturesTest, PictureOfISlicesAndRecoveryPointsEndTheWait) {
  const auto draw = [](test::TestPicture& picture, int index) {
    test::drawTestScene(picture, index);
    if (index / 5 % 2 == 0) return;
    for (std::size_t at = 0; at < picture.y.size(); ++at) {
      picture.y[at] = at / 640 / 32 % 2 == at % 640 / 32 % 2 ? 40 : 200;
    }
  };
  const H264TestStream stream =
      encodeTestStream({.frames = 13,
                        .keyInterval = 20,
                        .mainProfile = true,
                        .keepVui = true,
                        .encoder = "scenecut=100:min-keyint=20:rc-lookahead=10",
                        .draw = draw});
  ASSERT_FALSE(stream.frames[10].isKey);
  EXPECT_EQ(shown(stream, 2), "........+++");
  EXPECT_EQ(shown(stream, 0, 7), "+++++++x..+++");
  const H264TestStream plain = encodeTestStream();
  EXPECT_EQ(shown(plain, 4), "......");
  decoded_->feed(kRecoveryPoint);
  EXPECT_TRUE(decoded_->feed(plain.frames[9].slice));
}

// frame_num lies behind three Exp-Golomb fields, and in 4 bits.
void renumber(Bytes& slice, unsigned number) {
  h264::BitReader reader(h264::ByteView(slice).subspan(1));
  for (int field = 0; field < 3; ++field) reader.ue();
  for (unsigned bit = 0; bit < 4; ++bit) {
    const std::size_t at = 8 + reader.position() + bit;
    const auto mask = static_cast<std::uint8_t>(0x80U >> at % 8);
    slice[at / 8] = static_cast<std::uint8_t>((slice[at / 8] & ~mask) |
                                              ((number >> (3 - bit) & 1) != 0 ? mask : 0));
  }
}

TEST_F(HeldPicturesTest, SoundStreamsAreNeverHeld) {
  for (const char* encoder :
       {"bframes=3:b-adapt=0:b-pyramid=normal:ref=4", "bframes=2:open-gop=1:slices=3:keyint=12",
        "tff=1:bframes=1", "intra-refresh=1"}) {
    const H264TestStream stream = encodeTestStream({.width = 128,
                                                    .height = 96,
                                                    .frames = 120,
                                                    .keyInterval = 50,
                                                    .mainProfile = true,
                                                    .keepVui = true,
                                                    .encoder = encoder});
    shown(stream);
    EXPECT_EQ(decoded_->decoder().heldUnits(), 0U) << encoder;
  }
}

TEST_F(HeldPicturesTest, NumbersThatAreWrongInThreeGroupsCountNoMore) {
  H264TestStream stream = encodeTestStream({.frames = 35, .keyInterval = 5});
  const H264TestStream good = stream;
  for (unsigned index = 0; index < 35; ++index) {
    renumber(stream.frames[index].slice, index % 5 * 2);
  }
  EXPECT_EQ(shown(stream), "+....+....+....++++++++++++++++++++");
  EXPECT_GT(likenessOf(34), 40);
  EXPECT_THAT(decoded_->errors, ElementsAre(testing::HasSubstr("numbers are wrong")));
  // Losses at other places, or a group between that has none, prove nothing.
  stream = good;
  for (const unsigned index : {4U, 9U, 13U, 19U, 24U, 34U}) {
    renumber(stream.frames[index].slice, index % 5 + 3);
  }
  EXPECT_EQ(shown(stream), "++++.++++.+++..++++.++++.+++++++++.");
}

}  // namespace
}  // namespace quorvid
