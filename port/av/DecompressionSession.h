// VTDecompressionSession: from a length-prefixed unit to a picture in the callback's hands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "h264/Slice.h"
#include "h264/Units.h"
#include "port/VideoDecompression.h"
#include "port/av/DecoderChain.h"
#include "port/av/PictureConverter.h"

namespace quorvid {

class VTDecompressionSession {
 public:
  // stream: what the decoder's SPS says. width, height: of every picture.
  VTDecompressionSession(std::unique_ptr<DecoderChain> decoder, const h264::Sps& stream,
                         std::size_t width, std::size_t height,
                         const VTDecompressionOutputCallbackRecord& callback)
      : decoder_(std::move(decoder)),
        stream_(stream),
        converter_(width, height),
        callback_(callback) {}

  // Calls the callback once, with or without a picture, and returns the status that it got.
  OSStatus decode(std::span<const std::uint8_t> sample, void* frameRefCon,
                  VTDecodeInfoFlags& infoFlags);

 private:
  OSStatus makePicture(std::span<const std::uint8_t> sample, CVPixelBufferRef& picture);
  bool pack(const h264::Sample& sample);
  DecodedPicture decodeTimed();

  std::unique_ptr<DecoderChain> decoder_;
  h264::Sps stream_;
  std::uint64_t mostWork_ = h264::kWorkOfHonestUnits;  // until a unit took too long
  PictureConverter converter_;
  VTDecompressionOutputCallbackRecord callback_;
  AvPacketPtr packet_{av_packet_alloc()};
};

}  // namespace quorvid
