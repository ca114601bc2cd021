#include "port/av/DecompressionSession.h"

#include <cstring>

#include "base/Clock.h"

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
  const h264::Sample unit = h264::readSample(sample, stream_, mostWork_);
  if (unit.kind == h264::SampleKind::Nothing) return noErr;
  if (unit.kind == h264::SampleKind::Damaged) return kVTVideoDecoderBadDataErr;
  if (!pack(unit)) return kVTAllocationFailedErr;
  const DecodedPicture decoded = decodeTimed();
  if (decoded.frame == nullptr) return decoded.status;
  picture = converter_.convert(*decoded.frame);
  return picture != nullptr ? noErr : kVTVideoDecoderMalfunctionErr;
}

// The one copy of a unit on its way: a decoder reads a little beyond the end of its input, which
// the caller's memory doesn't have, and may keep a reference to it. The memory is used again unless
// one does.
bool VTDecompressionSession::pack(const h264::Sample& sample) {
  const std::size_t size = sample.packedSize();
  if (!packet_) return false;
  if (packet_->buf == nullptr || av_buffer_is_writable(packet_->buf) == 0 ||
      static_cast<std::size_t>(packet_->buf->size) < size + AV_INPUT_BUFFER_PADDING_SIZE) {
    av_packet_unref(packet_.get());
    if (av_new_packet(packet_.get(), static_cast<int>(size)) < 0) return false;
  }
  packet_->size = static_cast<int>(size);
  sample.packInto({packet_->data, size});
  std::memset(packet_->data + size, 0, AV_INPUT_BUFFER_PADDING_SIZE);
  return true;
}

// A session is fooled once: see WorkBounds.
DecodedPicture VTDecompressionSession::decodeTimed() {
  const double start = processorSeconds();
  const DecodedPicture decoded = decoder_->decode(*packet_);
  if (processorSeconds() - start > kLongestHonestUnit) mostWork_ = h264::kWorkOfAQuarterSecond;
  return decoded;
}

}  // namespace quorvid
