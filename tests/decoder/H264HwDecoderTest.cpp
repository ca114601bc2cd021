// The decoder's bookkeeping against a recording stand-in for the platform.
#include "quorvid/decoder/H264HwDecoderImpl.h"

#include <gmock/gmock.h>

#include "decoder/RecordingDecompression.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

using test::recording;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

const char* const kSps = "\x67set";
const char* const kPps = "\x68two";

class CountingDelegate : public H264HwDecoderImplDelegate {
 public:
  void displayDecodedFrame(CVPixelBufferRef pixelBuffer) override {
    pictures.push_back(pixelBuffer);
  }
  std::vector<CVPixelBufferRef> pictures;
};

class H264HwDecoderTest : public testing::Test {
 protected:
  void SetUp() override { test::resetRecording(); }

  // Feeds a unit with a start code in front and returns the bytes as the decoder left them.
  std::string feed(const std::string& unit) {
    std::string frame = "\x01\x02\x03\x04" + unit;
    decoder_->decodeNalu(frame.data(), static_cast<std::uint32_t>(frame.size()));
    return frame;
  }
  void feedSets() {
    feed(kSps);
    feed(kPps);
    recording().calls.clear();
    recording().log.clear();
  }

  std::shared_ptr<H264HwDecoderImpl> decoder_ = H264HwDecoderImpl::init();
};

TEST_F(H264HwDecoderTest, FirstSliceBuildsTheSessionOnceAndReleasesItLast) {
  feedSets();
  const std::string slice = feed("\x65slice");
  EXPECT_THAT(
      recording().calls,
      ElementsAre("format 1 2 4",
                  "session 1 1 1 PixelFormatType=875704438 Width=1280 Height=960 "
                  "OpenGLCompatibility=true",
                  "property 1 ThreadCount=1", "property 1 RealTime=true", "block 1 10 1 1 0 10 0",
                  "sample 1 1 1 1 0 1 1 10", "decode 1 1 0 1", "release sample", "release block"));
  EXPECT_EQ(recording().spsBytes, kSps);
  EXPECT_EQ(recording().ppsBytes, kPps);
  EXPECT_EQ(recording().callbackRefCon, decoder_.get());
  EXPECT_THAT(recording().log, ElementsAre("==========> \xE9\x96\x8B\xE5\xA7\x8B\xE8\xA7\xA3\xE7"
                                           "\xA2\xBC",
                                           "type:5, size:10", "=========> decode\n\n"));
  recording().calls.clear();
  feed("\x67other");
  feed("\x41next");
  EXPECT_THAT(recording().calls, ElementsAre("block 1 9 1 1 0 9 0", "sample 1 1 1 1 0 1 1 9",
                                             "decode 1 1 0 1", "release sample", "release block"));
  recording().calls.clear();
  decoder_.reset();
  EXPECT_THAT(recording().calls, ElementsAre("release session", "release format"));
}

TEST_F(H264HwDecoderTest, LengthReplacesTheStartCodeAndOnlySetsStayOutOfTheDecoder) {
  for (int type = 0; type < 32; ++type) {
    recording().calls.clear();
    const std::string unit = std::string(1, static_cast<char>(0x60 | type)) + std::string(299, 'x');
    const std::string frame = feed(unit);
    EXPECT_EQ(frame, std::string("\0\0\x01\x2C", 4) + unit);
    EXPECT_EQ(recording().calls.empty(), type == 7 || type == 8) << type;
  }
}

TEST_F(H264HwDecoderTest, UnitsOutsideTheGateAreLoggedAndGoNoFurther) {
  feedSets();
  for (const std::uint32_t size : {0U, 4U, QUORVID_FRAME_CAPACITY + 1U, 0xFFFFFFF5U}) {
    for (const char header : {'\x67', '\x68', '\x65'}) {
      recording().log.clear();
      std::string frame = std::string("\0\0\0\1", 4) + header + "rest";
      decoder_->decodeNalu(frame.data(), size);
      EXPECT_EQ(recording().log.size(), 3U);  // the two of every unit, and the refusal
      EXPECT_EQ(static_cast<std::uint8_t>(frame[3]), (size - 4) & 0xFF);
    }
  }
  EXPECT_THAT(recording().calls, IsEmpty());
  feed("\x65");
  feed(std::string(QUORVID_FRAME_CAPACITY - 4, '\x65'));
  const std::string sample = "sample 1 1 1 1 0 1 1 ";
  EXPECT_THAT(recording().calls,
              IsSupersetOf({sample + "5", sample + std::to_string(QUORVID_FRAME_CAPACITY)}));
  EXPECT_EQ(recording().spsBytes, kSps);  // no refused set was stored
  EXPECT_EQ(recording().ppsBytes, kPps);
}

TEST_F(H264HwDecoderTest, SliceWithoutSetsIsStillOfferedAndTheNextOneTriesAgain) {
  recording().formatStatus = -12710;
  recording().decodeStatus = -12902;
  feed("\x65slice");
  EXPECT_THAT(recording().calls,
              ElementsAre("format 1 2 4", "block 1 10 1 1 0 10 0", "sample 1 1 0 1 0 1 1 10",
                          "decode 0 1 0 1", "release sample", "release block"));
  EXPECT_EQ(recording().spsBytes, "none");
  EXPECT_THAT(recording().log, IsSupersetOf({"IOS8VT: reset decoder session failed status=-12710",
                                             "IOS8VT: decode failed status=-12902"}));
  recording().formatStatus = 0;
  recording().sessionFails = true;
  feed("\x65slice");
  recording().calls.clear();
  feed("\x65slice");
  EXPECT_EQ(recording().calls.front(), "release format");  // of the attempt before
  EXPECT_EQ(recording().calls[1], "format 1 2 4");
}

TEST_F(H264HwDecoderTest, EachDecodeStatusHasItsMessage) {
  feedSets();
  const std::vector<std::pair<OSStatus, const char*>> messages{
      {-12903, "IOS8VT: Invalid session, reset decoder session"},
      {-12909, "IOS8VT: decode failed status=-12909(Bad data)"},
      {-12911, "IOS8VT: decode failed status=-12911"}};
  for (const auto& [status, message] : messages) {
    recording().decodeStatus = status;
    recording().log.clear();
    feed("\x65slice");
    EXPECT_EQ(recording().log.back(), message);
    EXPECT_EQ(recording().log.size(), 4U);
  }
}

TEST_F(H264HwDecoderTest, BuffersThatCannotBeMadeEndTheUnitQuietly) {
  feedSets();
  feed("\x65slice");
  recording().calls.clear();
  recording().sampleStatus = -1;
  feed("\x65slice");
  recording().blockStatus = -1;
  feed("\x65slice");
  EXPECT_THAT(recording().calls, ElementsAre("block 1 10 1 1 0 10 0", "sample 1 1 1 1 0 1 1 10",
                                             "release block", "block 1 10 1 1 0 10 0"));
}

TEST_F(H264HwDecoderTest, PictureIsRetainedOnceForTheDelegateAndUnitsAreNotCopied) {
  feedSets();
  CVPixelBufferRef picture = nullptr;
  CVPixelBufferCreate(2, 2, kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 0, &picture);
  recording().pictureToGive = picture;
  auto delegate = std::make_shared<CountingDelegate>();
  decoder_->setDelegate(delegate);
  feed("\x65slice");
  EXPECT_THAT(delegate->pictures, ElementsAre(picture));
  EXPECT_EQ(CVPixelBufferGetRetainCount(picture), 2);
  delegate.reset();
  EXPECT_EQ(decoder_->delegate(), nullptr);
  std::string unit("\0\0\0\1\x65", 5);
  EXPECT_EQ(decoder_->decode(unit.data(), 5), picture);
  EXPECT_EQ(recording().memoryBlock, unit.data());
  EXPECT_EQ(CVPixelBufferGetRetainCount(picture), 3);
  for (int i = 0; i < 3; ++i) {
    CVPixelBufferRelease(picture);
  }
  recording().pictureToGive = nullptr;
  EXPECT_EQ(decoder_->decode(unit.data(), 5), nullptr);
}

TEST_F(H264HwDecoderTest, ASetOfAnyLengthReplacesTheOneBefore) {
  recording().formatStatus = -1;  // so that every slice shows the sets
  for (const char* const set : {kSps, kSps, "\x67SET", "\x67SETS", "\x67SE"}) {
    feed(set);
    feed("\x65");
    EXPECT_EQ(recording().spsBytes, set);
  }
}

}  // namespace
}  // namespace quorvid
