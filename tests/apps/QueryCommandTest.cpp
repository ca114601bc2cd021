// `quorvid list` and `quorvid gps` against the simulator.
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/Command.h"
#include "sim/SimProcess.h"

namespace {

std::vector<std::string> query(const char* name, int port, std::vector<std::string> more = {}) {
  std::vector<std::string> arguments{name, at(port), "--account", "fleetop"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(List, ShowsTheDevicesAsTableAndAsJson) {
  SimProcess sim(
      {"--devices", "4", "--garbage", "100", "--item-len", "300", "--reply-tag", "3GAPV105"});
  Command table(query("list", sim.port("list")));
  EXPECT_EQ(table.wait(), 0) << table.errors();
  EXPECT_NE(table.output().find("3  SIM0004  Truck 4"), std::string::npos) << table.output();
  Command json(query("list", sim.port("list"), {"--json", "--raw"}));
  EXPECT_EQ(json.wait(), 0);
  const auto report = nlohmann::json::parse(json.output());
  EXPECT_EQ(report["complete"], true);
  ASSERT_EQ(report["devices"].size(), 4U);
  EXPECT_EQ(report["devices"][1]["blk64"], "SIM0002");
  EXPECT_EQ(report["devices"][1]["blk64_hex"].get<std::string>().size(), 128U);
}

TEST(List, SaysWhyThereIsNone) {
  SimProcess endless({"--fault", "one-byte:list:100000"});
  Command late(query("list", endless.port("list"), {"--timeout", "2"}));
  EXPECT_EQ(late.wait(), 1);
  EXPECT_NE(late.errors().find("no complete list within 2 s"), std::string::npos) << late.errors();

  // What it waited for is told within the time, however short that is.
  SimProcess away({"--fault", "unanswered:list"});
  Command unanswered(query("list", away.port("list"), {"--timeout", "2"}));
  EXPECT_EQ(unanswered.wait(), 1);
  EXPECT_NE(unanswered.errors().find("no answer yet: no answer from"), std::string::npos)
      << unanswered.errors();

  SimProcess broken({"--fault", "short-record:list"});
  Command cut(query("list", broken.port("list"), {"--json"}));
  EXPECT_EQ(cut.wait(), 1);
  EXPECT_NE(cut.errors().find("broke off after 1 devices"), std::string::npos) << cut.errors();
  EXPECT_EQ(nlohmann::json::parse(cut.output())["complete"], false);

  Command noName({"list", "no..name:80", "--account", "a"});
  EXPECT_EQ(noName.wait(), 1);
  EXPECT_NE(noName.errors().find("no..name can't be resolved"), std::string::npos)
      << noName.errors();

  Command noList(query("list", broken.port("fleet")));
  EXPECT_EQ(noList.wait(), 1);
  EXPECT_NE(noList.errors().find("did not answer with a device list"), std::string::npos);
}

TEST(Gps, PrintsEachPollAndGoesOnAfterAFailure) {
  SimProcess sim({});
  const std::string port = std::to_string(sim.port("list"));
  Command command(query("gps", sim.port("list"), {"--json", "--polls", "2"}));
  ASSERT_TRUE(command.says("\"poll\":1,")) << command.errors();
  sim.signal(SIGTERM);
  sim.wait();
  ASSERT_TRUE(command.says("the poller has ended (nothing listens")) << command.errors();
  SimProcess again({"--list-port", port});
  EXPECT_EQ(command.wait(), 0);
  std::istringstream lines(command.output());
  std::string line;
  for (int poll = 1; poll <= 2; ++poll) {
    ASSERT_TRUE(std::getline(lines, line));
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json["poll"], poll);
    EXPECT_EQ(json["count"], 3);
    EXPECT_EQ(json["devices"][2]["blk64"], "SIM0003");
  }
}

TEST(Gps, GivesUpOnAServerThatNeverAnswersWholeAndEndsOnASignal) {
  SimProcess empty({"--items", "0"});
  Command endless(query("gps", empty.port("list"), {"--timeout", "5"}));
  SimProcess sim({});
  Command polling(query("gps", sim.port("list")));
  ASSERT_TRUE(polling.says("poll 1 at"));
  polling.signal(SIGINT);
  EXPECT_EQ(polling.wait(), 0);
  EXPECT_EQ(endless.wait(), 1);
  EXPECT_NE(endless.errors().find("no complete reply within 5 s"), std::string::npos);
}

// The shell says nothing of a program that ends by this signal.
TEST(AClosedPipe, EndsACommandWithoutAWord) {
  SimProcess sim({});
  for (const std::vector<std::string>& arguments :
       {query("list", sim.port("list")),
        query("gps", sim.port("list"), {"--json"}),
        {"record", at(sim.port("fleet")), "--device", "D", "--stats", "-o", freshFile("p.mp4")},
        {"view", at(sim.port("fleet")), "--device", "D", "--stats", "--headless"}}) {
    int out[2];
    ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
    close(out[0]);
    const WrittenText errors;
    ChildProcess command(QUORVID_APP, arguments, out[1], errors.descriptor());
    close(out[1]);
    EXPECT_EQ(command.wait(), 128 + SIGPIPE) << arguments[0];
    EXPECT_EQ(errors.text(), "") << arguments[0];
  }
  freshFile("p.mp4");
}

}  // namespace
