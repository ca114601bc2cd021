// Which of several ways to decode is believed, with devices played by stand-ins.
#include "port/av/DecoderChain.h"

#include <gmock/gmock.h>

#include "h264/Units.h"
#include "port/av/LibavDecoder.h"
#include "support/H264TestStream.h"

namespace quorvid {
namespace {

using testing::ElementsAre;

// A device that decodes (in software) until it is told to fail.
struct Device {
  bool opens = true;
  int goodUnits = 0;  // then it fails
  OSStatus failure = kVTVideoDecoderMalfunctionErr;
};

class StandIn : public PictureDecoder {
 public:
  StandIn(Device& device, std::unique_ptr<PictureDecoder> real)
      : device_(device), real_(std::move(real)) {}
  DecodedPicture decode(const AVPacket& packet) override {
    return device_.goodUnits-- > 0 ? real_->decode(packet)
                                   : DecodedPicture{device_.failure, nullptr};
  }

 private:
  Device& device_;
  std::unique_ptr<PictureDecoder> real_;
};

std::unique_ptr<PictureDecoder> software(const h264::ParameterSets& sets) {
  return LibavDecoder::open({avcodec_find_decoder(AV_CODEC_ID_H264), nullptr, AV_PIX_FMT_NONE},
                            sets);
}

class DecoderChainTest : public testing::Test {
 protected:
  DecoderCandidate candidate(const char* name, Device& device) {
    return {name, [this, name, &device](const h264::ParameterSets& sets) {
              tried_.emplace_back(name);
              return device.opens ? std::make_unique<StandIn>(device, software(sets)) : nullptr;
            }};
  }
  std::unique_ptr<DecoderChain> chain(Device& first, Device& second) {
    DecoderCandidates all{
        candidate("first", first), candidate("second", second), {"software", software}};
    return DecoderChain::open(std::move(all), *h264::ParameterSets::make(stream_.sps, stream_.pps));
  }
  bool decode(DecoderChain& chain, const std::vector<std::uint8_t>& unit) {
    h264::Sample sample;
    sample.units = {unit};
    const AvPacketPtr packet(av_packet_alloc());
    av_new_packet(packet.get(), static_cast<int>(sample.packedSize()));
    sample.packInto({packet->data, sample.packedSize()});
    last_ = chain.decode(*packet);
    return last_.frame != nullptr && last_.frame->width == 640;
  }
  bool decode(DecoderChain& chain, std::size_t index) {
    return decode(chain, stream_.frames[index].slice);
  }

  test::H264TestStream stream_ = test::encodeTestStream({.keyInterval = 5});
  std::vector<std::string> tried_;
  DecodedPicture last_;
};

TEST_F(DecoderChainTest, DeviceThatOpensButGivesNoPictureIsNotBelieved) {
  for (const OSStatus failure : {noErr, kVTVideoDecoderMalfunctionErr, kVTVideoDecoderBadDataErr}) {
    Device first{.failure = failure}, second{.failure = failure};
    const auto chain = this->chain(first, second);
    EXPECT_EQ(chain->name(), "first");
    EXPECT_TRUE(decode(*chain, 0));  // the very unit that the devices failed on
    EXPECT_EQ(chain->name(), "software");
    EXPECT_TRUE(decode(*chain, 1));
  }
}

TEST_F(DecoderChainTest, DeviceThatFailsLaterIsReplacedAtTheNextKeyFrame) {
  Device first{.goodUnits = 4}, second{.opens = false};
  const auto chain = this->chain(first, second);
  EXPECT_FALSE(decode(*chain, {0x65, 0x12, 0x34}));  // which the others can't decode either
  for (std::size_t index = 0; index < 10; ++index) {
    EXPECT_EQ(decode(*chain, index), index < 3 || index >= 5) << index;
  }
  EXPECT_EQ(chain->name(), "software");
}

// Its form of pictures is none that libavcodec offers for the stream; no device is asked.
TEST_F(DecoderChainTest, DeviceThatCannotDoTheStreamIsReplaced) {
  const AvBufferPtr device(av_hwdevice_ctx_alloc(AV_HWDEVICE_TYPE_VAAPI));
  ASSERT_NE(device, nullptr);
  const auto open = [&](const h264::ParameterSets& sets) {
    return LibavDecoder::open(
        {avcodec_find_decoder(AV_CODEC_ID_H264), device.get(), AV_PIX_FMT_MEDIACODEC}, sets);
  };
  const auto chain = DecoderChain::open({{"device", open}, {"software", software}},
                                        *h264::ParameterSets::make(stream_.sps, stream_.pps));
  EXPECT_EQ(chain->name(), "device");
  EXPECT_TRUE(decode(*chain, 0));
  EXPECT_EQ(chain->name(), "software");
}

TEST_F(DecoderChainTest, DeviceThatWorksStaysAndIsNotBlamedForADamagedUnit) {
  Device missing{.opens = false}, working{.goodUnits = 100};
  const auto chain = this->chain(missing, working);
  EXPECT_FALSE(decode(*chain, {0x65, 0x12, 0x34}));
  EXPECT_EQ(last_.status, kVTVideoDecoderBadDataErr);
  for (std::size_t index = 0; index < 10; ++index) EXPECT_TRUE(decode(*chain, index));
  EXPECT_FALSE(
      decode(*chain, {0x06, 0x06, 0x01, 0x84, 0x80}));  // nor is the last picture told again
  EXPECT_EQ(chain->name(), "second");
  EXPECT_THAT(tried_, ElementsAre("first", "second"));
}

TEST_F(DecoderChainTest, UnitsWithoutPicturesOpenNoDecoderEach) {
  Device first, second;
  const auto chain = this->chain(first, second);
  for (int i = 0; i < 20; ++i) {
    EXPECT_FALSE(decode(*chain, 1));  // of no use before a key frame
  }
  EXPECT_THAT(tried_, ElementsAre("first", "second"));
  EXPECT_EQ(chain->name(), "first");
  EXPECT_TRUE(decode(*chain, 5));
  EXPECT_EQ(chain->name(), "software");
}

}  // namespace
}  // namespace quorvid
