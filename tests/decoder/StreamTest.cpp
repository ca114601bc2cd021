// Real H.264 through the decoder and the platform's session.
#include <gmock/gmock.h>

#include <cmath>
#include <ostream>
#include <random>

#include "base/Clock.h"
#include "decoder/DecodedStream.h"

namespace quorvid {
namespace {

using test::DecodedStream;
using test::drawnPicture;
using test::encodeTestStream;
using test::H264TestStream;
using test::likeness;
using test::TestMatrix;
using test::TestPicture;
using test::TestStreamOptions;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;

struct StreamCase {
  int width, height;
  bool fullRange;
  TestMatrix matrix;
  const char* attachment;
};

// Names the case in the runner's list.
void PrintTo(const StreamCase& the, std::ostream* out) {
  *out << the.width << 'x' << the.height << (the.fullRange ? " full range " : " ")
       << the.attachment;
}

class StreamTest : public testing::TestWithParam<StreamCase> {};

// What a full-range sample is in video range.
void toVideoRange(TestPicture& picture) {
  const auto convert = [](Bytes& samples, double zero, double newZero, double span) {
    for (auto& sample : samples) {
      sample = static_cast<std::uint8_t>(std::lround(newZero + (sample - zero) * span / 255));
    }
  };
  convert(picture.y, 0, 16, 219);
  convert(picture.u, 128, 128, 224);
  convert(picture.v, 128, 128, 224);
}

TEST_P(StreamTest, EveryPictureIsThereAtOnceAndLikeTheDrawnOne) {
  const StreamCase& the = GetParam();
  TestStreamOptions options;
  options.width = the.width;
  options.height = the.height;
  options.keyInterval = 5;
  options.fullRange = the.fullRange;
  options.matrix = the.matrix;
  options.keepVui = the.fullRange || the.matrix != TestMatrix::Unspecified;
  const H264TestStream stream = encodeTestStream(options);
  const auto decoded = DecodedStream::make();
  decoded->feedSets(stream);
  for (int index = 0; index < options.frames; ++index) {
    ASSERT_TRUE(decoded->feed(stream.frames[static_cast<std::size_t>(index)].slice)) << index;
    EXPECT_EQ(CVPixelBufferGetWidth(decoded->picture()), 1280U);
    EXPECT_EQ(CVPixelBufferGetHeight(decoded->picture()), 960U);
  }
  TestPicture drawn = drawnPicture(options, options.frames - 1);
  if (the.fullRange) toVideoRange(drawn);
  const test::Likeness like = likeness(decoded->picture(), drawn);
  EXPECT_GT(like.y, 40);
  EXPECT_GT(like.u, 42);
  EXPECT_GT(like.v, 42);
  EXPECT_EQ(decoded->matrix(), the.attachment);
  EXPECT_THAT(decoded->errors, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, StreamTest,
    testing::Values(StreamCase{640, 480, false, TestMatrix::Unspecified, "ITU_R_601_4"},
                    StreamCase{1280, 720, false, TestMatrix::Unspecified, "ITU_R_709_2"},
                    StreamCase{352, 288, false, TestMatrix::Unspecified, "ITU_R_601_4"},
                    StreamCase{352, 288, false, TestMatrix::Bt709, "ITU_R_709_2"},
                    StreamCase{704, 576, false, TestMatrix::Unspecified, "ITU_R_601_4"},
                    StreamCase{1280, 960, false, TestMatrix::Bt601, "ITU_R_601_4"},
                    StreamCase{640, 480, true, TestMatrix::Bt601, "ITU_R_601_4"}));

TEST(DecoderTest, SliceBeforeTheSetsIsRefusedInWords) {
  const auto decoded = DecodedStream::make();
  EXPECT_FALSE(decoded->feed(encodeTestStream().frames[0].slice));
  EXPECT_THAT(decoded->errors, ElementsAre("IOS8VT: reset decoder session failed status=-12710",
                                           "IOS8VT: decode failed status=-12902"));
}

TEST(DecoderTest, UnitsWithoutSlicesAreNoErrors) {
  const H264TestStream stream = encodeTestStream();
  const auto decoded = DecodedStream::make();
  decoded->feedSets(stream);
  EXPECT_FALSE(decoded->feed({0x09, 0xF0}));
  EXPECT_FALSE(decoded->feed({0x06, 0x06, 0x01, 0x84, 0x80}));
  EXPECT_THAT(decoded->errors, IsEmpty());
}

TEST(DecoderTest, RestOfAnAccessUnitMayHoldSeveralUnits) {
  const H264TestStream stream = encodeTestStream();
  const auto decoded = DecodedStream::make();
  decoded->feedSets(stream);
  Bytes rest{0x06, 0x06, 0x01, 0x84, 0x80};
  for (const Bytes& unit :
       {encodeTestStream({.width = 352, .height = 288}).sps, stream.frames[0].slice}) {
    const Bytes marked = test::withStartCode(unit);
    rest.insert(rest.end(), marked.begin(), marked.end());
  }
  EXPECT_TRUE(decoded->feed(rest));  // and the set of another size inside changed nothing
  EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 0)).y, 40);
  EXPECT_TRUE(decoded->feed(stream.frames[1].slice));
}

// Several slices a picture, macroblocks in pairs, a slice a packet.
TEST(DecoderTest, PicturesOfSeveralSlicesShow) {
  for (const char* const encoder :
       {"slices=8", "slice-max-size=1200", "tff=1:slices=4", "bff=1:slice-max-mbs=40"}) {
    const H264TestStream stream = encodeTestStream(
        {.mainProfile = true, .keepVui = true, .bitRate = 20'000'000, .encoder = encoder});
    const auto decoded = DecodedStream::make();
    decoded->feedSets(stream);
    for (std::size_t index = 0; index < stream.frames.size(); ++index) {
      EXPECT_TRUE(decoded->feed(stream.frames[index].slice)) << encoder << ' ' << index;
    }
    EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 9)).y, 38) << encoder;
    EXPECT_THAT(decoded->errors, IsEmpty());
  }
}

// A unit of the bits after its header, closed with a 1.
Bytes unitOf(std::uint8_t header, std::string bits) {
  bits += '1';
  bits.resize((bits.size() + 7) / 8 * 8, '0');
  Bytes unit{header};
  for (std::size_t at = 0; at < bits.size(); at += 8) {
    unit.push_back(static_cast<std::uint8_t>(std::stoi(bits.substr(at, 8), nullptr, 2)));
  }
  return unit;
}

TEST(DecoderTest, ThousandSlicesOverTheWholePictureCostNothing) {
  const auto decoded = DecodedStream::make();
  decoded->feed({0x67, 0x42, 0xC0, 0x33, 0xDA, 0x00, 0xC0, 0x01, 0x81, 0x90});  // 3072x3072
  decoded->feed({0x68, 0xCE, 0x3C, 0x80});
  std::string grey =
      "1"
      "011"
      "1"
      "0000"
      "1"
      "00"
      "1"
      "010";  // a key slice from macroblock 0
  for (int i = 0; i < 36864; ++i) {
    grey += "00100111";
  }
  ASSERT_TRUE(decoded->feed(unitOf(0x65, grey)));
  // From macroblock 1, skipping 36863.
  const Bytes slice = unitOf(0x41,
                             "010"
                             "1"
                             "1"
                             "0001"
                             "0"
                             "0"
                             "0"
                             "1"
                             "010"
                             "0000000000000001001000000000000");
  Bytes unit = slice;
  for (int i = 1; i < 1000; ++i) {
    const Bytes next = test::withStartCode(slice);
    unit.insert(unit.end(), next.begin(), next.end());
  }
  const double before = processorSeconds();
  EXPECT_FALSE(decoded->feed(unit));
  EXPECT_LT(processorSeconds() - before, 0.5);
  EXPECT_TRUE(decoded->feed(unitOf(0x65, grey)));
}

TEST(DecoderTest, LaterSetsOfAnotherSizeNeverReachTheSession) {
  const H264TestStream stream = encodeTestStream();
  const auto decoded = DecodedStream::make();
  decoded->feedSets(stream);
  ASSERT_TRUE(decoded->feed(stream.frames[0].slice));
  decoded->feedSets(encodeTestStream({.width = 1280, .height = 720}));
  ASSERT_TRUE(decoded->feed(stream.frames[1].slice));
  EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 1)).y, 40);
}

TEST(DecoderTest, DamagedPictureIsReportedAndNotShownAndTheNextKeyPictureIsWhole) {
  const H264TestStream stream = encodeTestStream({.keyInterval = 5});
  const auto decoded = DecodedStream::make();
  decoded->feedSets(stream);
  Bytes half = stream.frames[0].slice;
  half.resize(half.size() / 2);
  EXPECT_FALSE(decoded->feed(half));
  EXPECT_FALSE(decoded->feed({0xE5, 1, 2, 3}));  // the forbidden bit
  EXPECT_THAT(decoded->errors, ElementsAre("IOS8VT: decode failed status=-12909(Bad data)",
                                           "IOS8VT: decode failed status=-12909(Bad data)"));
  EXPECT_TRUE(decoded->feed(stream.frames[5].slice));
  EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 5)).y, 40);
}

// The terminal is the host's: libavcodec has messages that no log level of a decoder holds back.
TEST(DecoderTest, HostileUnitsPutNothingOnTheTerminal) {
  std::mt19937 random(5);
  testing::internal::CaptureStderr();
  for (const char* const encoder : {"", "tff=1"}) {
    const H264TestStream stream =
        encodeTestStream({.frames = 2, .mainProfile = true, .keepVui = true, .encoder = encoder});
    const auto decoded = DecodedStream::make();
    decoded->feedSets(stream);
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

// The scene with a patch at the lower right whose brightness tells pictures of a group apart.
void drawNumbered(TestPicture& picture, int index) {
  test::drawTestScene(picture, index);
  for (int row = picture.height - 64; row < picture.height; ++row) {
    const auto end = picture.y.begin() + (row + 1) * picture.width;
    std::fill(end - 64, end, static_cast<std::uint8_t>(20 + 14 * (index % 15)));
  }
}

// After some of these faults in a slice header libavcodec by itself would hold a picture back for
// good.
TEST(DecoderTest, DamageNeverDelaysLaterPictures) {
  const H264TestStream stream =
      encodeTestStream({.frames = 30, .keyInterval = 15, .draw = drawNumbered});
  for (unsigned bit = 8; bit < 32; ++bit) {
    const auto decoded = DecodedStream::make();
    decoded->feedSets(stream);
    for (std::size_t index = 0; index < 30; ++index) {
      Bytes slice = stream.frames[index].slice;
      slice[bit / 8] ^= static_cast<std::uint8_t>(index == 5 ? 0x80U >> bit % 8 : 0);
      const bool shown = decoded->feed(slice);
      ASSERT_TRUE(shown || index < 15) << "bit " << bit << " picture " << index;
    }
    const std::uint8_t* const luma = CVPixelBufferGetBaseAddressOfPlane(decoded->picture(), 0);
    ASSERT_NEAR(luma[1280 * 950 + 1240], 20 + 14 * 14, 5) << "bit " << bit;
  }
}

class HostileKeyFrameTest : public testing::TestWithParam<bool> {};

// The session is made once: no frame of a hostile server may get it made from sets that would lock
// out the good ones.
TEST_P(HostileKeyFrameTest, NextGoodKeyFrameShows) {
  const H264TestStream stream = encodeTestStream({.frames = 1});
  const Bytes good = stream.frameBytes(0);
  std::mt19937 random(7);
  for (const bool withSession : {false, true}) {
    const auto decoded = DecodedStream::make();
    if (withSession) {
      ASSERT_TRUE(decoded->feedFrame(good));
    }
    for (std::size_t size = 1; size <= 40; ++size) {
      for (unsigned first = 0; first < 256; ++first) {
        Bytes frame(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        if (GetParam()) std::generate(frame.begin(), frame.end(), random);
        frame.resize(std::max<std::size_t>(size, 5));
        frame[4] = static_cast<std::uint8_t>(first);
        frame.resize(size);
        decoded->feedFrame(frame);
      }
      ASSERT_TRUE(!withSession || decoded->feedFrame(good)) << size;
    }
    ASSERT_TRUE(decoded->feedFrame(good));
    EXPECT_GT(likeness(decoded->picture(), drawnPicture({}, 0)).y, 40);
    EXPECT_THAT(decoded->errors, Contains(testing::HasSubstr("IOS8VT")));
  }
}

INSTANTIATE_TEST_SUITE_P(Contents, HostileKeyFrameTest, testing::Bool());

}  // namespace
}  // namespace quorvid
