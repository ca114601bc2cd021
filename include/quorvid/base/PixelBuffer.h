// CVPixelBuffer: a reference-counted picture in memory, with attachments.
//
// Any thread may retain and release; the bytes are written by whoever made the buffer, before it is
// handed on. Formats: bi-planar 4:2:0 Y'CbCr video range ("420v": plane 0 is Y', plane 1 is Cb and
// Cr in turn, half the size in both directions, odd sizes rounded down), single-plane luma
// ("L008") and, of planes that lie elsewhere, planar 4:2:0 (planes Y', Cb and Cr, odd sizes rounded
// up) in video range ("y420") or full range ("f420"), which layers don't draw.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"
#include "quorvid/base/Text.h"

namespace quorvid {

class CVPixelBuffer;
using CVPixelBufferRef = CVPixelBuffer*;
using CVReturn = std::int32_t;

inline constexpr CVReturn kCVReturnSuccess = 0;
inline constexpr CVReturn kCVReturnInvalidArgument = -6661;
inline constexpr CVReturn kCVReturnAllocationFailed = -6662;

inline constexpr std::uint32_t kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange = 0x34323076;
inline constexpr std::uint32_t kCVPixelFormatType_OneComponent8 = 0x4C303038;
inline constexpr std::uint32_t kCVPixelFormatType_420YpCbCr8Planar = 0x79343230;
inline constexpr std::uint32_t kCVPixelFormatType_420YpCbCr8PlanarFullRange = 0x66343230;

// Attachment key and its values: which matrix turns the picture's Y'CbCr into RGB.
inline constexpr const char* kCVImageBufferYCbCrMatrixKey = "CVImageBufferYCbCrMatrix";
inline constexpr const char* kCVImageBufferYCbCrMatrix_ITU_R_601_4 = "ITU_R_601_4";
inline constexpr const char* kCVImageBufferYCbCrMatrix_ITU_R_709_2 = "ITU_R_709_2";
inline constexpr const char* kCVImageBufferYCbCrMatrix_SMPTE_240M_1995 = "SMPTE_240M_1995";
inline constexpr const char* kCVImageBufferYCbCrMatrix_ITU_R_2020 = "ITU_R_2020";

// Makes a picture with one reference, owned by the caller. lumaBytesPerRow 0 means rows as long as
// the picture, rounded up to 64; the chroma plane gets rows of the same length. Sizes of 1 to 16384
// pixels.
QUORVID_API CVReturn CVPixelBufferCreate(std::size_t width, std::size_t height,
                                         std::uint32_t pixelFormat, std::size_t lumaBytesPerRow,
                                         CVPixelBufferRef* out);
// The same of planes that are somebody else's: "y420" or "f420". Rows are at least as long as the
// plane. keeper: what holds the bytes; let go with the last reference to the picture.
QUORVID_API CVReturn CVPixelBufferCreateWithPlanarBytes(
    std::size_t width, std::size_t height, std::uint32_t pixelFormat,
    const std::array<std::uint8_t*, 3>& bases, const std::array<std::size_t, 3>& bytesPerRow,
    std::shared_ptr<const void> keeper, CVPixelBufferRef* out);
// Both take null; retain returns its argument.
QUORVID_API CVPixelBufferRef CVPixelBufferRetain(CVPixelBufferRef buffer);
QUORVID_API void CVPixelBufferRelease(CVPixelBufferRef buffer);

QUORVID_API std::size_t CVPixelBufferGetWidth(CVPixelBufferRef buffer);
QUORVID_API std::size_t CVPixelBufferGetHeight(CVPixelBufferRef buffer);
QUORVID_API std::uint32_t CVPixelBufferGetPixelFormatType(CVPixelBufferRef buffer);
// 2 for "420v", 1 for "L008", 3 for "y420" and "f420".
QUORVID_API std::size_t CVPixelBufferGetPlaneCount(CVPixelBufferRef buffer);
QUORVID_API std::uint8_t* CVPixelBufferGetBaseAddressOfPlane(CVPixelBufferRef buffer,
                                                             std::size_t plane);
QUORVID_API std::size_t CVPixelBufferGetBytesPerRowOfPlane(CVPixelBufferRef buffer,
                                                           std::size_t plane);
// In pixels of the plane: the chroma plane of a 5x3 picture is 2x1.
QUORVID_API std::size_t CVPixelBufferGetWidthOfPlane(CVPixelBufferRef buffer, std::size_t plane);
QUORVID_API std::size_t CVPixelBufferGetHeightOfPlane(CVPixelBufferRef buffer, std::size_t plane);
// The stream's picture behind a decoded one, which may have been scaled to the buffer's size:
// its size in the stream, and the size at which it has its true shape on a screen with square
// pixels (704x576 may be shown as 768x576). Both are the buffer's own where nobody set them.
QUORVID_API CGSize CVImageBufferGetEncodedSize(CVPixelBufferRef buffer);
QUORVID_API CGSize CVImageBufferGetDisplaySize(CVPixelBufferRef buffer);
// For who makes pictures, before the buffer is handed on.
QUORVID_API void CVImageBufferSetStreamShape(CVPixelBufferRef buffer, CGSize encoded,
                                             CGSize display);
// References held now; for tests and diagnostics.
QUORVID_API std::int32_t CVPixelBufferGetRetainCount(CVPixelBufferRef buffer);

// A missing Text when the key was never set. Set attachments before the buffer is handed on.
QUORVID_API Text CVBufferGetAttachment(CVPixelBufferRef buffer, const char* key);
QUORVID_API void CVBufferSetAttachment(CVPixelBufferRef buffer, const char* key, const Text& value);

}  // namespace quorvid
