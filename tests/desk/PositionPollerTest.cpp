// Positions against the simulator and against a server that has no records. There is one poller in
// a process, and one of these cases in each.
#include "apps/desk/positions/PositionPoller.h"

#include <gtest/gtest.h>

#include "connection/TestServer.h"
#include "sim/SimProcess.h"

namespace quorvid::desk {
namespace {

constexpr PositionPoller::Pauses kShort{50, 100, 1000};

class Positions : public testing::Test {
 protected:
  Positions() { SilenceConnectionPrinter(); }
  // Turns the main loop until it holds, for a minute at most.
  template <class Condition>
  static bool turnUntil(Condition holds) {
    const auto end = g_get_monotonic_time() + 60 * G_USEC_PER_SEC;
    while (!holds() && g_get_monotonic_time() < end) {
      if (g_main_context_iteration(nullptr, FALSE) == 0) g_usleep(1000);
    }
    return holds();
  }
  std::vector<std::vector<DevInfoItem>> polls_;
  std::vector<QueryOutcome> troubles_;
  PositionPoller poller_{[this](const auto& records) { polls_.push_back(records); },
                         [this](QueryOutcome outcome) { troubles_.push_back(outcome); }, kShort};
};

TEST_F(Positions, GoOnUntilStoppedAndBeginWithAnotherServer) {
  SimProcess one({"--devices", "3", "--size", "96x96", "--seconds", "1"});
  SimProcess other({"--devices", "BUS-7", "--size", "96x96", "--seconds", "1"});
  poller_.start({"127.0.0.1", one.port("list"), "acc", "pwd"});
  ASSERT_TRUE(turnUntil([this] { return polls_.size() == 3; }));
  EXPECT_EQ(polls_[2].size(), 3u);
  EXPECT_STRNE(reinterpret_cast<const char*>(polls_[1][0].blk9),
               reinterpret_cast<const char*>(polls_[2][0].blk9));
  // The former poller still rests for seconds; nothing of it is shown, and the new one waits.
  poller_.start({"127.0.0.1", other.port("list"), "acc", "pwd"});
  EXPECT_TRUE(poller_.isUnderWay());
  polls_.clear();
  ASSERT_TRUE(turnUntil([this] { return polls_.size() == 2; }));
  for (const auto& poll : polls_) EXPECT_EQ(poll.size(), 1u);
  poller_.stop();
  ASSERT_TRUE(turnUntil([this] { return !poller_.isUnderWay(); }));
  EXPECT_TRUE(troubles_.empty());
}

// Counts the connections that bring a request, and answers the first ones with a record.
class EmptyingServer {
 public:
  explicit EmptyingServer(int good)
      : thread_([this, good] {
          const std::string record = test::deviceRecord(280, 1);
          while (!ends_) {
            try {
              test::Peer peer = server_.accept();
              if (peer.receive(500).size() < 500) continue;
              const bool isGood = ++requests < good + 1;
              peer.send(isGood ? test::listHeader(1) + record : test::listHeader(0));
            } catch (const std::runtime_error&) {
              // Nobody came, or went before the answer: the test says what that means.
            }
          }
        }) {}
  ~EmptyingServer() {
    ends_ = true;
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<std::uint16_t>(server_.port));
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    static_cast<void>(connect(fd, reinterpret_cast<sockaddr*>(&place), sizeof place));
    thread_.join();
    close(fd);
  }
  int port() const { return server_.port; }

  std::atomic<int> requests{0};

 private:
  test::TestServer server_;
  std::atomic<bool> ends_{false};
  std::thread thread_;
};

TEST_F(Positions, AServerWithoutRecordsIsLeftInPeace) {
  EmptyingServer none(0);
  poller_.start({"127.0.0.1", none.port(), "", ""});
  ASSERT_TRUE(turnUntil([this] { return troubles_.size() == 3; }));
  EXPECT_EQ(troubles_[0], QueryOutcome::WrongAnswer);
  EXPECT_EQ(none.requests, 3) << "one a trouble";
  EXPECT_FALSE(poller_.isUnderWay());
  // One whose records end once the poller runs: it is stopped, and said.
  EmptyingServer ending(1);
  poller_.start({"127.0.0.1", ending.port(), "", ""});
  ASSERT_TRUE(turnUntil([this] { return polls_.size() == 1; }));
  troubles_.clear();
  ASSERT_TRUE(turnUntil([this] { return !troubles_.empty(); }));
  EXPECT_FALSE(poller_.isUnderWay());
  EXPECT_EQ(polls_.size(), 1u);
}

TEST_F(Positions, AServerThatGoesIsSaidAndAskedAgain) {
  auto sim =
      std::make_unique<SimProcess>(std::vector<std::string>{"--size", "96x96", "--seconds", "1"});
  const int port = sim->port("list");
  poller_.start({"127.0.0.1", port, "", ""});
  ASSERT_TRUE(turnUntil([this] { return polls_.size() == 2; }));
  sim.reset();
  ASSERT_TRUE(turnUntil([this] { return !troubles_.empty(); }));
  EXPECT_EQ(troubles_[0], QueryOutcome::Refused);
  const SimProcess again(
      {"--list-port", std::to_string(port), "--size", "96x96", "--seconds", "1"});
  ASSERT_TRUE(turnUntil([this] { return polls_.size() == 4; }));
}

}  // namespace
}  // namespace quorvid::desk
