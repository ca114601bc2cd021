// `quorvid record`, `quorvid probe` and the relay path of `quorvid view` against the simulator.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "apps/Command.h"
#include "apps/Recording.h"
#include "sim/SimProcess.h"

namespace {

std::vector<std::string> stream(const char* name, int port, std::vector<std::string> more) {
  std::vector<std::string> arguments{name, at(port), "--device", "TRUCK-7"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

class Record : public testing::Test {
 protected:
  ~Record() override { std::remove(file_.c_str()); }
  Command& start(const std::string& ending, std::vector<std::string> more, int port) {
    file_ = freshFile("record." + ending);
    more.insert(more.end(), {"-o", file_});
    return command_.emplace(stream("record", port, more));
  }
  void expectEnd(int status, const std::string& sentence, int leastFrames) {
    EXPECT_EQ(command_->wait(), status);
    EXPECT_TRUE(command_->says(sentence)) << command_->errors();
    EXPECT_GE(readRecording(file_).frames, leastFrames);
  }
  SimProcess sim_{{}};
  std::string file_;
  std::optional<Command> command_;
};

TEST_F(Record, WritesAStreamThatOthersRead) {
  for (const char* ending : {"mp4", "mkv", "h264"}) {
    Command& command = start(ending, {"--seconds", "3"}, sim_.port("fleet"));
    ASSERT_EQ(command.wait(), 0) << command.errors();
    const Recording recording = readRecording(file_);
    EXPECT_GT(recording.frames, 15) << file_;  // 76 where the machine keeps pace
    EXPECT_LT(recording.frames, 100) << file_;
    EXPECT_EQ(recording.width, 640);
    EXPECT_TRUE(recording.beginsWithKey);
    EXPECT_TRUE(file_.ends_with("h264") || std::abs(recording.seconds - 3.2) < 0.7);
    std::remove(file_.c_str());
  }
}

TEST_F(Record, ClosesTheFileOnASignal) {
  Command& command = start("mp4", {"--path", "relay"}, sim_.port("relay"));
  // Wait for the second fragment: the first is whole then.
  ASSERT_TRUE(eventually([&] { return readRecording(file_).frames >= 25; }));
  command.signal(SIGINT);
  expectEnd(0, " frames, ", 25);
}

TEST_F(Record, EndsWhenTheStreamDoesNotComeBack) {
  start("h264", {"--seconds", "8"}, sim_.port("fleet"));
  ASSERT_TRUE(eventually([&] { return readRecording(file_).frames >= 5; }));
  sim_.signal(SIGSTOP);
  expectEnd(1, "broke off", 5);
}

TEST_F(Record, KeepsWhatFittedWhenTheFileCanNotGrow) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit before = limit;
  limit.rlim_cur = 300'000;
  setrlimit(RLIMIT_FSIZE, &limit);  // the command inherits it
  start("mkv", {}, sim_.port("fleet"));
  setrlimit(RLIMIT_FSIZE, &before);
  expectEnd(1, "File too large", 25);
}

TEST_F(Record, EndsAtItsLimitWithAFileThatPlays) {
  start("mp4", {"--limit", "64K"}, sim_.port("fleet"));
  expectEnd(3, "limit of 64K", 4);
}

// What is played from its start to every client comes again in the same bytes.
TEST_F(Record, SplitIntoFilesItHoldsWhatItHoldsInOne) {
  start("h264", {"--seconds", "3.5", "--split", "0.02", "--json", "--stats"}, sim_.port("fleet"));
  const std::string whole = freshFile("whole.h264");
  Command second(stream("record", sim_.port("fleet"), {"--seconds", "3.5", "-o", whole}));
  ASSERT_EQ(command_->wait() + second.wait(), 0) << command_->errors() << second.errors();
  std::istringstream lines(command_->output());
  nlohmann::json report;
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) report = nlohmann::json::parse(line);
  EXPECT_GE(count, 3) << "a line a second and the report";
  std::ifstream file(whole);
  const std::string expected{std::istreambuf_iterator<char>(file), {}};
  std::string pieces;
  for (const std::string name : report["files"]) {
    std::ifstream piece(name);
    pieces.append(std::istreambuf_iterator<char>(piece), {});
    unlink(name.c_str());
  }
  unlink(whole.c_str());
  EXPECT_GE(report["files"].size(), 2U);
  EXPECT_EQ(report["bytes"], pieces.size());
  const std::size_t both = std::min(pieces.size(), expected.size());
  EXPECT_GT(both, 100'000U);
  EXPECT_EQ(pieces.substr(0, both), expected.substr(0, both));
}

TEST_F(Record, NamesDeviceAndTimeInTheFile) {
  for (const char* ending : {"mp4", "mkv"}) {
    start(ending, {"--seconds", "1"}, sim_.port("fleet"));
    ASSERT_EQ(command_->wait(), 0) << command_->errors();
    const Recording recording = readRecording(file_);
    EXPECT_EQ(recording.title, "TRUCK-7 channel 0");
    EXPECT_EQ(recording.creationTime.substr(0, 2), "20");
    std::remove(file_.c_str());
  }
}

TEST_F(Record, FailsAtOnceWhereThereIsNoStreamUnlessItIsToWait) {
  SimProcess other({"--devices", "OTHER"});
  start("mp4", {"--json"}, other.port("fleet"));
  EXPECT_EQ(command_->wait(), 1) << "without a limit of time";
  EXPECT_NE(command_->errors().find("refused the stream with status 1"), std::string::npos);
  EXPECT_EQ(nlohmann::json::parse(command_->output())["frames"], 0);
  int port = 0;
  {
    SimProcess gone({});
    port = gone.port("fleet");
  }
  start("mp4", {"--wait", "--seconds", "1"}, port);
  ASSERT_TRUE(command_->says("nothing listens at " + at(port) + "; trying again"));
  SimProcess late({"--port", std::to_string(port)});
  expectEnd(0, " frames, ", 10);
}

TEST(Probe, ExplainsAGoodStreamAndWhatIsWrongWithOthers) {
  SimProcess good({"--sei", "--size", "704x576"});
  for (const char* path : {"fleet", "relay", "car"}) {
    Command command(stream("probe", good.port(path), {"--seconds", "2", "--path", path}));
    EXPECT_EQ(command.wait(), 0) << command.output();
    EXPECT_NE(command.output().find("verdict: OK: device TRUCK-7"), std::string::npos)
        << command.output();
    EXPECT_NE(command.output().find("streams 704x576"), std::string::npos);
    EXPECT_NE(command.output().find("SPS 9, PPS 4, SEI 5, key slice"), std::string::npos);
  }
  Command json(stream("probe", good.port("fleet"), {"--seconds", "1", "--json"}));
  EXPECT_EQ(json.wait(), 0) << json.errors();
  const auto report = nlohmann::json::parse(json.output());
  EXPECT_EQ(report["verdict"], "OK");
  EXPECT_EQ(report["figures"]["stream_size"]["width"], 704);
  EXPECT_EQ(report["steps"][1]["step"], "connected");
  Command stats(stream("probe", good.port("fleet"), {"--seconds", "3", "--stats"}));
  EXPECT_EQ(stats.wait(), 0) << stats.errors();
  EXPECT_NE(stats.output().find("{\"seconds\":"), std::string::npos) << stats.output();
  const struct {
    const char* fault;
    const char* service;
    const char* sentence;
  } troubles[] = {{"answer:fleet:7", "fleet", "FAILED: device TRUCK-7, channel 0, fleet path"},
                  {"answer:fleet:7", "fleet", "answer status 7"},
                  {"too-large:fleet", "fleet", "a length of 131073 bytes"},
                  {"reset:car", "car", "reset the connection"},
                  {"stall:fleet:10", "fleet", "did not come whole within 2 s"},
                  {"one-byte:relay:200000", "relay", "did not come whole within 2 s"},
                  {"split-port:relay:500", "relay", "only whole"}};
  for (const auto& trouble : troubles) {
    SimProcess sim({"--fault", trouble.fault});
    Command command(stream("probe", sim.port(trouble.service),
                           {"--seconds", "3", "--timeout", "2", "--path", trouble.service}));
    EXPECT_EQ(command.wait(), 1);
    EXPECT_NE(command.output().find(trouble.sentence), std::string::npos) << command.output();
  }
}

TEST(AStopSignal, EndsAProbeAtOnceAndLeavesTimeToSayWhyNothingCame) {
  SimProcess drip({"--fault", "one-byte:relay:50000"});
  Command probe(stream("probe", drip.port("relay"), {"--path", "relay", "--timeout", "60"}));
  SimProcess sim({"--devices", "OTHER"});
  Command record(stream("record", sim.port("fleet"), {"-o", freshFile("none.mp4"), "--wait"}));
  ASSERT_TRUE(probe.says("relay lookup")) << probe.errors();
  probe.signal(SIGTERM);
  EXPECT_EQ(probe.wait(), 1);
  EXPECT_NE(probe.output().find(": interrupted ("), std::string::npos) << probe.output();
  ASSERT_TRUE(record.says("; trying again")) << record.errors();
  record.signal(SIGTERM);
  EXPECT_EQ(record.wait(), 1);
  EXPECT_NE(record.errors().find("nothing was recorded: " + at(sim.port("fleet")) + " refused"),
            std::string::npos)
      << record.errors();
}

TEST(ViewOfTheRelayPath, ShowsPicturesOrSaysThatThereIsNoRelay) {
  SimProcess sim({"--relay-extra", "20"});
  Command found(stream("view", sim.port("relay"),
                       {"--path", "relay", "--headless", "--seconds", "3", "--json"}));
  Command none(
      stream("view", sim.port("fleet"), {"--path", "relay", "--headless", "--seconds", "2"}));
  EXPECT_EQ(found.wait(), 0) << found.errors();
  EXPECT_GT(nlohmann::json::parse(found.output())["pictures"], 5);
  EXPECT_EQ(none.wait(), 1);
  EXPECT_NE(none.errors().find("named no relay"), std::string::npos) << none.errors();
}

}  // namespace
