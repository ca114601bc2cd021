#include <gtest/gtest.h>

#include <future>

#include "base/Clock.h"
#include "capi/Handles.h"

namespace quorvid::test {
namespace {

constexpr double kPatience = 20;

struct FreeFrame {
  void operator()(quorvid_frame* frame) const { quorvid_frame_free(frame); }
};
using OwnedFrame = std::unique_ptr<quorvid_frame, FreeFrame>;

OwnedFrame next(quorvid_player* player, double seconds, std::int32_t expected) {
  quorvid_frame* frame = nullptr;
  EXPECT_EQ(quorvid_player_wait_frame(player, seconds, &frame), expected);
  return OwnedFrame(frame);
}

quorvid_access_unit read(const OwnedFrame& frame) {
  quorvid_access_unit unit = QUORVID_ACCESS_UNIT_INIT;
  EXPECT_EQ(quorvid_frame_read(frame.get(), &unit), QUORVID_OK);
  return unit;
}

std::string bytesOf(const quorvid_access_unit& unit) {
  return {reinterpret_cast<const char*>(unit.bytes), unit.length};
}

TEST(CFrames, ComeAsTheServerSentThemFromEachConnectionsFirstSetsOn) {
  const std::vector<std::string> frames = oneColouredFrames(kRust);
  // Each connection begins in the middle of a group; the first is closed behind the next one.
  std::atomic<int> connections{0};
  const FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    const bool isFirst = ++connections == 1;
    client.sendVideo(frames[1]);
    for (const std::string& frame : frames) client.sendVideo(frame);
    if (!isFirst) client.waitForClose();
  });
  const Owned<quorvid_player> player(quorvid_player_create_for_frames(0));
  const quorvid_target target = targetOf(server);
  ASSERT_EQ(quorvid_player_connect(player.get(), &target), QUORVID_OK);
  OwnedFrame kept;
  const double begun = steadySeconds();
  const std::uint64_t sent = frames.size() + 1;  // on each
  for (std::uint64_t number = 1; number <= 2 * sent; ++number) {
    if (number % sent == 1) continue;  // before the sets
    const OwnedFrame frame = next(player.get(), kPatience, QUORVID_OK);
    ASSERT_NE(frame, nullptr) << number;
    const quorvid_access_unit unit = read(frame);
    const std::size_t place = (number - 2) % sent;
    EXPECT_EQ(unit.number, number);
    EXPECT_EQ(bytesOf(unit), frames[place]);
    EXPECT_EQ(unit.is_key, place == 0 ? 1 : 0);
    EXPECT_EQ(unit.continues, place == 0 ? 0 : 1) << "both connections begin anew";
    EXPECT_EQ(unit.width, 640);
    EXPECT_NEAR(unit.arrival, begun, kPatience);
  }
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  quorvid_player_figures(player.get(), &figures);
  EXPECT_EQ(figures.held, 2U) << "the frames before the first sets";
  EXPECT_EQ(figures.shown, 2 * frames.size());
  EXPECT_EQ(figures.decoded + figures.lost, 0U);
  quorvid_status status = QUORVID_STATUS_INIT;
  quorvid_player_status(player.get(), &status);
  EXPECT_EQ(status.state, QUORVID_LIVE);

  auto waiting =
      std::async(std::launch::async, [&] { next(player.get(), 3600, QUORVID_NOT_PLAYING); });
  sleepForTimeInterval(0.05);
  EXPECT_EQ(quorvid_player_stop(player.get()), QUORVID_OK);
  waiting.get();
  quorvid_picture* none = nullptr;
  EXPECT_EQ(quorvid_player_wait(player.get(), 0, &none), QUORVID_BAD_ARGUMENT);
  EXPECT_EQ(quorvid_player_set_picture_handler(player.get(), nullptr, nullptr),
            QUORVID_BAD_ARGUMENT);
}

// A length of 128 KiB each: the zeros behind a slice belong to nothing.
TEST(CFrames, ThatNobodyTakesAreLostByWholeGroupsAndCounted) {
  constexpr std::size_t kLargest = 131072;
  constexpr std::uint64_t kSent = 400;
  const std::vector<std::string> frames = oneColouredFrames(kTeal);
  const FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (std::size_t i = 0; i < kSent; ++i) {
      std::string frame = frames[i % frames.size()];
      frame.resize(kLargest);
      client.sendVideo(frame);
    }
    client.waitForClose();
  });
  const Owned<quorvid_player> player(quorvid_player_create_for_frames(0));
  const quorvid_target target = targetOf(server);
  quorvid_player_connect(player.get(), &target);
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  ASSERT_TRUE(eventually([&] {
    quorvid_player_figures(player.get(), &figures);
    return figures.received == kSent;
  }));
  std::uint64_t last = 0, missing = 0;
  while (last < kSent) {
    const OwnedFrame frame = next(player.get(), kPatience, QUORVID_OK);
    ASSERT_NE(frame, nullptr);
    const quorvid_access_unit unit = read(frame);
    const bool isNext = last > 0 && unit.number == last + 1;
    EXPECT_EQ(unit.continues, isNext ? 1 : 0);
    EXPECT_TRUE(isNext || unit.is_key == 1) << "what follows a loss can be decoded";
    missing += unit.number - last - 1;
    last = unit.number;
  }
  quorvid_player_figures(player.get(), &figures);
  EXPECT_GT(missing, 200U) << "64 frames and 8 MiB wait";
  EXPECT_EQ(figures.lost, missing);
}

}  // namespace
}  // namespace quorvid::test
