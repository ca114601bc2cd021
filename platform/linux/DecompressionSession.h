// VTDecompressionSession: from a length-prefixed unit to a picture in the callback's hands.
#ifndef QUORVID_PLATFORM_LINUX_DECOMPRESSION_SESSION_H
#define QUORVID_PLATFORM_LINUX_DECOMPRESSION_SESSION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/linux/DecoderChain.h"
#include "platform/linux/H264WorkBounds.h"
#include "platform/linux/PictureConverter.h"
#include "quorvid/platform/VideoDecompression.h"

namespace quorvid {

class VTDecompressionSession {
 public:
  // stream: what the decoder's SPS says. width, height: of every picture.
  VTDecompressionSession(std::unique_ptr<DecoderChain> decoder, const H264Sps& stream,
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
  DecodedPicture decodeTimed();

  std::unique_ptr<DecoderChain> decoder_;
  H264Sps stream_;
  std::uint64_t mostWork_ = kWorkOfHonestUnits;  // until a unit took too long
  PictureConverter converter_;
  VTDecompressionOutputCallbackRecord callback_;
  std::vector<std::uint8_t> packet_;
};

}  // namespace quorvid

#endif
