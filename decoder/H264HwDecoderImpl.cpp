#include "quorvid/decoder/H264HwDecoderImpl.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "h264/Units.h"
#include "port/VideoDecompression.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

constexpr std::uint32_t kPrefixSize = 4;
constexpr std::uint32_t kSmallestUnit = kPrefixSize + 1;
// What a frame of the wire may hold at most. A limit of its own, because a decoder that is fed from
// elsewhere needs no network; a test holds the two equal.
constexpr std::uint32_t kLargestUnit = 131072;
constexpr int kPictureWidth = 1280;
constexpr int kPictureHeight = 960;

void writeBigEndian(char* bytes, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    *bytes++ = static_cast<char>(value >> shift & 0xFF);
  }
}

void storeParameterSet(char*& set, std::ptrdiff_t& setSize, const char* bytes, std::size_t size) {
  if (set != nullptr && static_cast<std::size_t>(setSize) == size &&
      std::memcmp(set, bytes, size) == 0) {
    return;
  }
  auto* const copy = static_cast<char*>(std::malloc(size));
  if (copy == nullptr) {
    logMessage("no memory for a parameter set of %zu bytes", size);
    return;
  }
  std::memcpy(copy, bytes, size);
  std::free(set);
  set = copy;
  setSize = static_cast<std::ptrdiff_t>(size);
}

ImageBufferAttributes pictureAttributes(PictureForm form) {
  if (form == PictureForm::AsDecoded) {
    return {
        {{kCVPixelBufferPixelFormatTypeKey, std::int64_t{kCVPixelFormatType_420YpCbCr8Planar}}}};
  }
  ImageBufferAttributes attributes = {
      {{kCVPixelBufferPixelFormatTypeKey,
        std::int64_t{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange}},
       {kCVPixelBufferWidthKey, std::int64_t{kPictureWidth}},
       {kCVPixelBufferHeightKey, std::int64_t{kPictureHeight}},
       {kCVPixelBufferOpenGLCompatibilityKey, true}}};
  if (form == PictureForm::OwnSize) attributes[1] = attributes[2] = {};
  return attributes;
}

template <class Ref>
struct Release {
  void operator()(Ref object) const { CFRelease(object); }
};
// Goes with its block, however that is left.
template <class Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, Release<Ref>>;

void didDecompress(void* outputRefCon, void* sourceFrameRefCon, OSStatus /*status*/,
                   VTDecodeInfoFlags /*infoFlags*/, CVPixelBufferRef imageBuffer,
                   CMTime /*presentationTimeStamp*/, CMTime /*presentationDuration*/) {
  auto* const outputPixelBuffer = static_cast<CVPixelBufferRef*>(sourceFrameRefCon);
  *outputPixelBuffer = CVPixelBufferRetain(imageBuffer);
  const auto* const decoder = static_cast<const H264HwDecoderImpl*>(outputRefCon);
  if (const auto delegate = decoder->delegate()) delegate->displayDecodedFrame(imageBuffer);
}

void logDecodeStatus(OSStatus status) {
  if (status == kVTInvalidSessionErr) {
    logMessage("IOS8VT: Invalid session, reset decoder session");
  } else if (status == kVTVideoDecoderBadDataErr) {
    logMessage("IOS8VT: decode failed status=%d(Bad data)", status);
  } else if (status != noErr) {
    logMessage("IOS8VT: decode failed status=%d", status);
  }
}

}  // namespace

H264HwDecoderImplDelegate::~H264HwDecoderImplDelegate() = default;

std::shared_ptr<H264HwDecoderImpl> H264HwDecoderImpl::init() {
  return std::shared_ptr<H264HwDecoderImpl>(new H264HwDecoderImpl);
}

H264HwDecoderImpl::~H264HwDecoderImpl() {
  CFRelease(_deocderSession);
  CFRelease(_decoderFormatDescription);
  std::free(_sps);
  std::free(_pps);
}

void H264HwDecoderImpl::setDelegate(const std::shared_ptr<H264HwDecoderImplDelegate>& delegate) {
  _delegate = delegate;
}

void H264HwDecoderImpl::decodeNalu(char* frame, std::uint32_t frameSize) {
  logDetail("==========> 開始解碼");
  hasPicture_ = false;
  const h264::UnitType type = h264::typeOf(static_cast<std::uint8_t>(frame[kPrefixSize]));
  const std::uint32_t length = frameSize - kPrefixSize;
  writeBigEndian(frame, length);
  logDetail("type:%d, size:%d", static_cast<int>(type), static_cast<int>(frameSize));
  if (frameSize < kSmallestUnit || frameSize > kLargestUnit) {
    logMessage("unit of %u bytes refused: not between %u and %u", frameSize, kSmallestUnit,
               kLargestUnit);
    return;
  }
  if (type == h264::UnitType::Sps) {
    storeParameterSet(_sps, _spsSize, frame + kPrefixSize, length);
  } else if (type == h264::UnitType::Pps) {
    storeParameterSet(_pps, _ppsSize, frame + kPrefixSize, length);
  } else if (initH264Decoder()) {
    decode(frame, frameSize);
  }
}

bool H264HwDecoderImpl::initH264Decoder() {
  if (_deocderSession != nullptr) return true;
  CFRelease(_decoderFormatDescription);  // of an attempt that gave no session
  _decoderFormatDescription = nullptr;
  const std::array<const std::uint8_t*, 2> sets{reinterpret_cast<const std::uint8_t*>(_sps),
                                                reinterpret_cast<const std::uint8_t*>(_pps)};
  const std::array<std::size_t, 2> sizes{static_cast<std::size_t>(_spsSize),
                                         static_cast<std::size_t>(_ppsSize)};
  const OSStatus status = CMVideoFormatDescriptionCreateFromH264ParameterSets(
      kCFAllocatorDefault, sets.size(), sets.data(), sizes.data(), kPrefixSize,
      &_decoderFormatDescription);
  if (status != noErr) {
    logMessage("IOS8VT: reset decoder session failed status=%d", status);
    return true;
  }
  VTDecompressionSessionCreate(kCFAllocatorDefault, _decoderFormatDescription, nullptr,
                               pictureAttributes(form_), {didDecompress, this}, &_deocderSession);
  VTSessionSetProperty(_deocderSession, kVTDecompressionPropertyKey_ThreadCount, std::int64_t{1});
  VTSessionSetProperty(_deocderSession, kVTDecompressionPropertyKey_RealTime, true);
  if (picturesOnRequest_) {
    VTSessionSetProperty(_deocderSession, kVTDecompressionPropertyKey_PicturesOnRequest, true);
  }
  return true;
}

CVPixelBufferRef H264HwDecoderImpl::decode(char* buffer, std::uint32_t size) {
  logDetail("=========> decode\n\n");
  CVPixelBufferRef outputPixelBuffer = nullptr;
  hasPicture_ = false;
  CMBlockBufferRef block = nullptr;
  if (CMBlockBufferCreateWithMemoryBlock(kCFAllocatorDefault, buffer, size, kCFAllocatorNull,
                                         nullptr, 0, size, 0, &block) != noErr) {
    return nullptr;
  }
  const Owned<CMBlockBufferRef> ownBlock(block);
  CMSampleBufferRef sample = nullptr;
  const std::array<std::size_t, 1> sizes{size};
  const OSStatus created =
      CMSampleBufferCreateReady(kCFAllocatorDefault, block, _decoderFormatDescription, 1, 0,
                                nullptr, sizes.size(), sizes.data(), &sample);
  const Owned<CMSampleBufferRef> ownSample(sample);
  if (created == noErr && sample != nullptr) {
    VTDecodeInfoFlags infoFlags = 0;
    logDecodeStatus(VTDecompressionSessionDecodeFrame(_deocderSession, sample, 0,
                                                      &outputPixelBuffer, &infoFlags));
    const bool isHeld = (infoFlags & kVTDecodeInfo_FrameHeld) != 0;
    hasPicture_ = outputPixelBuffer != nullptr || (infoFlags & kVTDecodeInfo_FrameKept) != 0;
    isWaitingForKeyFrame_ = isHeld || (isWaitingForKeyFrame_ && !hasPicture_);
    if (isHeld) ++heldUnits_;
  }
  return outputPixelBuffer;
}

CVPixelBufferRef H264HwDecoderImpl::copyPicture() {
  if (!hasPicture_) return nullptr;
  CVPixelBufferRef picture = nullptr;
  logDecodeStatus(VTDecompressionSessionCopyPicture(_deocderSession, &picture));
  return picture;
}

std::shared_ptr<VTKeptPicture> H264HwDecoderImpl::keepPicture() {
  return hasPicture_ ? VTDecompressionSessionKeepPicture(_deocderSession) : nullptr;
}

bool H264HwDecoderImpl::convertPicture(VTKeptPicture& kept) {
  return VTKeptPictureConvert(kept);
}

CVPixelBufferRef H264HwDecoderImpl::copyPicture(VTKeptPicture& kept) {
  CVPixelBufferRef picture = nullptr;
  logDecodeStatus(VTKeptPictureCopyPicture(kept, &picture));
  return picture;
}

}  // namespace quorvid
