// Views inside a window that somebody else owns: real contexts of OpenGL ES 3 and desktop OpenGL,
// on the display of the views and on another one.
#include <epoxy/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "port/EAGLContext.h"
#include "port/egl/Drawable.h"
#include "quorvid/base/Log.h"
#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/RunLoop.h"
#include "quorvid/view/Screen.h"
#include "quorvid/view/ViewHost.h"
#include "view/HostPicture.h"
#include "view/HostScreen.h"

namespace quorvid::test {
namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;
constexpr YCbCr kTopLeft = {81, 90, 240};
constexpr YCbCr kBottomRight = {41, 240, 110};

// A view host of 48 x 32 points at 2 pixels a point, with a picture in its right half.
struct Scene {
  Scene() : picture(48, 64, [](int x, int y) { return x + y < 40 ? kTopLeft : kBottomRight; }) {
    host->resize(kWidth / 2.0, kHeight / 2.0, 2);
    host->contentView()->setBackgroundColor(UIColor(0, 0, 1));
    layer = AAPLEAGLLayer::initWithFrame(CGRectMake(24, 0, 24, 32));
    host->contentView()->layer()->addSublayer(layer);
    layer->setPixelBuffer(picture.get());
  }
  Picture picture;
  std::unique_ptr<ViewHost> host = ViewHost::create();
  std::shared_ptr<AAPLEAGLLayer> layer;
};

struct LogLines {
  LogLines() {
    setLogSink([this](std::string_view line) { lines.emplace_back(line); });
  }
  ~LogLines() { setLogSink(nullptr); }
  std::vector<std::string> lines;
};

void expectScene(const Image& image) {
  EXPECT_EQ(image.at(0, 0), (Rgb{0, 0, 255}));
  EXPECT_EQ(image.at(47, 63), (Rgb{0, 0, 255}));
  EXPECT_LE(distance(image.at(50, 2), expectedRgb(kTopLeft, kColorConversion601)), 2);
  EXPECT_LE(distance(image.at(94, 62), expectedRgb(kBottomRight, kColorConversion601)), 2);
}

struct HostKind {
  HostDisplay display;
  HostApi api;
};

std::ostream& operator<<(std::ostream& out, const HostKind& kind) {
  return out << (kind.api == HostApi::Gles3 ? "Gles" : "Desktop")
             << (kind.display == HostDisplay::Surfaceless ? "OnSurfaceless"
                 : kind.display == HostDisplay::Device    ? "OnDevice"
                                                          : "OnGlx");
}

class Embedding : public testing::TestWithParam<HostKind> {};

TEST_P(Embedding, DrawsAndLeavesTheHostsStateAsItWas) {
  const Scene scene;  // on the library's own, surfaceless display
  const HostScreen screen(GetParam().display, GetParam().api, kWidth, kHeight);
  makeStateUnusual();
  const auto before = describeState();
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(scene.host->needsComposite());
    ASSERT_TRUE(scene.host->composite(0, 0, kWidth, kHeight));
    EXPECT_FALSE(scene.host->needsComposite());
    EXPECT_TRUE(screen.isCurrent());
    EXPECT_EQ(describeState(), before);
    scene.layer->setPixelBuffer(scene.picture.get());
  }
  scene.host->release();
  EXPECT_EQ(describeState(), before);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  expectScene(screen.read());
}

TEST_P(Embedding, WorksWithViewsMadeInTheHostsContext) {
  const HostScreen screen(GetParam().display, GetParam().api, kWidth, kHeight);
  const auto before = describeState();
  {
    const Scene scene;
    EXPECT_TRUE(screen.isCurrent());
    scene.host->refresh();
    scene.layer->resetRenderBuffer();
    scene.layer->setPixelBuffer(scene.picture.get());
    EXPECT_TRUE(screen.isCurrent());
    ASSERT_TRUE(scene.host->composite(0, 0, kWidth, kHeight));
    HostPicture direct;
    ASSERT_TRUE(direct.bindForReading(*scene.layer->drawable(), true));
    EXPECT_EQ(direct.isCopy(), GetParam().display == HostDisplay::Glx);
    direct.release();
    expectScene(screen.read());
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
  }
  EXPECT_TRUE(screen.isCurrent());
}

INSTANTIATE_TEST_SUITE_P(Hosts, Embedding,
                         testing::Values(HostKind{HostDisplay::Surfaceless, HostApi::Gles3},
                                         HostKind{HostDisplay::Surfaceless, HostApi::DesktopCore},
                                         HostKind{HostDisplay::Device, HostApi::Gles3},
                                         HostKind{HostDisplay::Device, HostApi::DesktopCore},
                                         HostKind{HostDisplay::Glx, HostApi::Gles3},
                                         HostKind{HostDisplay::Glx, HostApi::DesktopCore}),
                         testing::PrintToStringParamName());

TEST(EmbeddingPaths, ImageAndCopyGiveTheSamePixels) {
  const Scene scene;
  Image images[2];
  const HostDisplay displays[] = {HostDisplay::Surfaceless, HostDisplay::Device};
  for (int i = 0; i < 2; ++i) {
    const HostScreen screen(displays[i], HostApi::Gles3, kWidth + 11, kHeight);
    HostPicture path;
    ASSERT_TRUE(path.bindForReading(*scene.layer->drawable(), true));
    EXPECT_EQ(path.isCopy(), i == 1);
    path.release();
    // Odd: the picture is scaled.
    ASSERT_TRUE(scene.host->composite(3, 2, kWidth + 5, kHeight - 7));
    images[i] = screen.read();
    EXPECT_EQ(images[i].at(2, 30), (Rgb{0, 102, 0}));  // the host's own, outside
    scene.host->release();
  }
  EXPECT_TRUE(images[0].rgba == images[1].rgba);
}

TEST(EmbeddingPaths, APictureOfManySamplesIsForDesktopOpenGl) {
  const Scene scene;
  const HostScreen desktop(HostDisplay::Surfaceless, HostApi::DesktopCore, kWidth, kHeight, 4);
  EXPECT_TRUE(scene.host->composite(0, 0, kWidth, kHeight));
  expectScene(desktop.readResolved());
  // Scaled and cut off at the left: what a framebuffer of one sample shows.
  const auto drawScaled = [&](int samples) {
    const HostScreen screen(HostDisplay::Surfaceless, HostApi::DesktopCore, kWidth, kHeight,
                            samples);
    EXPECT_TRUE(scene.host->composite(-70, 2, 2 * kWidth - 7, kHeight - 5));
    EXPECT_TRUE(scene.host->composite(3, 2, kWidth - 7, kHeight - 5));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return screen.readResolved().rgba;
  };
  EXPECT_TRUE(drawScaled(0) == drawScaled(4));
  LogLines log;
  const HostScreen gles(HostDisplay::Surfaceless, HostApi::Gles3, kWidth, kHeight, 4);
  std::string why;
  EXPECT_FALSE(scene.host->composite(0, 0, kWidth, kHeight, &why));
  EXPECT_FALSE(scene.host->composite(0, 0, kWidth, kHeight));
  EXPECT_THAT(why, testing::HasSubstr("several samples"));
  EXPECT_THAT(log.lines, testing::ElementsAre(testing::EndsWith(why)));
}

TEST(EmbeddingScale, EachHostShowsItsLayersInItsOwn) {
  Scene coarse;
  coarse.host->resize(kWidth / 2.0, kHeight / 2.0, 1);
  Scene fine;
  EXPECT_EQ(UIScreen::mainScreen().scale(), 1);
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, kWidth, kHeight);
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(coarse.host->composite(0, 0, kWidth / 2, kHeight / 2));
    EXPECT_EQ(coarse.layer->drawable()->width(), 24);
    ASSERT_TRUE(fine.host->composite(0, 0, kWidth, kHeight));
    EXPECT_EQ(fine.layer->drawable()->width(), 48);
    EXPECT_FALSE(fine.host->needsComposite());
    expectScene(screen.read());
  }
  fine.host->contentView()->layer()->addSublayer(coarse.layer);  // moves to the other window
  EXPECT_TRUE(fine.host->needsComposite());
  ASSERT_TRUE(fine.host->composite(0, 0, kWidth, kHeight));
  EXPECT_EQ(coarse.layer->drawable()->width(), 48);
  expectScene(screen.read());
  fine.host->resize(kWidth / 2.0, kHeight / 2.0, 1);
  EXPECT_TRUE(fine.host->needsComposite());
}

TEST(EmbeddingMistakes, EachGetsOneLineInTheLog) {
  using testing::ElementsAre;
  using testing::HasSubstr;
  LogLines log;
  auto link = CADisplayLink::displayLinkWithTarget([] {});
  link->addToRunLoop(RunLoop::currentRunLoop(), NSDefaultRunLoopMode);
  {
    const Scene scene;
    for (int i = 0; i < 500; ++i) static_cast<void>(scene.host->needsComposite());
    EXPECT_THAT(log.lines, ElementsAre(HasSubstr("refresh() isn't called")));
    log.lines.clear();
    std::thread([&] {
      std::string why;
      scene.host->refresh();
      EXPECT_FALSE(scene.host->composite(0, 0, kWidth, kHeight, &why));
      EXPECT_THAT(why, HasSubstr("another thread"));
    }).join();
    EXPECT_THAT(log.lines, ElementsAre(HasSubstr("on another thread")));
    log.lines.clear();
  }
  EXPECT_THAT(log.lines, testing::IsEmpty());
  {
    auto scene = std::make_unique<Scene>();
    const auto layer = scene->layer;
    scene.reset();
    EXPECT_THAT(log.lines, ElementsAre(HasSubstr("gone before a view")));
    link->invalidate();
  }
}

TEST(EmbeddingLifetime, WhatALayerWasDrawnIntoGoesWithIt) {
  const auto watcher = EAGLContext::initWithAPI(kEAGLRenderingAPIOpenGLES2);
  Scene scene;
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, kWidth, kHeight);
  scene.host->composite(0, 0, kWidth, kHeight);
  const GLuint renderbuffer = scene.layer->drawable()->renderbuffer();
  const GLuint program = scene.layer->program();
  ASSERT_TRUE(EAGLContext::setCurrentContext(watcher));
  EXPECT_TRUE(glIsRenderbuffer(renderbuffer) && glIsProgram(program));
  screen.makeCurrent();
  scene.layer->removeFromSuperlayer();
  scene.layer.reset();
  EXPECT_TRUE(scene.host->needsComposite());
  ASSERT_TRUE(EAGLContext::setCurrentContext(watcher));
  EXPECT_FALSE(glIsRenderbuffer(renderbuffer) || glIsProgram(program));
  for (GLuint texture = 1; texture < 64; ++texture) {
    EXPECT_FALSE(glIsTexture(texture));
  }
}

TEST(EmbeddingLifetime, ALayerDeletesNoNameThatIsSomebodyElses) {
  auto first = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  const GLuint name = first->drawable()->renderbuffer();
  first->releaseBuffers();
  const auto context = EAGLContext::initWithAPI(kEAGLRenderingAPIOpenGLES2);
  ASSERT_TRUE(EAGLContext::setCurrentContext(context));
  glBindRenderbuffer(GL_RENDERBUFFER, name);  // GL gives freed names out again
  const auto second = std::make_shared<CAEAGLLayer>();
  ASSERT_TRUE(context->renderbufferStorage(GL_RENDERBUFFER, second.get()));
  EXPECT_EQ(first->drawable()->renderbuffer(), 0U);
  first.reset();
  ASSERT_TRUE(EAGLContext::setCurrentContext(context));
  EXPECT_TRUE(glIsRenderbuffer(name));
}

TEST(EmbeddingLifetime, AHostLearnsWhetherViewsLiveOnItsDisplay) {
  const HostScreen screen(HostDisplay::Device, HostApi::Gles3, kWidth, kHeight);
  const EGLDisplay display = eglGetCurrentDisplay();
  EXPECT_FALSE(ViewHost::displayInUse(display));
  auto host = ViewHost::create();
  EXPECT_TRUE(host->useCurrentDisplay());
  eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  host.reset();
  EXPECT_TRUE(ViewHost::displayInUse(display));
  layer.reset();  // its context stays current on the thread
  EXPECT_FALSE(ViewHost::displayInUse(display));
}

TEST(EmbeddingLifetime, ALostDisplayEndsItsViewsAndNothingElse) {
  const HostScreen screen(HostDisplay::Device, HostApi::Gles3, kWidth, kHeight);
  const Scene lost;
  screen.terminateDisplay();
  lost.layer->setPixelBuffer(lost.picture.get());
  lost.layer->resetRenderBuffer();
  const Scene fresh;
  const HostScreen next(HostDisplay::Surfaceless, HostApi::Gles3, kWidth, kHeight);
  EXPECT_TRUE(lost.host->composite(0, 0, kWidth, kHeight));
  EXPECT_TRUE(fresh.host->composite(0, 0, kWidth, kHeight));
  expectScene(next.read());
}

}  // namespace
}  // namespace quorvid::test
