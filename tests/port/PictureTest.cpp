// Pixel buffers, and frames of every format on their way into one.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "port/PlanarPicture.h"
#include "port/av/PictureConverter.h"
#include "quorvid/base/PixelBuffer.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace quorvid {
namespace {

constexpr std::uint32_t k420v = kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange;

TEST(PixelBufferTest, PlanesLieApartAndAligned) {
  CVPixelBufferRef buffer = nullptr;
  ASSERT_EQ(CVPixelBufferCreate(5, 3, k420v, 9, &buffer), kCVReturnSuccess);
  EXPECT_EQ(CVPixelBufferGetPlaneCount(buffer), 2U);
  EXPECT_EQ(CVPixelBufferGetWidthOfPlane(buffer, 1), 2U);
  EXPECT_EQ(CVPixelBufferGetHeightOfPlane(buffer, 1), 1U);
  EXPECT_EQ(CVPixelBufferGetBytesPerRowOfPlane(buffer, 1), 9U);
  std::uint8_t* const luma = CVPixelBufferGetBaseAddressOfPlane(buffer, 0);
  std::uint8_t* const chroma = CVPixelBufferGetBaseAddressOfPlane(buffer, 1);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(luma) % 64, 0U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(chroma) % 64, 0U);
  EXPECT_GE(chroma, luma + 27);
  EXPECT_EQ(CVPixelBufferGetBaseAddressOfPlane(buffer, 2), nullptr);
  CVPixelBufferRelease(buffer);
}

TEST(PixelBufferTest, ImpossiblePicturesAreRefused) {
  CVPixelBufferRef buffer = nullptr;
  for (const auto& [width, height, format, row] :
       {std::tuple<std::size_t, std::size_t, std::uint32_t, std::size_t>{0, 1, k420v, 0},
        {1, 0, k420v, 0},
        {16385, 1, k420v, 0},
        {1, 16385, k420v, 0},
        {8, 8, k420v, 7},
        {8, 8, k420v, SIZE_MAX / 2},
        {8, 8, 0x42475241, 0}}) {
    EXPECT_EQ(CVPixelBufferCreate(width, height, format, row, &buffer), kCVReturnInvalidArgument);
    EXPECT_EQ(buffer, nullptr);
  }
}

std::size_t residentBytes() {
  std::size_t whole = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> whole >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// With a small block behind each, which stays: the heap would keep what lies between those.
TEST(PixelBufferTest, LargePicturesGoBackToTheSystem) {
  constexpr std::size_t kBytes = 1280 * 960 * 3 / 2;
  std::vector<std::unique_ptr<std::string>> small;
  std::vector<CVPixelBufferRef> buffers(20);
  const std::size_t before = residentBytes();
  for (int round = 0; round < 2; ++round) {
    for (CVPixelBufferRef& buffer : buffers) {
      ASSERT_EQ(CVPixelBufferCreate(1280, 960, k420v, 0, &buffer), kCVReturnSuccess);
      std::memset(CVPixelBufferGetBaseAddressOfPlane(buffer, 0), 1, kBytes);
      small.push_back(std::make_unique<std::string>(100, ' '));
    }
    EXPECT_GT(residentBytes(), before + 19 * kBytes);
    for (CVPixelBufferRef buffer : buffers) CVPixelBufferRelease(buffer);
  }
  EXPECT_LT(residentBytes(), before + 2 * kBytes);
}

struct FrameCase {
  AVPixelFormat format;
  int width, height;
  AVColorRange range;
};

// A frame of one colour: Y 180, Cb 90, Cr 200, in the depth of its format.
AvFramePtr flatFrame(const FrameCase& the) {
  AvFramePtr frame(av_frame_alloc());
  frame->format = the.format;
  frame->width = the.width;
  frame->height = the.height;
  frame->color_range = the.range;
  EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
  const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(the.format);
  for (int c = 0; c < format->nb_components; ++c) {
    const AVComponentDescriptor& part = format->comp[c];
    const int rows = c == 0 ? the.height : AV_CEIL_RSHIFT(the.height, format->log2_chroma_h);
    const int columns = c == 0 ? the.width : AV_CEIL_RSHIFT(the.width, format->log2_chroma_w);
    const int value = (c == 0 ? 180 : c == 1 ? 90 : 200) << (part.depth - 8);
    for (int i = 0; i < rows * columns; ++i) {
      std::uint8_t* const at = frame->data[part.plane] + i / columns * frame->linesize[part.plane] +
                               i % columns * part.step + part.offset;
      at[0] = static_cast<std::uint8_t>(value & 0xFF);
      if (part.depth > 8) at[1] = static_cast<std::uint8_t>(value >> 8);
    }
  }
  return frame;
}

TEST(ConverterTest, ColourFillsThePicture) {
  for (const FrameCase& the : {FrameCase{AV_PIX_FMT_YUV420P, 1280, 960, AVCOL_RANGE_MPEG},
                               FrameCase{AV_PIX_FMT_YUV420P, 333, 217, AVCOL_RANGE_JPEG},
                               FrameCase{AV_PIX_FMT_YUVJ420P, 16, 16, AVCOL_RANGE_JPEG},
                               FrameCase{AV_PIX_FMT_NV12, 1920, 1080, AVCOL_RANGE_MPEG},
                               FrameCase{AV_PIX_FMT_NV12, 640, 480, AVCOL_RANGE_JPEG},
                               FrameCase{AV_PIX_FMT_YUV422P, 640, 480, AVCOL_RANGE_MPEG},
                               FrameCase{AV_PIX_FMT_YUV420P10, 722, 404, AVCOL_RANGE_MPEG},
                               FrameCase{AV_PIX_FMT_YUV444P10, 64, 64, AVCOL_RANGE_JPEG}}) {
    SCOPED_TRACE(av_get_pix_fmt_name(the.format));
    PictureConverter converter({1280, 960});
    CVPixelBufferRef picture = converter.convert(*flatFrame(the));
    ASSERT_NE(picture, nullptr);
    const bool full = the.range == AVCOL_RANGE_JPEG;
    const std::uint8_t* const luma = CVPixelBufferGetBaseAddressOfPlane(picture, 0);
    const std::uint8_t* const chroma = CVPixelBufferGetBaseAddressOfPlane(picture, 1);
    for (const std::size_t at : {0U, 1278U, 1280U * 481U + 640U, 1280U * 959U + 1278U}) {
      EXPECT_NEAR(luma[at], full ? 171 : 180, 1) << at;  // 16 + 180 * 219 / 255
      EXPECT_NEAR(chroma[at / 2 & ~1U], full ? 95 : 90, 1) << at;
      EXPECT_NEAR(chroma[(at / 2 & ~1U) + 1], full ? 191 : 200, 1) << at;
    }
    CVPixelBufferRelease(picture);
  }
}

// red and blue: their parts of the luma.
TEST(ConverterTest, RgbFollowsTheMatrixAndTheRange) {
  for (const auto& [matrix, red, blue] : {std::tuple{AVCOL_SPC_SMPTE170M, 0.299, 0.114},
                                          {AVCOL_SPC_BT709, 0.2126, 0.0722},
                                          {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593}}) {
    for (const bool full : {false, true}) {
      const AvFramePtr frame =
          flatFrame({AV_PIX_FMT_YUV420P, 64, 64, full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG});
      frame->colorspace = matrix;
      CVPixelBufferRef picture = PictureConverter({.asDecoded = true}).convert(*frame);
      std::vector<std::uint8_t> rgb;
      ASSERT_TRUE(planarToRgb(picture, rgb));
      std::vector<std::uint8_t> pairs;
      ASSERT_TRUE(planarToNv12(picture, pairs));
      ASSERT_EQ(pairs.size(), 64U * 64 * 3 / 2);
      EXPECT_NEAR(pairs[0], full ? 171 : 180, 1);  // in video range, as above
      EXPECT_NEAR(pairs[64 * 64], full ? 95 : 90, 1);
      CVPixelBufferRelease(picture);
      const double luma = full ? 180 / 255.0 : (180 - 16) / 219.0, depth = full ? 255 : 224;
      const double r = luma + 2 * (1 - red) * (200 - 128) / depth;
      const double b = luma + 2 * (1 - blue) * (90 - 128) / depth;
      const double g = (luma - red * r - blue * b) / (1 - red - blue);
      EXPECT_EQ(rgb[0], 255) << r;
      EXPECT_NEAR(rgb[1], 255 * g, 2) << matrix << full;
      EXPECT_NEAR(rgb[2], 255 * b, 6) << matrix << full;  // libyuv's factor goes up to 2
    }
  }
}

TEST(ConverterTest, BuffersAreUsedAgainOnlyWhenNobodyHoldsThem) {
  PictureConverter converter({64, 64});
  const AvFramePtr frame = flatFrame({AV_PIX_FMT_YUV420P, 64, 64, AVCOL_RANGE_MPEG});
  CVPixelBufferRef held = converter.convert(*frame);
  CVPixelBufferRef next = converter.convert(*frame);
  EXPECT_NE(held, next);
  CVPixelBufferRelease(next);
  CVPixelBufferRef again = converter.convert(*frame);
  EXPECT_EQ(again, next);
  CVPixelBufferRelease(again);
  CVPixelBufferRelease(held);
  for (const AVPixelFormat format : {AV_PIX_FMT_VAAPI, AV_PIX_FMT_GBRP, AV_PIX_FMT_GRAY8}) {
    frame->format = format;
    EXPECT_EQ(converter.convert(*frame), nullptr);
  }
}

}  // namespace
}  // namespace quorvid
