#include "decoder/RecordingDecompression.h"

#include <sstream>

#include "quorvid/base/Log.h"

namespace quorvid {

class CMVideoFormatDescription {};
class CMBlockBuffer {};
class CMSampleBuffer {};
class VTDecompressionSession {
 public:
  VTDecompressionOutputCallbackRecord callback{};
};

namespace {

CMVideoFormatDescription formatDescription;
CMBlockBuffer block;
CMSampleBuffer sample;
VTDecompressionSession session;

template <class... Parts>
void record(const Parts&... parts) {
  std::ostringstream line;
  ((line << parts), ...);
  test::recording().calls.push_back(line.str());
}

std::string text(const CFValue& value) {
  return std::holds_alternative<bool>(value) ? (std::get<bool>(value) ? "true" : "false")
                                             : std::to_string(std::get<std::int64_t>(value));
}

template <class T>
OSStatus answer(OSStatus status, T& object, T** out) {
  *out = status == noErr ? &object : nullptr;
  return status;
}

std::string bytesOf(const std::uint8_t* bytes, std::size_t size) {
  return bytes != nullptr ? std::string(bytes, bytes + size) : "none";
}

}  // namespace

namespace test {

Recording& recording() {
  static Recording present;
  return present;
}

void resetRecording() {
  recording() = Recording{};
  setLogSink([](std::string_view line) { recording().log.emplace_back(line); });
}

}  // namespace test

using test::recording;

void CFRelease(CMVideoFormatDescriptionRef object) {
  if (object != nullptr) record("release format");
}
void CFRelease(CMBlockBufferRef object) {
  if (object != nullptr) record("release block");
}
void CFRelease(CMSampleBufferRef object) {
  if (object != nullptr) record("release sample");
}
void CFRelease(VTDecompressionSessionRef object) {
  if (object != nullptr) record("release session");
}

OSStatus CMVideoFormatDescriptionCreateFromH264ParameterSets(CFAllocator allocator,
                                                             std::size_t count,
                                                             const std::uint8_t* const* pointers,
                                                             const std::size_t* sizes, int length,
                                                             CMVideoFormatDescriptionRef* out) {
  record("format ", allocator == kCFAllocatorDefault, ' ', count, ' ', length);
  recording().spsBytes = bytesOf(pointers[0], sizes[0]);
  recording().ppsBytes = bytesOf(pointers[1], sizes[1]);
  return answer(recording().formatStatus, formatDescription, out);
}

OSStatus VTDecompressionSessionCreate(CFAllocator allocator, CMVideoFormatDescriptionRef format,
                                      const void* wantedDecoder,
                                      const ImageBufferAttributes& attributes,
                                      const VTDecompressionOutputCallbackRecord& callback,
                                      VTDecompressionSessionRef* out) {
  std::string wanted;
  for (const auto& [key, value] : attributes) {
    wanted += ' ' + std::string(key) + '=' + text(value);
  }
  record("session ", allocator == kCFAllocatorDefault, ' ', format == &formatDescription, ' ',
         wantedDecoder == nullptr, wanted);
  session.callback = callback;
  recording().callbackRefCon = callback.refCon;
  return answer(recording().sessionFails ? kVTParameterErr : noErr, session, out);
}

OSStatus VTSessionSetProperty(VTDecompressionSessionRef on, std::string_view key, CFValue value) {
  record("property ", on == &session, ' ', key, '=', text(value));
  return kVTParameterErr;  // nobody looks
}

OSStatus CMBlockBufferCreateWithMemoryBlock(CFAllocator structureAllocator, void* memoryBlock,
                                            std::size_t blockLength, CFAllocator blockAllocator,
                                            const void* source, std::size_t offset,
                                            std::size_t dataLength, std::uint32_t flags,
                                            CMBlockBufferRef* out) {
  recording().memoryBlock = memoryBlock;
  record("block ", structureAllocator == kCFAllocatorDefault, ' ', blockLength, ' ',
         blockAllocator == kCFAllocatorNull, ' ', source == nullptr, ' ', offset, ' ', dataLength,
         ' ', flags);
  return answer(recording().blockStatus, block, out);
}

OSStatus CMSampleBufferCreateReady(CFAllocator allocator, CMBlockBufferRef data,
                                   CMVideoFormatDescriptionRef format, std::size_t samples,
                                   std::size_t timings, const void* timing, std::size_t sizes,
                                   const std::size_t* size, CMSampleBufferRef* out) {
  record("sample ", allocator == kCFAllocatorDefault, ' ', data == &block, ' ',
         format == &formatDescription, ' ', samples, ' ', timings, ' ', timing == nullptr, ' ',
         sizes, ' ', *size);
  return answer(recording().sampleStatus, sample, out);
}

OSStatus VTDecompressionSessionDecodeFrame(VTDecompressionSessionRef on, CMSampleBufferRef of,
                                           VTDecodeFrameFlags flags, void* frameRefCon,
                                           VTDecodeInfoFlags* info) {
  record("decode ", on == &session, ' ', of == &sample, ' ', flags, ' ', info != nullptr);
  if (on != nullptr) {
    on->callback.callback(on->callback.refCon, frameRefCon, recording().decodeStatus, 0,
                          recording().pictureToGive, {}, {});
  }
  return recording().decodeStatus;
}

std::shared_ptr<VTKeptPicture> VTDecompressionSessionKeepPicture(VTDecompressionSessionRef) {
  return nullptr;
}

bool VTKeptPictureConvert(VTKeptPicture&) {
  return false;
}

OSStatus VTKeptPictureCopyPicture(VTKeptPicture&, CVPixelBufferRef*) {
  return kVTParameterErr;
}

OSStatus VTDecompressionSessionCopyPicture(VTDecompressionSessionRef, CVPixelBufferRef* out) {
  *out = CVPixelBufferRetain(recording().pictureToGive);
  return noErr;
}

}  // namespace quorvid
