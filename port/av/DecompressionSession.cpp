#include "port/av/DecompressionSession.h"

#include "base/Clock.h"
#include "h264/Units.h"

namespace quorvid {
namespace {

constexpr double kLongestHonestUnit = 0.25;  // seconds of processor time

}  // namespace

OSStatus VTDecompressionSession::decode(std::span<const std::uint8_t> sample, void* frameRefCon,
                                        VTDecodeInfoFlags& infoFlags) {
  CVPixelBufferRef picture = nullptr;
  const OSStatus status = makePicture(sample, picture);
  infoFlags = picture == nullptr ? kVTDecodeInfo_FrameDropped : 0;
  callback_.callback(callback_.refCon, frameRefCon, status, infoFlags, picture, CMTime{}, CMTime{});
  CVPixelBufferRelease(picture);
  return status;
}

OSStatus VTDecompressionSession::makePicture(std::span<const std::uint8_t> sample,
                                             CVPixelBufferRef& picture) {
  const h264::SampleKind kind = h264::repackSample(sample, stream_, mostWork_, packet_);
  if (kind == h264::SampleKind::Nothing) return noErr;
  if (kind == h264::SampleKind::Damaged) return kVTVideoDecoderBadDataErr;
  const DecodedPicture decoded = decodeTimed();
  if (decoded.frame == nullptr) return decoded.status;
  picture = converter_.convert(*decoded.frame);
  return picture != nullptr ? noErr : kVTVideoDecoderMalfunctionErr;
}

DecodedPicture VTDecompressionSession::decodeTimed() {
  const double start = processorSeconds();
  const DecodedPicture decoded = decoder_->decode(packet_);
  if (processorSeconds() - start > kLongestHonestUnit) mostWork_ = h264::kWorkOfAQuarterSecond;
  return decoded;
}

}  // namespace quorvid
