#include "quorvid/base/PixelBuffer.h"

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace quorvid {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kLargestSide = 16384;
constexpr std::size_t kLongestRow = 4 * kLargestSide;
constexpr std::size_t kMappedFrom = 1 << 20;

constexpr std::size_t roundUp(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

struct FreeBytes {
  std::size_t mapped = 0;  // 0: from the heap
  void operator()(std::uint8_t* bytes) const {
    if (mapped != 0) {
      ::munmap(bytes, mapped);
    } else {
      std::free(bytes);
    }
  }
};
using PictureBytes = std::unique_ptr<std::uint8_t[], FreeBytes>;

// Large pictures are mapped: the allocator stops doing that by itself once a first one was freed,
// and from then on their memory would stay with the heap, as holes among small blocks.
PictureBytes allocateBytes(std::size_t size) {
  if (size < kMappedFrom) {
    return PictureBytes(static_cast<std::uint8_t*>(std::aligned_alloc(kAlignment, roundUp(size))));
  }
  void* const bytes =
      ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return bytes == MAP_FAILED ? PictureBytes()
                             : PictureBytes(static_cast<std::uint8_t*>(bytes), FreeBytes{size});
}

struct Plane {
  std::uint8_t* base = nullptr;
  std::size_t width = 0, height = 0, bytesPerRow = 0;
};

bool isPossible(std::size_t width, std::size_t height) {
  return width >= 1 && width <= kLargestSide && height >= 1 && height <= kLargestSide;
}

}  // namespace

// Both planes lie in one block, each beginning at a multiple of 64 bytes:
//
//   base ── luma: height rows of bytesPerRow ── pad ── chroma: height / 2 rows of bytesPerRow
class CVPixelBuffer {
 public:
  std::atomic<std::int32_t> references{1};
  std::size_t width = 0, height = 0, planeCount = 0;
  std::uint32_t format = 0;
  CGSize encodedSize, displaySize;
  std::array<Plane, 3> planes;
  PictureBytes bytes;
  std::shared_ptr<const void> keeper;  // of bytes that lie elsewhere
  std::vector<std::pair<std::string, Text>> attachments;
};

namespace {

const Plane* planeOf(CVPixelBufferRef buffer, std::size_t plane) {
  return buffer != nullptr && plane < buffer->planeCount ? &buffer->planes[plane] : nullptr;
}

bool layOutPlanes(CVPixelBuffer& buffer, std::size_t row) {
  const std::size_t lumaBytes = roundUp(row * buffer.height);
  const bool chroma = buffer.planeCount == 2;
  const std::size_t chromaBytes = chroma ? row * (buffer.height / 2) : 0;
  buffer.bytes = allocateBytes(lumaBytes + chromaBytes);
  if (!buffer.bytes) return false;
  std::uint8_t* const base = buffer.bytes.get();
  buffer.planes[0] = Plane{base, buffer.width, buffer.height, row};
  if (chroma) {
    buffer.planes[1] = Plane{base + lumaBytes, buffer.width / 2, buffer.height / 2, row};
  }
  return true;
}

std::unique_ptr<CVPixelBuffer> makeBuffer(std::size_t width, std::size_t height,
                                          std::uint32_t format, std::size_t planeCount) {
  std::unique_ptr<CVPixelBuffer> buffer(new (std::nothrow) CVPixelBuffer);
  if (!buffer) return nullptr;
  buffer->width = width;
  buffer->height = height;
  buffer->planeCount = planeCount;
  buffer->format = format;
  buffer->encodedSize = {static_cast<CGFloat>(width), static_cast<CGFloat>(height)};
  buffer->displaySize = buffer->encodedSize;
  return buffer;
}

}  // namespace

CVReturn CVPixelBufferCreate(std::size_t width, std::size_t height, std::uint32_t pixelFormat,
                             std::size_t lumaBytesPerRow, CVPixelBufferRef* out) {
  if (out == nullptr) return kCVReturnInvalidArgument;
  *out = nullptr;
  const std::size_t row = lumaBytesPerRow != 0 ? lumaBytesPerRow : roundUp(width);
  const bool biPlanar = pixelFormat == kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange;
  if (!isPossible(width, height) || row < width || row > kLongestRow ||
      (!biPlanar && pixelFormat != kCVPixelFormatType_OneComponent8)) {
    return kCVReturnInvalidArgument;
  }
  auto buffer = makeBuffer(width, height, pixelFormat, biPlanar ? 2 : 1);
  if (!buffer || !layOutPlanes(*buffer, row)) return kCVReturnAllocationFailed;
  *out = buffer.release();
  return kCVReturnSuccess;
}

CVReturn CVPixelBufferCreateWithPlanarBytes(std::size_t width, std::size_t height,
                                            std::uint32_t pixelFormat,
                                            const std::array<std::uint8_t*, 3>& bases,
                                            const std::array<std::size_t, 3>& bytesPerRow,
                                            std::shared_ptr<const void> keeper,
                                            CVPixelBufferRef* out) {
  if (out == nullptr) return kCVReturnInvalidArgument;
  *out = nullptr;
  if (!isPossible(width, height) || (pixelFormat != kCVPixelFormatType_420YpCbCr8Planar &&
                                     pixelFormat != kCVPixelFormatType_420YpCbCr8PlanarFullRange)) {
    return kCVReturnInvalidArgument;
  }
  auto buffer = makeBuffer(width, height, pixelFormat, bases.size());
  if (!buffer) return kCVReturnAllocationFailed;
  for (std::size_t i = 0; i < bases.size(); ++i) {
    const bool luma = i == 0;
    const Plane plane{bases[i], luma ? width : (width + 1) / 2, luma ? height : (height + 1) / 2,
                      bytesPerRow[i]};
    if (plane.base == nullptr || plane.bytesPerRow < plane.width) return kCVReturnInvalidArgument;
    buffer->planes[i] = plane;
  }
  buffer->keeper = std::move(keeper);
  *out = buffer.release();
  return kCVReturnSuccess;
}

CVPixelBufferRef CVPixelBufferRetain(CVPixelBufferRef buffer) {
  if (buffer != nullptr) buffer->references.fetch_add(1, std::memory_order_relaxed);
  return buffer;
}

void CVPixelBufferRelease(CVPixelBufferRef buffer) {
  if (buffer != nullptr && buffer->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    const std::unique_ptr<CVPixelBuffer> last(buffer);
  }
}

std::size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer) {
  return buffer != nullptr ? buffer->width : 0;
}

std::size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer) {
  return buffer != nullptr ? buffer->height : 0;
}

std::uint32_t CVPixelBufferGetPixelFormatType(CVPixelBufferRef buffer) {
  return buffer != nullptr ? buffer->format : 0;
}

std::size_t CVPixelBufferGetPlaneCount(CVPixelBufferRef buffer) {
  return buffer != nullptr ? buffer->planeCount : 0;
}

std::uint8_t* CVPixelBufferGetBaseAddressOfPlane(CVPixelBufferRef buffer, std::size_t plane) {
  const Plane* found = planeOf(buffer, plane);
  return found != nullptr ? found->base : nullptr;
}

std::size_t CVPixelBufferGetBytesPerRowOfPlane(CVPixelBufferRef buffer, std::size_t plane) {
  const Plane* found = planeOf(buffer, plane);
  return found != nullptr ? found->bytesPerRow : 0;
}

std::size_t CVPixelBufferGetWidthOfPlane(CVPixelBufferRef buffer, std::size_t plane) {
  const Plane* found = planeOf(buffer, plane);
  return found != nullptr ? found->width : 0;
}

std::size_t CVPixelBufferGetHeightOfPlane(CVPixelBufferRef buffer, std::size_t plane) {
  const Plane* found = planeOf(buffer, plane);
  return found != nullptr ? found->height : 0;
}

CGSize CVImageBufferGetEncodedSize(CVPixelBufferRef buffer) {
  return buffer != nullptr ? buffer->encodedSize : CGSize{};
}

CGSize CVImageBufferGetDisplaySize(CVPixelBufferRef buffer) {
  return buffer != nullptr ? buffer->displaySize : CGSize{};
}

void CVImageBufferSetStreamShape(CVPixelBufferRef buffer, CGSize encoded, CGSize display) {
  if (buffer == nullptr) return;
  buffer->encodedSize = encoded;
  buffer->displaySize = display;
}

std::int32_t CVPixelBufferGetRetainCount(CVPixelBufferRef buffer) {
  // Acquire: who sees that all others let go may write into the picture again.
  return buffer != nullptr ? buffer->references.load(std::memory_order_acquire) : 0;
}

Text CVBufferGetAttachment(CVPixelBufferRef buffer, const char* key) {
  if (buffer != nullptr && key != nullptr) {
    for (const auto& [name, value] : buffer->attachments) {
      if (name == key) return value;
    }
  }
  return nullptr;
}

void CVBufferSetAttachment(CVPixelBufferRef buffer, const char* key, const Text& value) {
  if (buffer == nullptr || key == nullptr) return;
  for (auto& [name, present] : buffer->attachments) {
    if (name == key) {
      present = value;
      return;
    }
  }
  buffer->attachments.emplace_back(key, value);
}

}  // namespace quorvid
