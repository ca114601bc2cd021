// Whose size the pictures of a decompression session have.
#include "port/av/DecompressionSession.h"

#include <gtest/gtest.h>

#include "support/H264TestStream.h"

namespace quorvid {
namespace {

TEST(SessionTest, PicturesHaveTheStreamsOwnSizeUnlessAnotherIsAskedFor) {
  const test::H264TestStream stream = test::encodeTestStream(
      {.width = 352, .height = 288, .frames = 1, .keepVui = true, .encoder = "sar=12/11"});
  const std::array<const std::uint8_t*, 2> sets{stream.sps.data(), stream.pps.data()};
  const std::array<std::size_t, 2> sizes{stream.sps.size(), stream.pps.size()};
  CMVideoFormatDescriptionRef format = nullptr;
  CMVideoFormatDescriptionCreateFromH264ParameterSets(kCFAllocatorDefault, 2, sets.data(),
                                                      sizes.data(), 4, &format);
  const auto check = [](void*, void*, OSStatus, VTDecodeInfoFlags, CVPixelBufferRef image, CMTime,
                        CMTime) {
    EXPECT_EQ(CVPixelBufferGetWidth(image), 352U);
    EXPECT_EQ(CVPixelBufferGetHeight(image), 288U);
    EXPECT_EQ(CVImageBufferGetEncodedSize(image).width, 352);
    EXPECT_EQ(CVImageBufferGetDisplaySize(image).width, 384);
    EXPECT_EQ(CVImageBufferGetDisplaySize(image).height, 288);
  };
  VTDecompressionSessionRef session = nullptr;
  ImageBufferAttributes attributes{{{kCVPixelBufferPixelFormatTypeKey,
                                     std::int64_t{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange}},
                                    {kCVPixelBufferOpenGLCompatibilityKey, true}}};
  ASSERT_EQ(VTDecompressionSessionCreate(kCFAllocatorDefault, format, nullptr, attributes,
                                         {check, nullptr}, &session),
            noErr);
  std::vector<std::uint8_t> unit = test::withStartCode(stream.frames[0].slice);
  unit[2] = static_cast<std::uint8_t>((unit.size() - 4) >> 8);
  unit[3] = static_cast<std::uint8_t>(unit.size() - 4);
  VTDecodeInfoFlags flags = 1;
  EXPECT_EQ(session->decode(unit, nullptr, flags), noErr);
  EXPECT_EQ(flags, 0U);
  CFRelease(session);
  attributes[2] = {kCVPixelBufferWidthKey, std::int64_t{640}};  // and no height
  EXPECT_EQ(VTDecompressionSessionCreate(kCFAllocatorDefault, format, nullptr, attributes,
                                         {check, nullptr}, &session),
            kVTParameterErr);
  CFRelease(format);
}

}  // namespace
}  // namespace quorvid
