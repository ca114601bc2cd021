// The wall as a user has it before him: what nobody sees is received, and not decoded.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "sim/SimProcess.h"
#include "view/XvfbScreen.h"

namespace {

using quorvid::test::XvfbScreen;

// quorvid-desk with the four cameras of one vehicle.
class Wall {
 public:
  explicit Wall(const std::string& display) {
    const std::string file = testing::TempDir() + "quorvid-seen-" + std::to_string(getpid());
    std::ofstream(file)
        << "[program]\nserver=S\n[server S]\nhost=127.0.0.1\npath=fleet\nvideo-port="
        << sim_.port("fleet") << "\n[layout S]\ncolumns=2\ntiles=0/BUS;1/BUS;2/BUS;3/BUS;\n";
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("GTK_A11Y", "none", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    if (!display.empty()) {
      setenv("DISPLAY", display.c_str(), 1);
      setenv("GDK_BACKEND", "x11", 1);
    }
    process_.emplace(QUORVID_DESK, std::vector<std::string>{"--settings", file, "--stats"},
                     output_.descriptor(), errors_.descriptor());
  }
  // Waits until the tiles, in order, are decoded between two lines of figures ('+') or only
  // received ('-').
  testing::AssertionResult becomes(const std::string& wanted) const {
    std::string found;
    const bool came = eventually([&] { return (found = now()) == wanted; });
    return (came ? testing::AssertionSuccess() : testing::AssertionFailure())
           << "the tiles are " << found << errors_.text();
  }
  int end() {
    process_->signal(SIGTERM);
    return process_->wait();
  }

 private:
  // '?': not received either.
  std::string now() const {
    const std::string text = output_.text();
    std::istringstream lines(text.substr(0, text.rfind('\n') + 1));
    std::string line, before, last;
    for (; std::getline(lines, line); last = line) before = last;
    if (before.empty()) return "";
    std::string found;
    const auto old = nlohmann::json::parse(before)["tiles"];
    const auto tiles = nlohmann::json::parse(last)["tiles"];
    for (std::size_t i = 0; i < tiles.size() && i < old.size(); ++i) {
      const auto grew = [&](const char* key) { return tiles[i][key] > old[i][key]; };
      found += grew("decoded") ? '+' : grew("received") ? '-' : '?';
    }
    return found;
  }

  const SimProcess sim_{{"--devices", "BUS", "--live"}};
  WrittenText output_;
  WrittenText errors_;
  std::optional<ChildProcess> process_;
};

// False where there is none, and need be none.
bool exists(const XvfbScreen& screen) {
  if (screen.name().empty() && getenv("QUORVID_TEST_REQUIRE_DISPLAY") != nullptr) {
    ADD_FAILURE() << "Xvfb does not start";
  }
  return !screen.name().empty();
}

TEST(Seen, IsTheEnlargedTileAndNothingBehindAnotherPane) {
  const XvfbScreen screen(1200, 740);
  if (!exists(screen)) GTEST_SKIP() << "Xvfb is not there (package xvfb)";
  Wall wall(screen.name());
  ASSERT_TRUE(wall.becomes("++++"));
  screen.doubleClick(500, 250);
  EXPECT_TRUE(wall.becomes("+---"));
  screen.press("2", "Alt_L");
  EXPECT_TRUE(wall.becomes("----"));
  screen.press("1", "Alt_L");
  EXPECT_TRUE(wall.becomes("+---"));
  screen.press("Escape");
  EXPECT_TRUE(wall.becomes("++++"));
  EXPECT_EQ(wall.end(), 0);
}

TEST(Seen, InTheHandIsWhatIsNotScrolledAway) {
  const XvfbScreen screen(360, 720);
  if (!exists(screen)) GTEST_SKIP() << "Xvfb is not there (package xvfb)";
  Wall wall(screen.name());
  ASSERT_TRUE(wall.becomes("----"));  // behind the list of devices
  screen.press("1", "Alt_L");
  EXPECT_TRUE(wall.becomes("+++-"));
  EXPECT_EQ(wall.end(), 0);
}

// A compositor that stands asks for no picture, as it does for a window that is covered.
TEST(SeenInWayland, IsNothingThatTheCompositorDoesNotAskFor) {
  Wall wall("");
  ASSERT_TRUE(wall.becomes("++++"));
  const pid_t compositor = std::stoi(getenv("QUORVID_TEST_WESTON"));
  kill(compositor, SIGSTOP);
  const auto rests = wall.becomes("----");
  kill(compositor, SIGCONT);
  EXPECT_TRUE(rests);
  EXPECT_TRUE(wall.becomes("++++"));
}

}  // namespace
