#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>

#include "base/Clock.h"
#include "capi/Handles.h"

namespace quorvid::test {
namespace {

constexpr double kPatience = 20;
constexpr int kTimes = 20;  // of four pictures

// A stream that has ended stays so.
Owned<quorvid_player> makePlayer(bool everyPicture) {
  quorvid_player_options options = QUORVID_PLAYER_OPTIONS_INIT;
  options.every_picture = everyPicture ? 1 : 0;
  options.most_waiting = 2;
  options.most_lag = 60;
  options.stall_after = 0;
  return Owned<quorvid_player>(quorvid_player_create(&options));
}

Owned<quorvid_picture> next(quorvid_player* player, double seconds, std::int32_t expected) {
  quorvid_picture* picture = nullptr;
  EXPECT_EQ(quorvid_player_wait(player, seconds, &picture), expected);
  return Owned<quorvid_picture>(picture);
}

quorvid_image imageOf(quorvid_picture* picture, std::int32_t format) {
  quorvid_image image = QUORVID_IMAGE_INIT;
  EXPECT_EQ(quorvid_picture_read(picture, format, &image), QUORVID_OK);
  return image;
}

// In the middle.
int sampleOf(const quorvid_image& image, int plane, int bytesPerPair = 1) {
  const int row = image.height / (plane == 0 ? 2 : 4), column = image.width / 4 * bytesPerPair;
  return image.plane[plane][row * image.stride[plane] + column];
}

TEST(CPlayer, GivesPicturesInTheirOwnSizeInEachFormat) {
  const FleetServer server(streamOf(kRust, kTimes));
  const double begun = steadySeconds();
  Owned<quorvid_player> player = makePlayer(true);
  const quorvid_target target = targetOf(server);
  ASSERT_EQ(quorvid_player_connect(player.get(), &target), QUORVID_OK);
  const auto picture = next(player.get(), kPatience, QUORVID_OK);
  player.reset();  // the picture outlives it
  const quorvid_image planar = imageOf(picture.get(), QUORVID_I420);
  EXPECT_EQ(planar.width, 640);
  EXPECT_EQ(planar.height, 480);
  EXPECT_EQ(planar.number, 1U);
  EXPECT_EQ(planar.matrix, QUORVID_BT601);
  EXPECT_DOUBLE_EQ(planar.shape, 4.0 / 3);
  EXPECT_GE(planar.arrival, begun);
  EXPECT_NEAR(timeIntervalSince1970() - planar.arrival_date, steadySeconds() - planar.arrival, 1);
  EXPECT_NEAR(sampleOf(planar, 0), kRust.y, 3);
  EXPECT_NEAR(sampleOf(planar, 1), kRust.cb, 3);
  EXPECT_NEAR(sampleOf(planar, 2), kRust.cr, 3);
  const quorvid_image pairs = imageOf(picture.get(), QUORVID_NV12);
  EXPECT_NEAR(sampleOf(pairs, 0), kRust.y, 3);
  EXPECT_NEAR(pairs.plane[1][320], kRust.cb, 3);
  EXPECT_NEAR(pairs.plane[1][321], kRust.cr, 3);
  const quorvid_image rgb = imageOf(picture.get(), QUORVID_RGB);
  const std::uint8_t* const at = rgb.plane[0] + 240 * rgb.stride[0] + 960;
  EXPECT_TRUE(isNear({at[0], at[1], at[2]}, rgbOf(kRust)));
}

TEST(CPlayer, EveryPictureComesHoweverLateAndStopEndsTheWait) {
  const FleetServer server(streamOf(kRust, kTimes));
  const Owned<quorvid_player> player = makePlayer(true);
  const quorvid_target target = targetOf(server);
  quorvid_player_connect(player.get(), &target);
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  ASSERT_TRUE(eventually([&] {
    quorvid_player_figures(player.get(), &figures);
    return figures.received == 4U * kTimes;
  }));
  for (std::uint64_t number = 1; number <= 4U * kTimes; ++number) {
    const auto picture = next(player.get(), kPatience, QUORVID_OK);
    ASSERT_NE(picture, nullptr) << number;
    EXPECT_EQ(imageOf(picture.get(), QUORVID_I420).number, number);
  }
  next(player.get(), 0.05, QUORVID_TIMED_OUT);
  auto waiting =
      std::async(std::launch::async, [&] { next(player.get(), 3600, QUORVID_NOT_PLAYING); });
  sleepForTimeInterval(0.05);
  EXPECT_EQ(quorvid_player_stop(player.get()), QUORVID_OK);
  waiting.get();
  next(player.get(), 3600, QUORVID_NOT_PLAYING);
  // An older caller's struct ends before `shown` and what follows.
  figures.size = offsetof(quorvid_figures, shown);
  figures.shown = 7;
  EXPECT_EQ(quorvid_player_figures(player.get(), &figures), QUORVID_OK);
  EXPECT_EQ(figures.decoded, 4U * kTimes);
  EXPECT_EQ(figures.overwritten + figures.lost + figures.held, 0U);
  EXPECT_EQ(figures.shown, 7U);
}

// Two wait for the caller and one for room there; a decoder that has a fourth ends all the same.
TEST(CPlayer, NoMoreThanWasAskedForWaitsAndKeepsNoThread) {
  const FleetServer server(streamOf(kRust, kTimes));
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
  };
  const auto before = threads();
  Owned<quorvid_player> player = makePlayer(true);
  const quorvid_target target = targetOf(server);
  quorvid_player_connect(player.get(), &target);
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  ASSERT_TRUE(eventually([&] {
    quorvid_player_figures(player.get(), &figures);
    return figures.received == 4U * kTimes && figures.decoded >= 4;
  }));
  sleepForTimeInterval(0.2);  // for a fifth
  quorvid_player_figures(player.get(), &figures);
  EXPECT_EQ(figures.decoded, 4U);
  player.reset();
  EXPECT_TRUE(eventually([&] { return threads() <= before; }));
}

TEST(CPlayer, TheNewestPictureOvertakesThoseThatNobodyTook) {
  const FleetServer server(streamOf(kRust, kTimes));
  const Owned<quorvid_player> player = makePlayer(false);
  const quorvid_target target = targetOf(server);
  quorvid_player_connect(player.get(), &target);
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  ASSERT_TRUE(eventually([&] {
    quorvid_player_figures(player.get(), &figures);
    return figures.overwritten == 4U * kTimes - 1;
  }));
  const auto picture = next(player.get(), kPatience, QUORVID_OK);
  EXPECT_EQ(imageOf(picture.get(), QUORVID_I420).number, 4U * kTimes);
}

// What its handlers saw; both run on the player's thread.
struct Told {
  quorvid_player* player;
  std::vector<std::int32_t> states;
  int pictures = 0;
  Owned<quorvid_picture> kept = nullptr;
  std::promise<void> over = {};
};

TEST(CPlayer, HandlersMayKeepAPictureStopAndFree) {
  const FleetServer server(streamOf(kTeal, kTimes));
  Told told{makePlayer(true).release(), {}};
  const quorvid_target target = targetOf(server);
  quorvid_player_set_status_handler(
      told.player,
      [](const quorvid_status* status, void* context) {
        auto& it = *static_cast<Told*>(context);
        it.states.push_back(status->state);
        if (status->state != QUORVID_STOPPED) return;
        quorvid_player_free(it.player);
        it.over.set_value();
      },
      &told);
  quorvid_player_set_picture_handler(
      told.player,
      [](quorvid_picture* picture, void* context) {
        auto& it = *static_cast<Told*>(context);
        if (++it.pictures < 3) return;
        it.kept.reset(quorvid_picture_keep(picture));
        quorvid_player_stop(it.player);
      },
      &told);
  next(told.player, kPatience, QUORVID_BAD_ARGUMENT);  // the handler gets them
  quorvid_player_connect(told.player, &target);
  ASSERT_EQ(told.over.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_EQ(told.pictures, 3);
  EXPECT_EQ(told.states.back(), QUORVID_STOPPED);
  EXPECT_NE(std::find(told.states.begin(), told.states.end(), QUORVID_LIVE), told.states.end());
  const quorvid_image image = imageOf(told.kept.get(), QUORVID_I420);
  EXPECT_EQ(image.number, 3U);
  EXPECT_NEAR(sampleOf(image, 1), kTeal.cb, 3);
}

}  // namespace
}  // namespace quorvid::test
