// The layer on real OpenGL ES: every pixel here was drawn by its shaders and read back.
#include <GLES2/gl2.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "quorvid/base/Log.h"
#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/Screen.h"
#include "view/Picture.h"

namespace quorvid::test {
namespace {

using Layer = std::shared_ptr<AAPLEAGLLayer>;

Layer makeLayer(double width, double height) {
  return AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, width, height));
}

// The layer leaves its context and framebuffer bound.
Image show(const Layer& layer, const Picture& picture, int width, int height) {
  layer->setPixelBuffer(picture.get());
  return readFramebuffer(width, height);
}

constexpr Rgb kBlack = {0, 0, 0};
constexpr Rgb kWhite = {255, 255, 255};

YCbCr whiteEverywhere(int, int) {
  return grey(235);
}

TEST(RenderLayer, PrimariesAndSecondariesFollowTheMatrixOfThePicture) {
  // Red, green, blue, cyan, magenta, yellow, white, black: first of ITU-R 601, then of 709.
  const std::vector<YCbCr> bars = {{81, 90, 240},   {145, 54, 34},  {41, 240, 110},  {170, 166, 16},
                                   {106, 202, 222}, {210, 16, 146}, {235, 128, 128}, {16, 128, 128},
                                   {63, 102, 240},  {173, 42, 26},  {32, 240, 118},  {188, 154, 16},
                                   {78, 214, 230},  {219, 16, 138}};
  const struct {
    const char* attachment;
    const float* matrix;
  } cases[] = {{kCVImageBufferYCbCrMatrix_ITU_R_601_4, kColorConversion601},
               {kCVImageBufferYCbCrMatrix_ITU_R_709_2, kColorConversion709},
               {kCVImageBufferYCbCrMatrix_ITU_R_2020, kColorConversion709},
               {nullptr, kColorConversion709}};
  const int width = static_cast<int>(bars.size()) * 16;
  const Layer layer = makeLayer(width, 32);
  for (const auto& matrix : cases) {
    const Picture picture(
        width, 32, [&](int x, int) { return bars.at(static_cast<std::size_t>(x) / 16); },
        matrix.attachment);
    const Image image = show(layer, picture, width, 32);
    for (std::size_t bar = 0; bar < bars.size(); ++bar) {
      EXPECT_LE(distance(image.at(static_cast<int>(bar) * 16 + 8, 16),
                         expectedRgb(bars[bar], matrix.matrix)),
                2)
          << "bar " << bar << ", " << (matrix.attachment == nullptr ? "none" : matrix.attachment);
    }
  }
}

struct Fit {
  int width, height;  // the layer
  int pictureWidth, pictureHeight;
  int barX, barY;  // black at the left and right, at the top and bottom
};

TEST(RenderLayer, CentresThePictureBetweenBlackBars) {
  for (const Fit& fit : {Fit{320, 480, 1280, 960, 0, 120},  // portrait
                         Fit{480, 160, 128, 96, 133, 0},    // landscape
                         Fit{101, 77, 64, 48, 0, 0},        // odd
                         Fit{77, 301, 64, 48, 0, 121}}) {
    const Layer layer = makeLayer(fit.width, fit.height);
    const Picture picture(fit.pictureWidth, fit.pictureHeight, whiteEverywhere);
    const Image image = show(layer, picture, fit.width, fit.height);
    for (int i = 0; i < fit.width * fit.height; ++i) {
      const int x = i % fit.width, y = i / fit.width;
      const int insideX = std::min(x, fit.width - 1 - x) - fit.barX;
      const int insideY = std::min(y, fit.height - 1 - y) - fit.barY;
      if (insideX >= 1 && insideY >= 1) {
        ASSERT_LE(distance(image.at(x, y), kWhite), 2) << fit.width << ": " << x << "," << y;
      } else if (insideX < -1 || insideY < -1) {
        ASSERT_EQ(image.at(x, y), kBlack) << fit.width << ": " << x << "," << y;
      }
    }
  }
}

TEST(RenderLayer, ReadsRowsThatAreLongerThanThePicture) {
  const auto column = [](int x, int y) { return grey(16 + x + 2 * y); };
  for (const std::size_t stride : {51U, 52U, 640U}) {  // odd: no whole number of chroma samples
    const Layer layer = makeLayer(50, 40);
    const Picture padded(50, 40, column, kCVImageBufferYCbCrMatrix_ITU_R_601_4, stride);
    ASSERT_EQ(CVPixelBufferGetBytesPerRowOfPlane(padded.get(), 0), stride);
    const Image image = show(layer, padded, 50, 40);
    int worst = 0;
    for (int i = 0; i < 50 * 40; ++i) {
      const Rgb expected = expectedRgb(column(i % 50, i / 50), kColorConversion601);
      worst = std::max(worst, distance(image.at(i % 50, i / 50), expected));
    }
    EXPECT_LE(worst, 2) << stride;
  }
}

TEST(RenderLayer, OddPicturesHalveTheirChromaDownwards) {
  const Layer layer = makeLayer(70, 50);
  const Picture red(7, 5, [](int, int) { return YCbCr{81, 90, 240}; });
  const Image image = show(layer, red, 70, 50);
  EXPECT_LE(distance(image.at(1, 1), expectedRgb({81, 90, 240}, kColorConversion601)), 2);
  EXPECT_LE(distance(image.at(68, 48), expectedRgb({81, 90, 240}, kColorConversion601)), 2);
}

TEST(RenderLayer, LumaOnlyTakesTheChromaThatWasBound) {
  const Layer layer = makeLayer(32, 32);
  const Picture red(32, 32, [](int, int) { return YCbCr{81, 90, 240}; });
  show(layer, red, 32, 32);
  const Picture luma(
      32, 32, [](int, int) { return grey(120); }, kCVImageBufferYCbCrMatrix_ITU_R_601_4, 0,
      kCVPixelFormatType_OneComponent8);
  EXPECT_LE(distance(show(layer, luma, 32, 32).at(16, 16),
                     expectedRgb({120, 90, 240}, kColorConversion601)),
            2);
}

TEST(RenderLayer, TheRenderbufferKeepsItsSizeUntilItIsReset) {
  const Layer layer = makeLayer(40, 30);
  const Picture picture(40, 30, whiteEverywhere);
  show(layer, picture, 40, 30);
  const auto backing = [](GLenum side) {
    GLint pixels = 0;
    glGetRenderbufferParameteriv(GL_RENDERBUFFER, side, &pixels);
    return pixels;
  };
  layer->setFrame(CGRectMake(5, 5, 80, 30.4));
  show(layer, picture, 40, 30);
  EXPECT_EQ(backing(GL_RENDERBUFFER_WIDTH), 40);
  layer->resetRenderBuffer();
  EXPECT_EQ(backing(GL_RENDERBUFFER_WIDTH), 80);
  EXPECT_EQ(backing(GL_RENDERBUFFER_HEIGHT), 30);
  const Image image = show(layer, picture, 80, 30);
  EXPECT_EQ(image.at(10, 15), kBlack);
  EXPECT_LE(distance(image.at(40, 15), kWhite), 2);
}

TEST(RenderLayer, TakesThePixelsPerPointOfTheScreen) {
  UIScreen::mainScreen().setScale(2);
  const Layer layer = makeLayer(20, 10);
  UIScreen::mainScreen().setScale(1);
  EXPECT_EQ(layer->contentsScale(), 2);
  EXPECT_TRUE(layer->opaque());
  EXPECT_TRUE(layer->drawableProperties().at(kEAGLDrawablePropertyRetainedBacking));
  const Picture picture(40, 20, whiteEverywhere);
  const Image image = show(layer, picture, 40, 20);
  EXPECT_LE(distance(image.at(0, 0), kWhite), 2);
  EXPECT_LE(distance(image.at(39, 19), kWhite), 2);
}

TEST(RenderLayer, HoldsOneReferenceToTheLastPicture) {
  const Picture first(16, 16, whiteEverywhere);
  const Picture second(16, 16, whiteEverywhere);
  {
    const Layer layer = makeLayer(16, 16);
    layer->setPixelBuffer(first.get());
    layer->setPixelBuffer(first.get());
    EXPECT_EQ(CVPixelBufferGetRetainCount(first.get()), 2);
    layer->displayPixelBuffer(second.get(), 16, 16);
    EXPECT_EQ(CVPixelBufferGetRetainCount(second.get()), 1);
    layer->setPixelBuffer(second.get());
    EXPECT_EQ(CVPixelBufferGetRetainCount(first.get()), 1);
    EXPECT_EQ(layer->pixelBuffer(), second.get());
  }
  EXPECT_EQ(CVPixelBufferGetRetainCount(second.get()), 1);
}

TEST(RenderLayer, RefusesWhatThePictureDoesNotHold) {
  std::vector<std::string> lines;
  setLogSink([&](std::string_view line) { lines.emplace_back(line); });
  const Layer layer = makeLayer(16, 16);
  const Picture picture(16, 16, whiteEverywhere);
  layer->setPixelBuffer(nullptr);
  layer->displayPixelBuffer(picture.get(), 16, 17);  // one row too many
  const Layer flat = makeLayer(16, 0);
  flat->setPixelBuffer(picture.get());
  setLogSink(nullptr);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "Pixel buffer is null");
  EXPECT_EQ(lines[1], "Error at CVOpenGLESTextureCacheCreateTextureFromImage -6683");
  EXPECT_EQ(lines[2].find("Failed to make complete framebuffer object 8cd"), 0U);
}

}  // namespace
}  // namespace quorvid::test
