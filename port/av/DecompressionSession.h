// VTDecompressionSession: from a length-prefixed unit to a picture in the callback's hands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "h264/Continuity.h"
#include "port/VideoDecompression.h"
#include "port/av/DecoderChain.h"
#include "port/av/KeptPicture.h"

namespace quorvid {

class VTDecompressionSession {
 public:
  // sets: those of the decoder. size: of every picture.
  VTDecompressionSession(std::unique_ptr<DecoderChain> decoder, h264::ParameterSets sets,
                         const PictureSize& size,
                         const VTDecompressionOutputCallbackRecord& callback)
      : decoder_(std::move(decoder)),
        sets_(std::move(sets)),
        continuity_(sets_.stream),
        converter_(std::make_shared<PictureConverter>(size)),
        callback_(callback) {}

  // Calls the callback once, with or without a picture, and returns the status that it got.
  OSStatus decode(std::span<const std::uint8_t> sample, void* frameRefCon,
                  VTDecodeInfoFlags& infoFlags);
  // On request: decode() leaves the picture to copyPicture().
  void setPicturesOnRequest(bool onRequest) { onRequest_ = onRequest; }
  OSStatus copyPicture(CVPixelBufferRef& picture);
  std::shared_ptr<VTKeptPicture> keepPicture();

 private:
  OSStatus makePicture(std::span<const std::uint8_t> sample, CVPixelBufferRef& picture,
                       VTDecodeInfoFlags& infoFlags);
  bool takePicture(const h264::PictureInfo& picture);
  StreamShapes shapes() const;
  bool pack(const h264::Sample& sample);
  DecodedPicture decodeTimed();

  std::unique_ptr<DecoderChain> decoder_;
  h264::ParameterSets sets_;
  h264::Continuity continuity_;
  std::uint64_t mostWork_ = h264::kWorkOfHonestUnits;  // until a unit took too long
  h264::Sample unit_;                                  // the last one; only its memory matters
  std::shared_ptr<PictureConverter> converter_;
  VTDecompressionOutputCallbackRecord callback_;
  AvPacketPtr packet_{av_packet_alloc()};
  bool onRequest_ = false;
  const AVFrame* kept_ = nullptr;  // the decoder's; of the last unit, until the next
  std::vector<std::shared_ptr<VTKeptPicture>> keptPictures_;  // those that nobody else has are free
};

}  // namespace quorvid
