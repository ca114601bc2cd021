#include "port/av/DecompressionSession.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "base/Clock.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

constexpr double kLongestHonestUnit = 0.25;  // seconds of processor time
// One for the turn that has begun, one that waits, one that takes its place, one that is shown.
constexpr std::size_t kMostKept = 4;

}  // namespace

OSStatus VTDecompressionSession::decode(std::span<const std::uint8_t> sample, void* frameRefCon,
                                        VTDecodeInfoFlags& infoFlags) {
  CVPixelBufferRef picture = nullptr;
  infoFlags = 0;
  kept_ = nullptr;
  for (const auto& kept : keptPictures_) {
    if (kept.use_count() == 1) kept->letGo();  // nobody will ask for it any more
  }
  const OSStatus status = makePicture(sample, picture, infoFlags);
  if (picture == nullptr) infoFlags |= kVTDecodeInfo_FrameDropped;
  callback_.callback(callback_.refCon, frameRefCon, status, infoFlags, picture, CMTime{}, CMTime{});
  CVPixelBufferRelease(picture);
  return status;
}

// Held units are decoded like others: the decoder goes on with what it has, and whether they decode
// without damage tells numbers that are wrong from a stream that is.
OSStatus VTDecompressionSession::makePicture(std::span<const std::uint8_t> sample,
                                             CVPixelBufferRef& picture,
                                             VTDecodeInfoFlags& infoFlags) {
  unit_ = h264::readSample(sample, sets_, mostWork_, std::move(unit_.units));
  const h264::Sample& unit = unit_;
  if (unit.kind == h264::SampleKind::Nothing) {
    continuity_.announce(unit.picture.recoveryFrameCnt);
    return noErr;
  }
  if (unit.kind == h264::SampleKind::Damaged) {
    continuity_.lose();
    return kVTVideoDecoderBadDataErr;
  }
  if (!pack(unit)) {
    continuity_.lose();
    return kVTAllocationFailedErr;
  }
  const bool mayShow = takePicture(unit.picture);
  const DecodedPicture decoded = decodeTimed();
  continuity_.decoded(decoded.status == noErr);
  // Of a held unit nobody can say whether it was damaged or what it refers to.
  if (!mayShow && (decoded.status == noErr || decoded.status == kVTVideoDecoderBadDataErr)) {
    infoFlags = kVTDecodeInfo_FrameHeld;
    return noErr;
  }
  if (decoded.frame == nullptr) return decoded.status;
  kept_ = decoded.frame;
  if (!onRequest_) return copyPicture(picture);
  infoFlags = kVTDecodeInfo_FrameKept;
  return noErr;
}

OSStatus VTDecompressionSession::copyPicture(CVPixelBufferRef& picture) {
  return kept_ != nullptr ? convertFrame(*converter_, *kept_, shapes(), picture) : noErr;
}

std::shared_ptr<VTKeptPicture> VTDecompressionSession::keepPicture() try {
  if (kept_ == nullptr) return nullptr;
  auto free = std::find_if(keptPictures_.begin(), keptPictures_.end(),
                           [](const auto& picture) { return picture.use_count() == 1; });
  if (free == keptPictures_.end()) {
    auto made = std::make_shared<VTKeptPicture>(converter_);
    if (keptPictures_.size() == kMostKept) return made->keep(*kept_, shapes()) ? made : nullptr;
    free = keptPictures_.insert(free, std::move(made));
  }
  return (*free)->keep(*kept_, shapes()) ? *free : nullptr;
} catch (const std::bad_alloc&) {
  return nullptr;
}

StreamShapes VTDecompressionSession::shapes() const {
  const h264::Sps& stream = sets_.stream;
  const auto height = static_cast<CGFloat>(stream.displayedHeight());
  return {{static_cast<CGFloat>(stream.displayedWidth()), height},
          {height * stream.displayAspect(), height}};
}

// True when the picture may be shown. The packet says where a decoder may join the stream.
bool VTDecompressionSession::takePicture(const h264::PictureInfo& picture) {
  const bool trusted = continuity_.trustsNumbers();
  const bool mayShow = continuity_.take(picture, steadySeconds());
  packet_->flags = continuity_.startsAnew() ? AV_PKT_FLAG_KEY : 0;
  if (trusted && !continuity_.trustsNumbers()) {
    logMessage("H.264: the stream's frame numbers are wrong, no longer looked at");
  }
  return mayShow;
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
