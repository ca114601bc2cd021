// Commands to which the system refuses every thread.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "apps/Command.h"
#include "sim/SimProcess.h"

namespace {

// Threads get stacks of the size that the program is started with; none has room for this one.
std::unique_ptr<Command> runWithoutThreads(std::vector<std::string> arguments) {
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  const rlimit before = limit;
  limit.rlim_cur = rlim_t{1} << 62;
  EXPECT_EQ(setrlimit(RLIMIT_STACK, &limit), 0);
  setenv("LP_NUM_THREADS", "0", 1);  // the software renderer waits for threads that it did not get
  auto command = std::make_unique<Command>(std::move(arguments));
  setrlimit(RLIMIT_STACK, &before);
  return command;
}

class RefusedThread : public testing::Test {
#ifdef __SANITIZE_THREAD__
  // With such a stack the system maps libraries where this sanitizer allows none.
  void SetUp() override {
    GTEST_SKIP() << "the thread sanitizer does not start";
  }
#endif
};

constexpr const char* kSentence = "can't start a thread: Resource temporarily unavailable\n";

TEST_F(RefusedThread, EndsACommandWithASentence) {
  SimProcess sim({});
  const std::string stream = at(sim.port("fleet"));
  const std::string queries = at(sim.port("list"));
  const std::vector<std::string> commands[] = {
      {"record", stream, "--device", "TRUCK-7", "-o", freshFile("none.mp4")},
      {"probe", stream, "--device", "TRUCK-7"},
      {"list", queries, "--account", "a"},
      {"gps", queries, "--account", "a"}};
  for (const auto& arguments : commands) {
    const auto command = runWithoutThreads(arguments);
    EXPECT_EQ(command->wait(), 1) << arguments[0];
    EXPECT_EQ(command->errors(), std::string("quorvid: ") + kSentence) << arguments[0];
  }
}

TEST_F(RefusedThread, FailsATileThatIsTriedAgain) {
  SimProcess sim({});
  const auto command = runWithoutThreads({"view", at(sim.port("car")), "--path", "car", "--device",
                                          "TRUCK-7", "--headless", "--stall", "1", "--json"});
  ASSERT_TRUE(command->says("(next try in 2 s)")) << command->errors();
  command->signal(SIGTERM);
  EXPECT_EQ(command->wait(), 1);
  const auto tile = nlohmann::json::parse(command->output())["tiles"][0];
  EXPECT_EQ(tile["reason"], "the system gives no further thread");
  EXPECT_EQ(tile["reason_code"], "no_resources");
  EXPECT_GE(tile["restarts"], 1);
}

}  // namespace
