// The fleet worker against a server driven by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "connection/BlockingIO.h"
#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using Clock = std::chrono::steady_clock;

static_assert(kReconnectPause == std::chrono::seconds(3));  // as the public header says

const std::string kAnswer = word(0) + std::string(14, 'n');

std::string packet(char kind, const std::string& payload, std::size_t missing = 0) {
  return kind + word(static_cast<std::int64_t>(payload.size() + missing)) + std::string(14, 'n') +
         payload;
}

TEST(FleetVideo, DeliversVideoAndDropsTheRest) {
  CaptureStdout();
  TestServer server;
  VideoRun run(ThreadVideoSourceForFleet, server.port);
  Peer peer = server.acceptRequest(81);
  EXPECT_EQ(server.request, padded("001car" + zeros(29) + "02L", 81));
  EXPECT_EQ(get(run.canGetFrame), 0);
  peer.send(kAnswer + packet('A', std::string(1000, 'V')) + packet('V', "") + packet('V', "one"));
  EXPECT_EQ(run.take(), "one");
  const std::string largest(QUORVID_FRAME_CAPACITY, 'L');
  set(run.canGetFrame, 0xFE);  // clear, as only bit 0 counts
  peer.send(packet('V', largest));
  EXPECT_EQ(run.take(), largest);
  set(run.isCancel, 1);
  peer.finish();
  EXPECT_TRUE(peer.seesClose());
  EXPECT_EQ(run.join(), 0);
  EXPECT_THAT(GetCapturedStdout(), testing::HasSubstr("Wait to canGetFrame 0\n"));
}

// Both in one place, the flag in the length's low byte: the later one stays.
TEST(FleetVideo, TheFlagIsSetBehindTheLength) {
  TestServer server;
  std::uint8_t isCancel = 0;
  std::int32_t lenAndFlag = 0;
  std::vector<std::uint8_t> frame(QUORVID_FRAME_CAPACITY);
  std::thread worker([&] {
    ThreadVideoSourceForFleet("127.0.0.1", server.port, 81, 2, "acc", "pwd", &isCancel, "stamp",
                              "car", reinterpret_cast<std::uint8_t*>(&lenAndFlag), frame.data(),
                              &lenAndFlag);
  });
  Peer peer = server.acceptRequest(81);
  peer.send(kAnswer + packet('V', std::string(0x302, 'V')));
  EXPECT_TRUE(eventually([&] { return get(lenAndFlag) == 0x301; })) << get(lenAndFlag);
  CancelVideoSource(&isCancel);
  worker.join();
}

// The worker does not notice an orderly close: it hands over what came and stays, at rest.
TEST(FleetVideo, OrderlyCloseLeavesItWaiting) {
  CaptureStdout();
  TestServer server;
  VideoRun run(ThreadVideoSourceForFleet, server.port);
  const auto start = Clock::now();
  Peer peer = server.acceptRequest(81);
  peer.send(kAnswer + packet('V', "part", 6));
  peer.finish();
  EXPECT_EQ(run.take(), "part");
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  EXPECT_EQ(run.stop(), 0);
  const auto turns = (Clock::now() - start) / std::chrono::milliseconds(100) + 2;
  const std::string printed = GetCapturedStdout();
  EXPECT_LE(std::count(printed.begin(), printed.end(), '\n'), turns);
}

// Nothing counts that an earlier connection brought.
TEST(FleetVideo, OrderlyCloseBeforeTheFirstHeaderIsNoticed) {
  TestServer server;
  VideoRun run(ThreadVideoSourceForFleet, server.port);
  Peer first = server.acceptRequest(81);
  first.send(kAnswer + packet('V', "frame"));
  EXPECT_EQ(run.take(), "frame");
  first.reset();
  Peer second = server.acceptRequest(81);
  second.send(kAnswer);
  second.finish();
  EXPECT_TRUE(second.seesClose());
}

// After its whole pause, whatever signals come.
TEST(FleetVideo, UnreachableServerIsTriedAgain) {
  CaptureStdout();
  TestServer server("127.0.0.1", false);
  const auto start = Clock::now();
  VideoRun run(ThreadVideoSourceForFleet, server.port);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // it pauses by now, as a rule
  interruptOften(run.thread());
  server.listen();
  Peer peer = server.acceptRequest(81);
  EXPECT_GE(Clock::now() - start, kReconnectPause);
  peer.reset();
  EXPECT_EQ(run.stop(), 0);
  EXPECT_EQ(GetCapturedStdout(), "ConnectToHost connect to 127.0.0.1 fail\n");
}

struct Break {
  const char* name;
  std::string sent;
  bool resets = false;
};
void PrintTo(const Break& broken, std::ostream* out) {
  *out << broken.name;
}

class FleetVideoBreak : public testing::TestWithParam<Break> {};

// Each field is acted on as soon as it is there, although more was to come.
TEST_P(FleetVideoBreak, LeadsToANewConnectionWithANewRequest) {
  TestServer server;
  VideoRun run(ThreadVideoSourceForFleet, server.port);
  Peer peer = server.acceptRequest(81);
  const auto start = Clock::now();
  peer.send(GetParam().sent);
  const bool delivers = GetParam().sent.size() > kAnswer.size();
  EXPECT_TRUE(!delivers || eventually([&] { return get(run.frameLen) == 5; }));
  EXPECT_TRUE(GetParam().resets ? (peer.reset(), true) : peer.seesClose());
  Peer again = server.acceptRequest(81);
  EXPECT_EQ(server.request.size(), 81U);
  EXPECT_GE(Clock::now() - start, kReconnectPause);
  EXPECT_EQ(get(run.canGetFrame), 0);
  again.send(kAnswer + packet('V', "again"));
  EXPECT_EQ(run.take(), "again");
  again.finish();
}

const std::string kFrame = kAnswer + packet('V', "frame");

// More than a worker that waited for its consumer before each of them could read in the 8 s of a
// peer, while the frame before them is not taken.
std::string audio() {
  std::string packets;
  for (int i = 0; i < 100; ++i) packets += packet('A', "audio");
  return packets;
}

INSTANTIATE_TEST_SUITE_P(
    , FleetVideoBreak,
    testing::Values(Break{"AnswerNotZero", word(1)}, Break{"UnknownKind", kFrame + audio() + "v"},
                    Break{"PayloadNegative", kFrame + "V" + word(-1)},
                    Break{"PayloadTooLong", kFrame + "A" + word(QUORVID_FRAME_CAPACITY + 1)},
                    Break{"ResetInHeader", kFrame + "V", true},
                    Break{"ResetInPayload", kFrame + packet('V', "cut", 9), true}),
    testing::PrintToStringParamName());

}  // namespace
}  // namespace quorvid::test
