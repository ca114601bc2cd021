// `quorvid record`, `quorvid probe` and the car path of `quorvid view` against the simulator.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "apps/Command.h"
#include "apps/Recording.h"
#include "sim/SimProcess.h"

namespace {

std::vector<std::string> stream(const char* name, int port, std::vector<std::string> more) {
  std::vector<std::string> arguments{name, at(port), "--device", "TRUCK-7"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(Record, WritesAStreamThatOthersRead) {
  SimProcess sim({});
  for (const std::string ending : {"mp4", "mkv", "h264"}) {
    const std::string file = freshFile("record." + ending);
    Command command(stream("record", sim.port("fleet"), {"-o", file, "--seconds", "3"}));
    ASSERT_EQ(command.wait(), 0) << command.errors();
    const Recording recording = readRecording(file);
    EXPECT_NEAR(recording.frames, 76, 20) << file;
    EXPECT_EQ(recording.width, 640);
    EXPECT_TRUE(recording.beginsWithKey);
    if (ending != "h264") {
      EXPECT_NEAR(recording.seconds, 3.2, 0.7);
    }
    std::remove(file.c_str());
  }
}

TEST(Record, ClosesTheFileOnASignal) {
  SimProcess sim({});
  const std::string file = freshFile("signal.mp4");
  Command command(stream("record", sim.port("relay"), {"-o", file, "--path", "relay"}));
  // Wait for the second fragment: the first is whole then.
  ASSERT_TRUE(eventually([&] { return readRecording(file).frames >= 25; }));
  command.signal(SIGINT);
  EXPECT_EQ(command.wait(), 0) << command.errors();
  EXPECT_NE(command.output().find(" frames, "), std::string::npos);
  EXPECT_GE(readRecording(file).frames, 25);
  std::remove(file.c_str());
}

TEST(Record, EndsWhenTheStreamDoesNotComeBack) {
  SimProcess sim({"--fps", "5"});
  const std::string file = freshFile("broken.h264");
  Command command(stream("record", sim.port("fleet"), {"-o", file, "--seconds", "8"}));
  ASSERT_TRUE(eventually([&] { return readRecording(file).frames >= 5; }));
  sim.signal(SIGSTOP);
  EXPECT_EQ(command.wait(), 1);
  EXPECT_NE(command.errors().find("broke off"), std::string::npos) << command.errors();
  EXPECT_GE(readRecording(file).frames, 5);
  sim.signal(SIGCONT);
  std::remove(file.c_str());
}

TEST(Record, KeepsWhatFittedWhenTheFileCanNotGrow) {
  SimProcess sim({});
  const std::string file = freshFile("full.mkv");
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlim_t before = limit.rlim_cur;
  limit.rlim_cur = 300'000;
  setrlimit(RLIMIT_FSIZE, &limit);  // the command inherits it
  Command command(stream("record", sim.port("fleet"), {"-o", file}));
  limit.rlim_cur = before;
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(command.wait(), 1);
  EXPECT_NE(command.errors().find("File too large"), std::string::npos) << command.errors();
  EXPECT_GE(readRecording(file).frames, 25);
  std::remove(file.c_str());
}

TEST(Record, EndsAtItsLimitWithAFileThatPlays) {
  SimProcess sim({});
  const std::string file = freshFile("limit.mp4");
  Command command(stream("record", sim.port("fleet"), {"-o", file, "--limit", "64K"}));
  EXPECT_EQ(command.wait(), 3) << command.errors();
  EXPECT_NE(command.errors().find("limit of 64K"), std::string::npos) << command.errors();
  EXPECT_LE(std::filesystem::file_size(file), 65536U);
  EXPECT_GT(readRecording(file).frames, 3);
  std::remove(file.c_str());
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
  Command record(stream("record", sim.port("fleet"), {"-o", freshFile("none.mp4")}));
  ASSERT_TRUE(probe.says("relay lookup")) << probe.errors();
  probe.signal(SIGTERM);
  EXPECT_EQ(probe.wait(), 1);
  EXPECT_NE(probe.output().find(": interrupted ("), std::string::npos) << probe.output();
  ASSERT_TRUE(record.says("starting the stream again")) << record.errors();
  record.signal(SIGTERM);
  EXPECT_EQ(record.wait(), 1);
  EXPECT_NE(record.errors().find("sent no stream for"), std::string::npos) << record.errors();
}

TEST(ViewOfTheCarPath, ShowsPicturesAndSaysWhenThereIsNoRelay) {
  SimProcess sim({});
  for (const char* path : {"car", "relay"}) {
    Command command(
        stream("view", sim.port(path), {"--path", path, "--headless", "--seconds", "3", "--json"}));
    EXPECT_EQ(command.wait(), 0) << command.errors();
    EXPECT_GT(nlohmann::json::parse(command.output())["pictures"], 5);
  }
  Command none(
      stream("view", sim.port("fleet"), {"--path", "relay", "--headless", "--seconds", "2"}));
  EXPECT_EQ(none.wait(), 1);
  EXPECT_NE(none.errors().find("named no relay"), std::string::npos) << none.errors();
}

}  // namespace
