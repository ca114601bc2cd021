// `quorvid view` against the simulator, without a display.
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/Command.h"
#include "sim/SimProcess.h"
#include "view/XvfbScreen.h"

namespace {

struct Picture {
  unsigned width = 0;
  unsigned height = 0;
  std::vector<std::uint8_t> rgb;
  // Of the channel with the largest range inside the rectangle.
  int contrast(unsigned left, unsigned top, unsigned right, unsigned bottom) const {
    int most = 0;
    for (unsigned channel = 0; channel < 3; ++channel) {
      int low = 255;
      int high = 0;
      for (unsigned y = top; y < bottom; ++y) {
        for (unsigned x = left; x < right; ++x) {
          const int value = rgb[(y * width + x) * 3 + channel];
          low = std::min(low, value);
          high = std::max(high, value);
        }
      }
      most = std::max(most, high - low);
    }
    return most;
  }
  bool isRed(unsigned x, unsigned y) const {
    const std::uint8_t* at = &rgb[(y * width + x) * 3];
    return at[0] > 180 && at[1] < 60 && at[2] < 60;
  }
};

Picture readPng(const std::string& fileName) {
  Picture picture;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, fileName.c_str()) == 0) return picture;
  image.format = PNG_FORMAT_RGB;
  picture.rgb.resize(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr);
  picture.width = image.width;
  picture.height = image.height;
  return picture;
}

std::vector<std::string> view(int port, std::vector<std::string> more) {
  std::vector<std::string> arguments{"view", at(port), "--device", "TRUCK-7", "--headless"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(View, ShowsReportsAndSavesAPicture) {
  SimProcess sim({"--size", "704x576"});
  const std::string file = freshFile("view.png");
  Command command(view(sim.port("fleet"),
                       {"--seconds", "3", "--json", "--size", "800x600", "--snapshot", file}));
  ASSERT_EQ(command.wait(), 0) << command.errors();
  EXPECT_EQ(command.errors(), "");

  const auto report = nlohmann::json::parse(command.output());
  EXPECT_GT(report["pictures"], 5);
  EXPECT_GT(report["frames_per_second"], 1);
  EXPECT_GT(report["first_picture_seconds"], 0);
  EXPECT_EQ(report["size"]["width"], 704);
  EXPECT_EQ(report["tiles"][0]["stream_size"]["height"], 576);
  EXPECT_EQ(report["snapshot"], file);

  const Picture picture = readPng(file);
  EXPECT_EQ(picture.width, 800U);
  EXPECT_EQ(picture.height, 600U);
  ASSERT_FALSE(picture.rgb.empty());
  EXPECT_GT(picture.contrast(0, 0, 400, 300), 100);
  EXPECT_GT(picture.contrast(400, 300, 800, 600), 100);
}

TEST(View, TilesSeveralChannelsAndReportsEach) {
  SimProcess sim({"--channels", "2"});
  const std::string file = freshFile("tiles.png");
  Command command(view(sim.port("fleet"), {"--channel", "0,1,5", "--size", "640x480", "--seconds",
                                           "4.5", "--stats", "--snapshot", file}));
  ASSERT_EQ(command.wait(), 0) << command.errors();
  std::istringstream seconds(command.output());
  std::string line;
  ASSERT_TRUE(std::getline(seconds, line)) << "a line a second";
  EXPECT_LT(nlohmann::json::parse(line)["seconds"], 4.4);
  nlohmann::json tiles;
  while (std::getline(seconds, line)) tiles = nlohmann::json::parse(line)["tiles"];
  ASSERT_EQ(tiles.size(), 3U);
  EXPECT_GT(tiles[0]["pictures"], 0);
  EXPECT_GT(tiles[1]["pictures"], 0);
  EXPECT_EQ(tiles[2]["channel"], 5);
  EXPECT_EQ(tiles[2]["pictures"], 0);
  EXPECT_TRUE(tiles[0]["state"] == "live" || tiles[0]["state"] == "late") << tiles[0]["state"];
  EXPECT_GE(tiles[0]["received"], tiles[0]["decoded"]);
  EXPECT_GE(tiles[0]["lag_seconds"], 0);
  EXPECT_NE(command.errors().find("channel 5: no picture"), std::string::npos) << command.errors();
  const Picture picture = readPng(file);
  ASSERT_EQ(picture.width, 640U);
  EXPECT_GT(picture.contrast(0, 0, 318, 238), 100);
  EXPECT_GT(picture.contrast(322, 0, 640, 238), 100);
  EXPECT_EQ(picture.contrast(340, 260, 620, 460), 0) << "only three tiles";
  EXPECT_EQ(picture.contrast(0, 244, 318, 460), 0) << "no picture";
  EXPECT_GT(picture.contrast(0, 462, 318, 480), 100) << "but a line of text";
}

TEST(View, ShowsEachDeviceWithEachChannel) {
  SimProcess sim({"--devices", "TRUCK-7,BUS/2", "--channels", "1"});
  const std::string folder = testing::TempDir(), file = freshFile("devices.png");
  const std::string truck = folder + "/TRUCK-7-ch0.png", bus = folder + "/BUS%2F2-ch0.png";
  Command command(view(sim.port("fleet"),
                       {"--device", "BUS/2", "--channel", "0,1", "--json", "--size", "640x480",
                        "--seconds", "5", "--snapshot", file, "--tile-snapshots", folder}));
  ASSERT_EQ(command.wait(), 0) << command.errors();
  EXPECT_NE(command.errors().find("BUS/2 channel 1: no picture: "), std::string::npos);
  const auto report = nlohmann::json::parse(command.output());
  EXPECT_EQ(report["device"], "TRUCK-7");
  EXPECT_EQ(report["devices"], nlohmann::json({"TRUCK-7", "BUS/2"}));
  EXPECT_EQ(report["tiles"][2]["device"], "BUS/2");
  EXPECT_GT(report["tiles"][2]["pictures"], 0);
  const Picture picture = readPng(file);
  ASSERT_EQ(picture.width, 640U);
  EXPECT_GT(picture.contrast(0, 0, 318, 220), 100);
  EXPECT_EQ(picture.contrast(330, 20, 630, 200), 0);
  EXPECT_GT(picture.contrast(0, 242, 318, 460), 100);
  EXPECT_EQ(readPng(truck).width, 640U) << "its own size, not the tile's";
  EXPECT_EQ(readPng(bus).height, 480U);
  EXPECT_EQ(readPng(folder + "/TRUCK-7-ch1.png").width, 0U);
  unlink(truck.c_str());
  unlink(bus.c_str());
}

// The file that a line in what the command wrote names last; empty when there are fewer lines.
std::string writtenFile(const std::string& errors, int count) {
  std::istringstream lines(errors);
  const std::string start = "quorvid: wrote ";
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(start) && --count == 0) return line.substr(start.size());
  }
  return {};
}

TEST(View, ObeysKeysAndClicksOnAScreen) {
  const quorvid::test::XvfbScreen screen(640, 480);
  if (screen.name().empty()) {
    ASSERT_EQ(getenv("QUORVID_TEST_REQUIRE_DISPLAY"), nullptr) << "Xvfb does not start";
    GTEST_SKIP() << "Xvfb is not there (package xvfb)";
  }
  setenv("DISPLAY", screen.name().c_str(), 1);
  SimProcess sim({});
  Command command({"view", at(sim.port("fleet")), "--device", "TRUCK-7", "--device", "BUS-2",
                   "--size", "640x480", "--verbose"});
  ASSERT_TRUE(command.says("TRUCK-7 channel 0: live")) << command.errors();
  ASSERT_TRUE(command.says("BUS-2 channel 0: live")) << command.errors();
  const auto isListShown = [&] {  // over both tiles
    return quorvid::test::distance(screen.screenshot().at(320, 165), {22, 21, 23}) < 6;
  };
  screen.press("slash", "Shift_L");
  ASSERT_TRUE(command.says("keys: q quits")) << command.errors();
  EXPECT_TRUE(eventually(isListShown));
  screen.press("Escape");
  EXPECT_TRUE(eventually([&] { return !isListShown(); }));
  screen.doubleClick(320, 360);  // the second tile
  screen.press("t");
  ASSERT_TRUE(eventually([&] { return !writtenFile(command.errors(), 1).empty(); }));
  screen.press("Escape");
  screen.press("t");
  ASSERT_TRUE(eventually([&] { return !writtenFile(command.errors(), 3).empty(); }));
  const std::string first = writtenFile(command.errors(), 1);
  EXPECT_NE(first.find("-BUS-2-ch0"), std::string::npos) << first;
  EXPECT_EQ(readPng(first).width, 640U);
  EXPECT_NE(writtenFile(command.errors(), 2).find("-TRUCK-7-ch0"), std::string::npos);
  EXPECT_NE(writtenFile(command.errors(), 3).find("-BUS-2-ch0"), std::string::npos);
  for (int i = 1; i <= 3; ++i) unlink(writtenFile(command.errors(), i).c_str());
  screen.press("q");
  EXPECT_EQ(command.wait(), 0);
}

TEST(View, EndsInOrderOnASignal) {
  SimProcess sim({});
  const std::string file = freshFile("signal.png");
  Command command(view(sim.port("fleet"), {"--snapshot", file, "--verbose"}));
  ASSERT_TRUE(command.says("channel 0: live")) << command.errors();
  command.signal(SIGTERM);
  EXPECT_EQ(command.wait(), 0);
  EXPECT_EQ(command.output().find("channel 0: "), 0U) << command.output();
  EXPECT_EQ(readPng(file).width, 960U);
}

TEST(View, MarksAStalledStreamAndStartsItAgain) {
  SimProcess sim({"--stall-after", "1"});
  const std::string file = freshFile("stall.png");
  Command command(
      view(sim.port("fleet"), {"--stall", "2", "--json", "--size", "640x480", "--snapshot", file}));
  ASSERT_TRUE(command.says("a picture again")) << command.errors();
  sim.signal(SIGSTOP);
  // Two restarts in a row: the stream has been silent since the first.
  ASSERT_TRUE(command.says("next try in 4 s")) << command.errors();
  command.signal(SIGINT);
  EXPECT_EQ(command.wait(), 0);
  const auto tile = nlohmann::json::parse(command.output())["tiles"][0];
  EXPECT_GE(tile["restarts"], 3);
  EXPECT_GE(tile["silent_seconds"], 4);
  EXPECT_FALSE(tile["stream_size"].is_null()) << "as it was";
  EXPECT_GE(tile["longest_pause_seconds"], tile["silent_seconds"]);
  EXPECT_LT(tile["frames_per_second"], 12.5) << "25 while it lived";
  const Picture picture = readPng(file);
  ASSERT_EQ(picture.height, 480U);
  EXPECT_TRUE(picture.isRed(2, 240) && picture.isRed(320, 2) && picture.isRed(637, 477));
  sim.signal(SIGCONT);
}

TEST(View, ShowsPicturesOfAnotherSizeAfterARestart) {
  for (const std::string path : {"fleet", "car"}) {
    const std::string file = freshFile("size.png");
    auto sim = std::make_unique<SimProcess>(std::vector<std::string>{"--fps", "10"});
    const int port = sim->port(path);
    Command command(view(port, {"--path", path, "--stall", "2", "--json", "--verbose", "--size",
                                "640x480", "--snapshot", file}));
    ASSERT_TRUE(command.says("channel 0: live")) << command.errors();
    sim.reset();
    sim = std::make_unique<SimProcess>(std::vector<std::string>{
        path == "car" ? "--car-port" : "--port", std::to_string(port), "--size", "704x576"});
    ASSERT_TRUE(command.says("a picture again")) << path << command.errors().substr(0, 2000);
    command.signal(SIGTERM);
    EXPECT_EQ(command.wait(), 0);
    const auto tile = nlohmann::json::parse(command.output())["tiles"][0];
    EXPECT_EQ(tile["stream_size"]["width"], 704) << path;
    const Picture picture = readPng(file);
    ASSERT_EQ(picture.width, 640U);
    EXPECT_GT(picture.contrast(0, 240, 640, 480), 100);
  }
}

TEST(View, ATileThatLivesIsNotHeldUpByTheDeadOnes) {
  SimProcess sim({"--channels", "1", "--fps", "5"});
  Command command(view(sim.port("fleet"), {"--channel", "0,1,2,3,4,5,6,7", "--size", "320x240",
                                           "--stall", "1", "--seconds", "6", "--json"}));
  EXPECT_EQ(command.wait(), 0) << command.errors();
  const auto tiles = nlohmann::json::parse(command.output())["tiles"];
  ASSERT_EQ(tiles.size(), 8U);
  for (int dead = 1; dead < 8; ++dead) EXPECT_GE(tiles[dead]["reconnections"], 1);
  EXPECT_GT(tiles[0]["frames_per_second"], 3);
}

TEST(View, SaysWhyThereIsNoPicture) {
  const std::vector<std::string> once{"--seconds", "2"};
  int gone = 0;
  {
    SimProcess sim({"--devices", "OTHER"});
    gone = sim.port("fleet");
    Command unknown(view(gone, once));
    EXPECT_EQ(unknown.wait(), 1);
    EXPECT_NE(unknown.errors().find("refused the stream with status 1 (device TRUCK-7"),
              std::string::npos)
        << unknown.errors();
  }
  Command waiting(view(gone, {}));
  EXPECT_TRUE(waiting.says("channel 0: nothing listens at " + at(gone))) << "while it runs";
  Command refused(view(gone, {"--seconds", "1", "--snapshot", freshFile("none.png")}));
  EXPECT_EQ(refused.wait(), 1);
  EXPECT_NE(refused.errors().find("nothing listens at " + at(gone)), std::string::npos);
  EXPECT_NE(refused.errors().find("no snapshot written"), std::string::npos);

  SimProcess noise({"--fault", "noise:fleet:1"});
  Command undecodable(view(noise.port("fleet"), once));
  EXPECT_EQ(undecodable.wait(), 1);
  EXPECT_NE(undecodable.errors().find("no key frame has come"), std::string::npos)
      << undecodable.errors();
}

}  // namespace
