#include <epoxy/gl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <cstdlib>
#include <thread>

#include "base/Clock.h"
#include "capi/Handles.h"
#include "view/HostScreen.h"

namespace quorvid::test {
namespace {

constexpr int kWidth = 80, kHeight = 60;

const GLubyte* strangeString(GLenum) {
  return reinterpret_cast<const GLubyte*>("OpenGL of somebody else");
}

void* strangeLoader(const char*) {
  return reinterpret_cast<void*>(strangeString);
}

void* ownLoader(const char* name) {
  return reinterpret_cast<void*>(eglGetProcAddress(name));
}

TEST(CView, PlaysInsideAHostsContext) {
  const FleetServer server(streamOf(kRust, 3));
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, kWidth, kHeight);
  const Owned<quorvid_host> host(quorvid_host_create(ownLoader));
  ASSERT_EQ(quorvid_host_resize(host.get(), kWidth, kHeight, 1), QUORVID_OK);
  const Owned<quorvid_view> view(quorvid_view_create(host.get(), 0, 0, kWidth, kHeight, nullptr));
  ASSERT_NE(view, nullptr);
  static std::atomic<int> wakes{0};  // a call may outlast the view
  int state = QUORVID_IDLE;
  quorvid_view_set_wake_handler(
      view.get(), [](void* context) { ++*static_cast<std::atomic<int>*>(context); }, &wakes);
  quorvid_view_set_status_handler(
      view.get(),
      [](const quorvid_status* status, void* context) {
        *static_cast<int*>(context) = status->state;
      },
      &state);
  quorvid_picture* none = nullptr;
  EXPECT_EQ(quorvid_view_snapshot(view.get(), &none), QUORVID_NO_PICTURE);
  const quorvid_target target = targetOf(server);
  quorvid_host_set_visible(host.get(), 0);
  ASSERT_EQ(quorvid_view_connect(view.get(), &target), QUORVID_OK);
  pollfd waiting{quorvid_view_descriptor(view.get()), POLLIN, 0};
  EXPECT_EQ(poll(&waiting, 1, 10'000), 1);
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  ASSERT_TRUE(eventually([&] {
    quorvid_view_figures(view.get(), &figures);
    return figures.received == 12;
  }));
  sleepForTimeInterval(0.1);
  quorvid_view_figures(view.get(), &figures);
  EXPECT_EQ(figures.decoded, 0U) << "nobody sees the host's window";
  quorvid_host_set_visible(host.get(), 1);
  ASSERT_TRUE(eventually([&] {
    quorvid_host_refresh(host.get());
    quorvid_view_figures(view.get(), &figures);
    return figures.shown > 0 && state == QUORVID_LIVE;
  }));
  EXPECT_EQ(figures.converted, 1U) << "only the newest is shown";
  EXPECT_GT(wakes, 0);
  EXPECT_EQ(quorvid_host_needs_composite(host.get()), 1);
  ASSERT_EQ(quorvid_host_composite(host.get(), 0, 0, kWidth, kHeight), QUORVID_OK)
      << quorvid_host_why(host.get());
  EXPECT_TRUE(isNear(screen.read().at(kWidth / 2, kHeight / 2), rgbOf(kRust)));
  EXPECT_EQ(quorvid_host_needs_composite(host.get()), 0);

  quorvid_picture* picture = nullptr;
  ASSERT_EQ(quorvid_view_snapshot(view.get(), &picture), QUORVID_OK);
  const Owned<quorvid_picture> shown(picture);
  quorvid_image image = QUORVID_IMAGE_INIT;
  EXPECT_EQ(quorvid_picture_read(picture, QUORVID_NV12, &image), QUORVID_NO_PICTURE);
  ASSERT_EQ(quorvid_picture_read(picture, QUORVID_RGB, &image), QUORVID_OK);
  EXPECT_EQ(image.width, 640);
  EXPECT_TRUE(isNear({image.plane[0][0], image.plane[0][1], image.plane[0][2]}, rgbOf(kRust)));

  std::thread([&] {
    EXPECT_EQ(quorvid_view_stop(view.get()), QUORVID_WRONG_THREAD);
    EXPECT_EQ(quorvid_host_refresh(host.get()), QUORVID_WRONG_THREAD);
    EXPECT_EQ(quorvid_view_create(host.get(), 0, 0, 1, 1, nullptr), nullptr);
  }).join();
  EXPECT_EQ(quorvid_view_set_frame(view.get(), 0, 0, 40, kHeight), QUORVID_OK);
  EXPECT_EQ(quorvid_host_needs_composite(host.get()), 1);
  EXPECT_EQ(quorvid_view_set_frame(view.get(), 0, 0, 0, kHeight), QUORVID_BAD_ARGUMENT);
  EXPECT_EQ(quorvid_host_release(host.get()), QUORVID_OK);
}

TEST(CView, DrawsNothingBesideAnotherGlAndOutlivesItsHost) {
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, kWidth, kHeight);
  Owned<quorvid_host> host(quorvid_host_create(strangeLoader));
  const Owned<quorvid_view> view(quorvid_view_create(host.get(), 0, 0, kWidth, kHeight, nullptr));
  EXPECT_EQ(quorvid_host_composite(host.get(), 0, 0, kWidth, kHeight), QUORVID_NOT_DRAWN);
  EXPECT_NE(std::string(quorvid_host_why(host.get())).find("another GL"), std::string::npos);
  quorvid_target target = QUORVID_TARGET_INIT;  // no device
  EXPECT_EQ(quorvid_view_connect(view.get(), &target), QUORVID_TARGET_REFUSED);
  quorvid_status status = QUORVID_STATUS_INIT;
  quorvid_view_status(view.get(), &status);
  EXPECT_EQ(status.state, QUORVID_FAILED);
  EXPECT_STREQ(status.sentence, "no device is given");
  host.reset();
  EXPECT_EQ(quorvid_view_stop(view.get()), QUORVID_OK);
}

// In a process of its own, in which no display was opened yet.
TEST(CView, SaysThatThereAreNoGraphics) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [] {
    setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/dev/null", 1);
    const Owned<quorvid_host> host(quorvid_host_create(nullptr));
    const Owned<quorvid_view> view(quorvid_view_create(host.get(), 0, 0, kWidth, kHeight, nullptr));
    const quorvid_target target = QUORVID_TARGET_INIT;
    const std::int32_t played = quorvid_view_connect(view.get(), &target);
    quorvid_status status = QUORVID_STATUS_INIT;
    quorvid_view_status(view.get(), &status);
    const bool isSaid = status.reason == QUORVID_REASON_NO_GRAPHICS;
    std::exit(played == QUORVID_NOT_DRAWN && isSaid ? 0 : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quorvid::test
