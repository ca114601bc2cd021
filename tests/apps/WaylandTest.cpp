// `quorvid view` inside a Wayland compositor that draws on an X server's screen (scripts/weston.sh
// starts both), seen as a user sees it.
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "apps/Command.h"
#include "sim/SimProcess.h"
#include "view/XvfbScreen.h"

namespace {

// Pixels as blue as the drawn scene's sky; the compositor's own screen is grey.
int bluePixels() {
  const auto image = quorvid::test::screenshotOf(getenv("DISPLAY"));
  int count = 0;
  for (std::size_t i = 0; i < image.rgba.size(); i += 4) {
    count += image.rgba[i + 2] > image.rgba[i] + 60;
  }
  return count;
}

// The tile's figures in the newest whole line of --stats.
nlohmann::json figuresOf(const Command& command) {
  const std::string text = command.output();
  const std::size_t end = text.rfind('\n');
  if (end == std::string::npos || end == 0) return {{"received", 0}, {"decoded", 0}, {"shown", 0}};
  const std::size_t before = text.rfind('\n', end - 1);
  const std::size_t begin = before == std::string::npos ? 0 : before + 1;
  return nlohmann::json::parse(text.substr(begin, end - begin))["tiles"][0];
}

TEST(Wayland, TheViewerShowsPicturesAndRestsWhileNobodySeesThem) {
  const SimProcess sim({});
  const Command command(
      {"view", at(sim.port("fleet")), "--device", "TRUCK-7", "--size", "640x480", "--stats"});
  ASSERT_TRUE(eventually([] { return bluePixels() > 640 * 480 / 10; })) << command.errors();

  // A compositor that stands asks for no picture, as it does for a window that is covered.
  const pid_t compositor = std::stoi(getenv("QUORVID_TEST_WESTON"));
  kill(compositor, SIGSTOP);
  nlohmann::json hidden = figuresOf(command);
  const bool rests = eventually([&] {
    const nlohmann::json now = figuresOf(command);
    if (now["received"] == hidden["received"]) return false;
    return std::exchange(hidden, now)["decoded"] == now["decoded"];
  });
  kill(compositor, SIGCONT);
  ASSERT_TRUE(rests);
  EXPECT_TRUE(eventually([&] { return figuresOf(command)["shown"] > hidden["shown"]; }));
  EXPECT_EQ(figuresOf(command)["reconnections"], 0);
}

}  // namespace
