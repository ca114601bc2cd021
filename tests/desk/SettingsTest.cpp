#include "apps/desk/model/Settings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace quorvid::desk {
namespace {

class SettingsFile : public testing::Test {
 protected:
  ~SettingsFile() override { std::filesystem::remove_all(folder_); }
  std::string written() const {
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::filesystem::path folder_ =
      std::filesystem::path(testing::TempDir()) / ("desk-" + std::to_string(getpid()));
  std::string path_ = folder_ / "desk.ini";
};

TEST_F(SettingsFile, BringsBackWhatWasKept) {
  std::string id;
  {
    Settings settings(path_);
    Server server{"", "Nord; \\ [x]\n=ä", "h", 1, 65535, LivePath::Relay, "acc ", 8, false};
    id = settings.keepServer(server);
    settings.chooseServer(id);
    settings.keepTypedDevices(id, {"BUS;7", "Ü/1"});
    settings.keepLayout(id, "North gate", {3, {Camera{"a/b;c", 7}, std::nullopt, Camera{"x", 0}}});
    EXPECT_EQ(settings.trouble(), "");
  }
  const Settings settings(path_);
  const Server server = settings.server(settings.chosenServer()).value();
  EXPECT_EQ(server.id, id);
  EXPECT_EQ(server.name, "Nord; \\ [x]\n=ä");
  EXPECT_EQ(server.account, "acc ");
  EXPECT_EQ(server.path, LivePath::Relay);
  EXPECT_EQ(std::pair(server.listPort, server.videoPort), std::pair(1, 65535));
  EXPECT_EQ(server.cameras, 8);
  EXPECT_EQ(settings.typedDevices(id), (std::vector<std::string>{"BUS;7", "Ü/1"}));
  const Layout layout = settings.layout(id, "North gate").value();
  EXPECT_EQ(layout.columns, 3);
  ASSERT_EQ(layout.tiles.size(), 3u);
  EXPECT_EQ(layout.tiles[0], (Camera{"a/b;c", 7}));
  EXPECT_FALSE(layout.tiles[1]);
  EXPECT_EQ(written().find("pass"), std::string::npos);
}

TEST_F(SettingsFile, DamageIsSaidAndKept) {
  std::filesystem::create_directories(folder_);
  std::ofstream(path_) << "no key file\n\x01";
  Settings damaged(path_);
  EXPECT_NE(damaged.trouble(), "");
  EXPECT_TRUE(damaged.servers().empty());
  EXPECT_TRUE(std::filesystem::exists(path_ + ".unread"));
  damaged.keepServer({});
  EXPECT_EQ(Settings(path_).servers().size(), 1u);
  // Values out of range are those of a new server.
  std::ofstream(path_) << "[server a]\nlist-port=70000\nvideo-port=-1\ncameras=9\npath=moon\n"
                          "[layout a]\ncolumns=99\ntiles=9/x;/;;1/y\n";
  const Settings odd(path_);
  const Server server = odd.server("a").value();
  EXPECT_EQ(std::pair(server.listPort, server.videoPort), std::pair(0, 0));
  EXPECT_EQ(server.cameras, 4);
  EXPECT_EQ(odd.layout("a", "").value().tiles.at(3), (Camera{"y", 1}));
  EXPECT_FALSE(odd.layout("a", "").value().tiles.at(0));
}

}  // namespace
}  // namespace quorvid::desk
