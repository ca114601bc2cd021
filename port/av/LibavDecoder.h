// LibavDecoder: libavcodec's H.264 decoder, alone or on a hardware device.
//
// One thread, low delay: a unit's picture is there when decode() returns. Messages of libavcodec
// are kept off the host's terminal by an offset of this context's own; its global log level stays
// as the host set it.
#pragma once

#include <memory>

#include "port/av/DecoderChain.h"

namespace quorvid {

struct LibavDecoderSetup {
  const AVCodec* codec = nullptr;
  AVBufferRef* device = nullptr;  // borrowed for open(); null: in software
  AVPixelFormat devicePixels = AV_PIX_FMT_NONE;
};

class LibavDecoder : public PictureDecoder {
 public:
  // Null when the decoder can't be had.
  static std::unique_ptr<PictureDecoder> open(const LibavDecoderSetup& setup,
                                              const h264::ParameterSets& sets);
  DecodedPicture decode(const AVPacket& packet) override;

 private:
  explicit LibavDecoder(AVPixelFormat devicePixels) : devicePixels_(devicePixels) {}
  bool configure(const LibavDecoderSetup& setup, const h264::ParameterSets& sets);
  DecodedPicture receive(bool isKey);
  DecodedPicture fetchFromDevice();
  static AVPixelFormat choosePixels(AVCodecContext* context, const AVPixelFormat* offered);

  AVPixelFormat devicePixels_;
  AvCodecContextPtr context_;
  bool joined_ = false;  // at a picture that needs none before it
  AvFramePtr next_, frame_, fetched_;
};

}  // namespace quorvid
