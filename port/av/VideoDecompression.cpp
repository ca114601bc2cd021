#include "port/VideoDecompression.h"

#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "port/av/DecompressionSession.h"

namespace quorvid {

class CMVideoFormatDescription {
 public:
  h264::ParameterSets sets;
};

class CMBlockBuffer {
 public:
  std::span<const std::uint8_t> bytes;
};

class CMSampleBuffer {
 public:
  std::span<const std::uint8_t> bytes;
  bool hasFormat = false;
};

namespace {

// Deletes through an owner, as everything else here is owned.
template <class T>
void destroy(T* object) {
  const std::unique_ptr<T> last(object);
}

// Each unit needs a block and a sample, for one call: a thread makes the next out of the last.
template <class T>
std::unique_ptr<T>& lastReleased() {
  thread_local std::unique_ptr<T> last;
  return last;
}

template <class T>
std::unique_ptr<T> makeOrReuse() {
  std::unique_ptr<T> made = std::move(lastReleased<T>());
  if (made == nullptr) made = std::make_unique<T>();
  return made;
}

template <class Value>
std::optional<Value> valueOf(const ImageBufferAttributes& attributes, std::string_view key) {
  for (const ImageBufferAttribute& attribute : attributes) {
    if (attribute.key == key && std::holds_alternative<Value>(attribute.value)) {
      return std::get<Value>(attribute.value);
    }
  }
  return std::nullopt;
}

// Nothing unless the attributes ask for pictures that are made here.
std::optional<PictureSize> sizeOf(const ImageBufferAttributes& attributes) {
  constexpr std::int64_t kLargestSide = 8192;
  const auto width = valueOf<std::int64_t>(attributes, kCVPixelBufferWidthKey);
  const auto height = valueOf<std::int64_t>(attributes, kCVPixelBufferHeightKey);
  const auto format = valueOf<std::int64_t>(attributes, kCVPixelBufferPixelFormatTypeKey);
  if (format == std::int64_t{kCVPixelFormatType_420YpCbCr8Planar} && !width && !height) {
    return PictureSize{.asDecoded = true};
  }
  if (format != std::int64_t{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange} ||
      !valueOf<bool>(attributes, kCVPixelBufferOpenGLCompatibilityKey) ||
      width.has_value() != height.has_value()) {
    return std::nullopt;
  }
  if (!width) return PictureSize{};
  if (*width < 2 || *width > kLargestSide || *height < 2 || *height > kLargestSide) {
    return std::nullopt;
  }
  return PictureSize{static_cast<std::size_t>(*width), static_cast<std::size_t>(*height)};
}

}  // namespace

void CFRelease(CMVideoFormatDescriptionRef description) {
  destroy(description);
}
void CFRelease(CMBlockBufferRef block) {
  if (block != nullptr) lastReleased<CMBlockBuffer>().reset(block);
}
void CFRelease(CMSampleBufferRef sample) {
  if (sample != nullptr) lastReleased<CMSampleBuffer>().reset(sample);
}
void CFRelease(VTDecompressionSessionRef session) {
  destroy(session);
}

std::string VTLoadDecoders() {
  return avCodecLibrary.load();
}

OSStatus CMVideoFormatDescriptionCreateFromH264ParameterSets(
    CFAllocator /*allocator*/, std::size_t parameterSetCount,
    const std::uint8_t* const* parameterSetPointers, const std::size_t* parameterSetSizes,
    int nalUnitHeaderLength, CMVideoFormatDescriptionRef* out) {
  *out = nullptr;
  if (parameterSetCount != 2 || nalUnitHeaderLength != 4 || parameterSetPointers[0] == nullptr ||
      parameterSetPointers[1] == nullptr) {
    return kCMFormatDescriptionError_InvalidParameter;
  }
  auto sets = h264::ParameterSets::make({parameterSetPointers[0], parameterSetSizes[0]},
                                        {parameterSetPointers[1], parameterSetSizes[1]});
  if (!sets) return kCMFormatDescriptionError_InvalidParameter;
  auto description = std::make_unique<CMVideoFormatDescription>();
  description->sets = std::move(*sets);
  *out = description.release();
  return noErr;
}

OSStatus VTDecompressionSessionCreate(CFAllocator /*allocator*/,
                                      CMVideoFormatDescriptionRef formatDescription,
                                      const void* decoderSpecification,
                                      const ImageBufferAttributes& destinationAttributes,
                                      const VTDecompressionOutputCallbackRecord& callback,
                                      VTDecompressionSessionRef* out) {
  *out = nullptr;
  const auto size = sizeOf(destinationAttributes);
  if (formatDescription == nullptr || decoderSpecification != nullptr || !size ||
      callback.callback == nullptr) {
    return kVTParameterErr;
  }
  auto decoder = DecoderChain::open(decoderCandidates(), formatDescription->sets);
  if (!decoder) return kVTCouldNotFindVideoDecoderErr;
  auto session = std::make_unique<VTDecompressionSession>(std::move(decoder),
                                                          formatDescription->sets, *size, callback);
  *out = session.release();
  return noErr;
}

// What thread count and real time ask for is how every session works.
OSStatus VTSessionSetProperty(VTDecompressionSessionRef session, std::string_view key,
                              CFValue value) {
  if (session == nullptr) return kVTParameterErr;
  if (key == kVTDecompressionPropertyKey_PicturesOnRequest && std::holds_alternative<bool>(value)) {
    session->setPicturesOnRequest(std::get<bool>(value));
    return noErr;
  }
  const bool isSupported =
      (key == kVTDecompressionPropertyKey_ThreadCount && value == CFValue(std::int64_t{1})) ||
      (key == kVTDecompressionPropertyKey_RealTime && value == CFValue(true));
  return isSupported ? noErr : kVTPropertyNotSupportedErr;
}

OSStatus CMBlockBufferCreateWithMemoryBlock(CFAllocator /*structureAllocator*/, void* memoryBlock,
                                            std::size_t blockLength, CFAllocator blockAllocator,
                                            const void* customBlockSource, std::size_t offsetToData,
                                            std::size_t dataLength, std::uint32_t /*flags*/,
                                            CMBlockBufferRef* out) {
  *out = nullptr;
  if (memoryBlock == nullptr || blockAllocator != kCFAllocatorNull ||
      customBlockSource != nullptr || dataLength == 0 || offsetToData > blockLength ||
      dataLength > blockLength - offsetToData) {
    return kCMBlockBufferBadLengthParameterErr;
  }
  auto block = makeOrReuse<CMBlockBuffer>();
  block->bytes = {static_cast<const std::uint8_t*>(memoryBlock) + offsetToData, dataLength};
  *out = block.release();
  return noErr;
}

OSStatus CMSampleBufferCreateReady(CFAllocator /*allocator*/, CMBlockBufferRef dataBuffer,
                                   CMVideoFormatDescriptionRef formatDescription,
                                   std::size_t sampleCount, std::size_t /*timingEntryCount*/,
                                   const void* /*timingEntries*/, std::size_t sizeEntryCount,
                                   const std::size_t* sizeEntries, CMSampleBufferRef* out) {
  *out = nullptr;
  if (dataBuffer == nullptr || sampleCount != 1 || sizeEntryCount != 1 ||
      sizeEntries[0] > dataBuffer->bytes.size()) {
    return kCMSampleBufferError_RequiredParameterMissing;
  }
  auto sample = makeOrReuse<CMSampleBuffer>();
  sample->bytes = dataBuffer->bytes.first(sizeEntries[0]);
  sample->hasFormat = formatDescription != nullptr;
  *out = sample.release();
  return noErr;
}

OSStatus VTDecompressionSessionDecodeFrame(VTDecompressionSessionRef session,
                                           CMSampleBufferRef sample, VTDecodeFrameFlags flags,
                                           void* sourceFrameRefCon, VTDecodeInfoFlags* infoFlags) {
  VTDecodeInfoFlags dropped = kVTDecodeInfo_FrameDropped;
  VTDecodeInfoFlags& info = infoFlags != nullptr ? *infoFlags : dropped;
  if (session == nullptr || sample == nullptr || !sample->hasFormat || flags != 0) {
    info = dropped;
    return kVTParameterErr;
  }
  return session->decode(sample->bytes, sourceFrameRefCon, info);
}

OSStatus VTDecompressionSessionCopyPicture(VTDecompressionSessionRef session,
                                           CVPixelBufferRef* out) {
  *out = nullptr;
  return session != nullptr ? session->copyPicture(*out) : kVTParameterErr;
}

std::shared_ptr<VTKeptPicture> VTDecompressionSessionKeepPicture(
    VTDecompressionSessionRef session) {
  return session != nullptr ? session->keepPicture() : nullptr;
}

bool VTKeptPictureConvert(VTKeptPicture& kept) {
  return kept.convert();
}

OSStatus VTKeptPictureCopyPicture(VTKeptPicture& kept, CVPixelBufferRef* out) {
  *out = nullptr;
  return kept.copyPicture(*out);
}

}  // namespace quorvid
