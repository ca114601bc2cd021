// VideoDecompression: the platform's H.264 decoder, from parameter sets and units to pictures.
//
// Not thread-safe: a session and what it is fed with belong to one thread, and the output callback
// runs on that thread before VTDecompressionSessionDecodeFrame() returns. Objects that a Create
// function makes belong to the caller until CFRelease().
//
// The road of one unit: parameter sets -> format description -> session; memory -> block buffer ->
// sample buffer -> VTDecompressionSessionDecodeFrame() -> callback with the picture.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

using OSStatus = std::int32_t;
inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus kCMFormatDescriptionError_InvalidParameter = -12710;
inline constexpr OSStatus kCMBlockBufferBadLengthParameterErr = -12704;
inline constexpr OSStatus kCMSampleBufferError_RequiredParameterMissing = -12731;
inline constexpr OSStatus kVTPropertyNotSupportedErr = -12900;
inline constexpr OSStatus kVTParameterErr = -12902;
inline constexpr OSStatus kVTInvalidSessionErr = -12903;
inline constexpr OSStatus kVTAllocationFailedErr = -12904;
inline constexpr OSStatus kVTCouldNotFindVideoDecoderErr = -12906;
inline constexpr OSStatus kVTVideoDecoderBadDataErr = -12909;
inline constexpr OSStatus kVTVideoDecoderMalfunctionErr = -12911;

// Default: the platform's own memory. Null: memory that stays the caller's and is never freed here.
enum class CFAllocator : std::uint8_t { Default, Null };
inline constexpr CFAllocator kCFAllocatorDefault = CFAllocator::Default;
inline constexpr CFAllocator kCFAllocatorNull = CFAllocator::Null;

class CMVideoFormatDescription;
class CMBlockBuffer;
class CMSampleBuffer;
class VTDecompressionSession;
class VTKeptPicture;
using CMVideoFormatDescriptionRef = CMVideoFormatDescription*;
using CMBlockBufferRef = CMBlockBuffer*;
using CMSampleBufferRef = CMSampleBuffer*;
using VTDecompressionSessionRef = VTDecompressionSession*;

// All take null.
void CFRelease(CMVideoFormatDescriptionRef description);
void CFRelease(CMBlockBufferRef block);
void CFRelease(CMSampleBufferRef sample);
void CFRelease(VTDecompressionSessionRef session);

// A number or a boolean, as property values and attributes are.
using CFValue = std::variant<std::int64_t, bool>;

inline constexpr std::string_view kCVPixelBufferPixelFormatTypeKey = "PixelFormatType";
inline constexpr std::string_view kCVPixelBufferWidthKey = "Width";
inline constexpr std::string_view kCVPixelBufferHeightKey = "Height";
inline constexpr std::string_view kCVPixelBufferOpenGLCompatibilityKey = "OpenGLCompatibility";

// What the pictures shall be: pixel format, width, height and whether OpenGL can use them. Without
// width and height (entries without a key in their place) they have the stream's own size. Format
// "y420" without a size and for OpenGL or not: the decoder's own planes, not copied ("f420" where
// the stream is in full range); not to be written to, the decoder may refer to them.
struct ImageBufferAttribute {
  std::string_view key;
  CFValue value;
};
using ImageBufferAttributes = std::array<ImageBufferAttribute, 4>;

inline constexpr std::string_view kVTDecompressionPropertyKey_ThreadCount = "ThreadCount";
inline constexpr std::string_view kVTDecompressionPropertyKey_RealTime = "RealTime";
// Boolean: the callback gets no pictures; VTDecompressionSessionCopyPicture() makes them.
inline constexpr std::string_view kVTDecompressionPropertyKey_PicturesOnRequest =
    "PicturesOnRequest";

// value / timescale seconds; flags 0: no time at all.
struct CMTime {
  std::int64_t value = 0;
  std::int32_t timescale = 0;
  std::uint32_t flags = 0;
  std::int64_t epoch = 0;
};

using VTDecodeFrameFlags = std::uint32_t;  // 0: synchronous
using VTDecodeInfoFlags = std::uint32_t;
inline constexpr VTDecodeInfoFlags kVTDecodeInfo_FrameDropped = 2;
// Beside FrameDropped and status 0: held, waiting for a key frame; see DecodeFrame below.
inline constexpr VTDecodeInfoFlags kVTDecodeInfo_FrameHeld = 1 << 8;
// Beside FrameDropped and status 0: there is a picture to be had on request.
inline constexpr VTDecodeInfoFlags kVTDecodeInfo_FrameKept = 1 << 9;

// Called once for each unit that a session took, with the picture or null (a unit without a
// picture, a damaged one). imageBuffer is borrowed: retain it to keep it.
using VTDecompressionOutputCallback = void (*)(void* outputRefCon, void* sourceFrameRefCon,
                                               OSStatus status, VTDecodeInfoFlags infoFlags,
                                               CVPixelBufferRef imageBuffer,
                                               CMTime presentationTimeStamp,
                                               CMTime presentationDuration);
struct VTDecompressionOutputCallbackRecord {
  VTDecompressionOutputCallback callback;
  void* refCon;
};

// Loads what decodes, which takes a while the first time; otherwise the first session does. Why
// that can't be had, for a person; empty: it is there. Any thread.
std::string VTLoadDecoders();

// One SPS and one PPS (without start codes, NAL header included) in this order; the bytes are
// copied. nalUnitHeaderLength: bytes of the length in front of every unit, 4. Sets that don't hold
// together to the last bit are refused with kCMFormatDescriptionError_InvalidParameter: a session
// lives with its sets for good.
OSStatus CMVideoFormatDescriptionCreateFromH264ParameterSets(
    CFAllocator allocator, std::size_t parameterSetCount,
    const std::uint8_t* const* parameterSetPointers, const std::size_t* parameterSetSizes,
    int nalUnitHeaderLength, CMVideoFormatDescriptionRef* out);

// decoderSpecification: null. The callback record is copied; `out` is null on failure.
OSStatus VTDecompressionSessionCreate(CFAllocator allocator,
                                      CMVideoFormatDescriptionRef formatDescription,
                                      const void* decoderSpecification,
                                      const ImageBufferAttributes& destinationAttributes,
                                      const VTDecompressionOutputCallbackRecord& callback,
                                      VTDecompressionSessionRef* out);
OSStatus VTSessionSetProperty(VTDecompressionSessionRef session, std::string_view key,
                              CFValue value);

// Wraps memory that outlives the block buffer; only blockAllocator kCFAllocatorNull is taken.
OSStatus CMBlockBufferCreateWithMemoryBlock(CFAllocator structureAllocator, void* memoryBlock,
                                            std::size_t blockLength, CFAllocator blockAllocator,
                                            const void* customBlockSource, std::size_t offsetToData,
                                            std::size_t dataLength, std::uint32_t flags,
                                            CMBlockBufferRef* out);
// Borrows dataBuffer and formatDescription, which may be null; both must outlive the sample.
OSStatus CMSampleBufferCreateReady(CFAllocator allocator, CMBlockBufferRef dataBuffer,
                                   CMVideoFormatDescriptionRef formatDescription,
                                   std::size_t sampleCount, std::size_t timingEntryCount,
                                   const void* timingEntries, std::size_t sizeEntryCount,
                                   const std::size_t* sizeEntries, CMSampleBufferRef* out);
// Decodes the sample's length-prefixed unit. A picture that refers to frames which were lost is
// never handed out: a session begins held, and a damaged reference picture, or a gap in the
// stream's frame numbers where its SPS allows none, holds it again until the next picture that
// needs nothing before it decodes whole: an IDR picture, a picture of I slices alone, or where a
// recovery point says so. Held units give status 0, no picture and kVTDecodeInfo_FrameHeld. When
// three groups in a row have the same gap at the same place and no damage, the numbers are wrong:
// a line in the log, and the session looks at them no more.
// kVTParameterErr without session, sample or format
// description, kVTVideoDecoderBadDataErr for a damaged unit, kVTVideoDecoderMalfunctionErr for a
// decoder that fails in another way.
OSStatus VTDecompressionSessionDecodeFrame(VTDecompressionSessionRef session,
                                           CMSampleBufferRef sample, VTDecodeFrameFlags flags,
                                           void* sourceFrameRefCon, VTDecodeInfoFlags* infoFlags);
// Converts and scales the picture of the last unit decoded, if it gave one, so that a picture that
// nobody is to see costs only its decoding. Each call makes one anew, with one reference for the
// caller; null where there is none. kVTVideoDecoderMalfunctionErr when it can't be made.
OSStatus VTDecompressionSessionCopyPicture(VTDecompressionSessionRef session,
                                           CVPixelBufferRef* out);
// The same picture, for who can't tell yet whether anybody will see it: it outlasts further units
// and the session. Null where there is none or memory is short.
std::shared_ptr<VTKeptPicture> VTDecompressionSessionKeepPicture(VTDecompressionSessionRef session);
// Converts it unless that is done, on any thread, beside the session's; the first of several does,
// and the others wait. True when it was this call.
bool VTKeptPictureConvert(VTKeptPicture& kept);
// As VTDecompressionSessionCopyPicture(), on any thread, but once: null the second time.
OSStatus VTKeptPictureCopyPicture(VTKeptPicture& kept, CVPixelBufferRef* out);

}  // namespace quorvid
