// Real H.264 through the decoder and the platform's session.
#include <gmock/gmock.h>

#include <random>

#include "base/Clock.h"
#include "decoder/DecodedStream.h"
#include "h264/BitStream.h"

namespace quorvid {
namespace {

using test::DecodedStream;
using test::drawnPicture;
using test::encodeTestStream;
using test::H264TestStream;
using test::likeness;
using test::TestStreamOptions;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;

TEST(StreamTest, EveryPictureIsThereAtOnceAndLikeTheDrawnOne) {
  const struct {
    int width, height;
    const char *encoder, *matrix;
  } cases[] = {{640, 480, "", "ITU_R_601_4"},
               {1280, 720, "", "ITU_R_709_2"},
               {352, 288, "colormatrix=bt709", "ITU_R_709_2"},
               {704, 576, "", "ITU_R_601_4"},
               {1280, 960, "colormatrix=smpte170m", "ITU_R_601_4"}};
  for (const auto& the : cases) {
    SCOPED_TRACE(testing::Message() << the.width << 'x' << the.height << the.encoder);
    const TestStreamOptions options{.width = the.width,
                                    .height = the.height,
                                    .keyInterval = 5,
                                    .keepVui = *the.encoder != 0,
                                    .encoder = the.encoder};
    const H264TestStream stream = encodeTestStream(options);
    const auto decoded = DecodedStream::make(stream);
    for (const auto& frame : stream.frames) ASSERT_TRUE(decoded->feed(frame.slice));
    EXPECT_EQ(CVPixelBufferGetWidth(decoded->picture()), 1280U);
    EXPECT_EQ(CVPixelBufferGetHeight(decoded->picture()), 960U);
    const test::TestPicture drawn = drawnPicture(options, options.frames - 1);
    for (const std::size_t part : {0U, 1U, 2U}) {
      EXPECT_GT(likeness(decoded->picture(), drawn, part), part == 0 ? 33 : 50) << part;
    }
    EXPECT_EQ(decoded->matrix(), the.matrix);
    EXPECT_THAT(decoded->errors, IsEmpty());
  }
}

TEST(StreamTest, FullRangeIsToldByTheStream) {
  const H264TestStream stream = encodeTestStream(
      {.frames = 1, .keepVui = true, .encoder = "fullrange=on", .draw = [](auto& picture, int) {
         test::fillTestPicture(picture, 180, 90, 200);
       }});
  const auto decoded = DecodedStream::make(stream);
  ASSERT_TRUE(decoded->feed(stream.frames[0].slice));
  EXPECT_NEAR(*CVPixelBufferGetBaseAddressOfPlane(decoded->picture(), 0), 171, 2);
}

TEST(DecoderTest, SliceBeforeTheSetsIsRefusedInWords) {
  const auto decoded = DecodedStream::make();
  EXPECT_FALSE(decoded->feed(encodeTestStream().frames[0].slice));
  EXPECT_THAT(decoded->errors, ElementsAre("IOS8VT: reset decoder session failed status=-12710",
                                           "IOS8VT: decode failed status=-12902"));
}

TEST(DecoderTest, OtherUnitsAndLaterSetsOfAnotherSizeChangeNothing) {
  const H264TestStream stream = encodeTestStream();
  const H264TestStream other = encodeTestStream({.width = 352, .height = 288});
  const auto decoded = DecodedStream::make(stream);
  Bytes rest{0x06, 0x06, 0x01, 0x84, 0x80};
  EXPECT_FALSE(decoded->feed(rest));
  EXPECT_FALSE(decoded->feed({0x09, 0xF0}));
  for (const Bytes& unit : {other.sps, stream.frames[0].slice}) {
    const Bytes marked = test::withStartCode(unit);
    rest.insert(rest.end(), marked.begin(), marked.end());
  }
  EXPECT_TRUE(decoded->feed(rest));  // the rest of an access unit may hold several
  decoded->feedSets(other);
  EXPECT_TRUE(decoded->feed(stream.frames[1].slice));
  EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 1)), 37);
  EXPECT_THAT(decoded->errors, IsEmpty());
}

// Several slices a picture, macroblocks in pairs, a slice a packet.
TEST(DecoderTest, PicturesOfSeveralSlicesShow) {
  for (const char* const encoder :
       {"slices=8", "slice-max-size=1200", "tff=1:slices=4", "bff=1:slice-max-mbs=40"}) {
    const H264TestStream stream = encodeTestStream(
        {.mainProfile = true, .keepVui = true, .bitRate = 20'000'000, .encoder = encoder});
    const auto decoded = DecodedStream::make(stream);
    for (std::size_t index = 0; index < stream.frames.size(); ++index) {
      EXPECT_TRUE(decoded->feed(stream.frames[index].slice)) << encoder << ' ' << index;
    }
    EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 9)), 37) << encoder;
    EXPECT_THAT(decoded->errors, IsEmpty());
  }
}

TEST(DecoderTest, ThousandSlicesOverTheWholePictureCostNothing) {
  const auto decoded = DecodedStream::make();
  decoded->feed({0x67, 0x42, 0xC0, 0x33, 0xDA, 0x00, 0xC0, 0x01, 0x81, 0x90});  // 3072x3072
  decoded->feed({0x68, 0xCE, 0x3C, 0x80});
  h264::BitWriter key, skipping;
  for (const std::uint32_t field : {0U, 2U, 0U}) key.ue(field);  // an I slice from macroblock 0
  key.bits(0b0000'1'00'1'010, 11);
  for (int i = 0; i < 36864; ++i) key.bits(0b00100111, 8);
  const Bytes grey = key.unit(0x65);
  ASSERT_TRUE(decoded->feed(grey));
  for (const std::uint32_t field : {1U, 0U, 0U}) skipping.ue(field);  // a P slice from macroblock 1
  skipping.bits(0b0001'0'0'0'1'010, 11);
  skipping.ue(36863);
  const Bytes slice = skipping.unit(0x41), next = test::withStartCode(slice);
  Bytes unit = slice;
  for (int i = 1; i < 1000; ++i) unit.insert(unit.end(), next.begin(), next.end());
  const double before = processorSeconds();
  EXPECT_FALSE(decoded->feed(unit));
  EXPECT_LT(processorSeconds() - before, 0.5);
  EXPECT_TRUE(decoded->feed(grey));
}

// A field is half a picture: nothing comes of it, nor does the last picture once more.
TEST(DecoderTest, FieldsThatComeOneByOneMakeAPictureOfTwo) {
  h264::BitWriter set;
  set.bits(77 << 16 | 30, 24);
  for (const std::uint32_t field : {0U, 0U, 2U, 1U}) set.ue(field);
  set.bits(0, 1);
  for (const std::uint32_t field : {7U, 3U}) set.ue(field);  // 128x128
  set.bits(0b00100, 5);                                      // fields, not mixed with frames
  const auto decoded = DecodedStream::make();
  decoded->feed(set.unit(0x67));
  decoded->feed({0x68, 0xCE, 0x3C, 0x80});
  for (const bool isBottom : {false, true, false, true}) {
    h264::BitWriter slice;
    for (const std::uint32_t field : {0U, 2U, 0U}) slice.ue(field);
    slice.bits(isBottom ? 0b0000'11'0'1'010 : 0b0000'10'1'00'1'010, isBottom ? 11 : 13);
    for (int i = 0; i < 32; ++i) slice.bits(0b00100111, 8);
    EXPECT_EQ(decoded->feed(slice.unit(isBottom ? 0x41 : 0x65)), isBottom);
  }
  EXPECT_THAT(decoded->errors, IsEmpty());
}

// The terminal is the host's: libavcodec has messages that no log level of a decoder holds back.
TEST(DecoderTest, HostileUnitsPutNothingOnTheTerminal) {
  std::mt19937 random(5);
  testing::internal::CaptureStderr();
  for (const char* const encoder : {"", "tff=1"}) {
    const H264TestStream stream =
        encodeTestStream({.frames = 2, .mainProfile = true, .keepVui = true, .encoder = encoder});
    const auto decoded = DecodedStream::make(stream);
    Bytes twice = stream.frames[0].slice;
    const Bytes again = test::withStartCode(twice);
    twice.insert(twice.end(), again.begin(), again.end());
    decoded->feed(twice);
    for (int i = 0; i < 200; ++i) {
      Bytes damaged = stream.frames[static_cast<std::size_t>(i % 2)].slice;
      damaged[random() % 30 + 1] = static_cast<std::uint8_t>(random());
      decoded->feed(damaged);
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// After some of these faults in a slice header libavcodec by itself would hold a picture back for
// good.
TEST(DecoderTest, DamageNeverDelaysLaterPictures) {
  const H264TestStream stream = encodeTestStream({.frames = 30, .keyInterval = 15});
  for (unsigned bit = 8; bit < 32; ++bit) {
    const auto decoded = DecodedStream::make(stream);
    for (std::size_t index = 0; index < 30; ++index) {
      Bytes slice = stream.frames[index].slice;
      slice[bit / 8] ^= static_cast<std::uint8_t>(index == 5 ? 0x80U >> bit % 8 : 0);
      const bool shown = decoded->feed(slice);
      ASSERT_TRUE(shown || index < 15) << "bit " << bit << " picture " << index;
    }
    ASSERT_GT(likeness(decoded->picture(), drawnPicture({}, 29)), 37) << "bit " << bit;
  }
}

}  // namespace
}  // namespace quorvid
