// The list query and the relay lookup: what is read from a reply, and what counts as a failure.
#include <gtest/gtest.h>

#include <cstring>

#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

struct ListOutcome {
  std::int32_t result = -99;
  std::int32_t count = 0;
  std::int32_t done = 5;
  std::vector<DevInfoItem> items = std::vector<DevInfoItem>(200);
};

ListOutcome listAnsweredWith(const std::string& reply) {
  ListOutcome outcome;
  memset(static_cast<void*>(outcome.items.data()), 0xFF, 200 * sizeof(DevInfoItem));
  TestServer server;
  std::thread worker([&] {
    outcome.result = ThreadGetListForCar(outcome.items.data(), &outcome.count, "127.0.0.1",
                                         server.port, 0, "a", "p", "t", &outcome.done);
  });
  Peer peer = server.acceptRequest(500);
  peer.send(reply);
  peer.finish();
  worker.join();
  return outcome;
}

TEST(List, FillsTheTableFieldByField) {
  const std::string first = deviceRecord(280, 1), second = deviceRecord(-1, 101);
  for (const char* tag : {"3GAPV103", "3GAPV104", "3GAPV105"}) {
    const ListOutcome got =
        listAnsweredWith(listHeader(2, tag).insert(0, "3GAPV1", 6).append(first).append(second));
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.count, 2);
    EXPECT_EQ(got.done, 1);
    EXPECT_TRUE(holdsRecord(got.items[0], first));
    EXPECT_TRUE(holdsRecord(got.items[1], second));
  }
}

// How many bytes follow a record depends on itemLen alone, and 281 to 283 announce none.
TEST(List, SkipsWhatFollowsARecord) {
  const std::pair<std::int32_t, std::size_t> cases[] = {{281, 0}, {282, 0},  {283, 0},
                                                        {284, 4}, {300, 20}, {2644, 2364}};
  const std::string last = deviceRecord(280, 33);
  for (const auto& [itemLen, extra] : cases) {
    const ListOutcome got =
        listAnsweredWith(listHeader(2) + deviceRecord(itemLen, 5, extra) + last);
    EXPECT_EQ(got.result, 0) << itemLen;
    EXPECT_TRUE(holdsRecord(got.items[1], last)) << itemLen;
  }
}

TEST(List, ReadsTwoHundredRecordsAtMost) {
  std::string reply = listHeader(250);
  for (int i = 0; i < 250; ++i) reply += deviceRecord(280, 1);
  const ListOutcome got = listAnsweredWith(reply);
  EXPECT_EQ(got.result, 0);
  EXPECT_EQ(got.count, 200);
}

TEST(List, WrongOrShortReplyFails) {
  const std::string good = deviceRecord(280, 1);
  const struct {
    const char* what;
    std::string reply;
    std::int32_t count;
  } cases[] = {
      {"closed before the tag", "3GAPV10", 0},
      {"unknown tag", listHeader(1, "3GAPV106") + good, 0},
      {"another command", listHeader(1, "3GAPV104", 32770) + good, 0},
      {"replyLen 7", listHeader(1, "3GAPV104", 32769, 7) + good, 0},
      {"no records", listHeader(0) + good, 0},
      {"negative count", listHeader(-1) + good, 0},
      {"header cut", listHeader(1).substr(0, 122), 0},
      {"second record short", listHeader(3) + good + good.substr(0, 279), 1},
      {"extra bytes cut", listHeader(2) + good + deviceRecord(300, 1, 19), 1},
      {"too many extra bytes", listHeader(2) + good + deviceRecord(2645, 1, 2365), 1},
  };
  for (const auto& bad : cases) {
    const ListOutcome got = listAnsweredWith(bad.reply);
    EXPECT_EQ(got.result, -1) << bad.what;
    EXPECT_EQ(got.count, bad.count) << bad.what;
    EXPECT_EQ(got.done, 5) << bad.what;
  }
}

std::string relayReply(std::int32_t replyLen, std::size_t skipped, std::int32_t port,
                       std::int32_t cmd = 0x8001) {
  return listHeader(0, "3GAPV105", cmd, replyLen) + std::string(skipped, 's') + "\x7F\xC8\xC9\xFA" +
         word(port);
}

TEST(Relay, StreamsFromTheAddressInTheReply) {
  TestServer lookup;
  TestServer relay("127.200.201.250");
  VideoRun run(ThreadGetRelayForCar, lookup.port);
  Peer peer = lookup.acceptRequest(500);
  EXPECT_EQ(lookup.request.substr(84, 6), padded("stamp", 6));
  EXPECT_EQ(lookup.request.substr(128, 4), padded("car", 4));
  peer.send("3GAPV1" + relayReply(8, 0, relay.port));
  Peer stream = relay.acceptRequest(500);
  EXPECT_EQ(relay.request.substr(80, 6), padded("stamp", 6));
  EXPECT_TRUE(peer.seesClose());
  stream.send("3GTSV100" + word(1) + word(0) + word(5) + zeros(16) + "frame");
  EXPECT_EQ(run.take(), "frame");
  stream.finish();
  EXPECT_EQ(run.stop(), 0);
}

// A cancelled session still looks up; then the stream ends before it begins.
std::int32_t lookupAnsweredWith(const std::string& reply, bool finishes = true) {
  TestServer lookup;
  VideoRun run(ThreadGetRelayForCar, lookup.port, 1);
  Peer peer = lookup.acceptRequest(500);
  peer.send(reply);
  finishes ? peer.finish() : static_cast<void>(peer.seesClose());
  return run.join();
}

TEST(Relay, ReplyIsTakenOrRefused) {
  EXPECT_EQ(lookupAnsweredWith(relayReply(8, 0, 9)), 0);
  EXPECT_EQ(lookupAnsweredWith(relayReply(508, 500, 9)), 0);
  EXPECT_EQ(lookupAnsweredWith(relayReply(509, 501, 9)), -1);
  EXPECT_EQ(lookupAnsweredWith(relayReply(INT32_MAX, 9000, 9)), -1);
  EXPECT_EQ(lookupAnsweredWith(relayReply(7, 0, 9)), -1);
  EXPECT_EQ(lookupAnsweredWith(relayReply(8, 0, 9, 0x8002)), -1);
  // The port must come in one piece: the lookup gives up on the first half.
  EXPECT_EQ(lookupAnsweredWith(relayReply(8, 0, 9).substr(0, 130), false), -1);
  EXPECT_EQ(lookupAnsweredWith(relayReply(8, 0, 9).substr(0, 126)), -1);
  const TestServer silent("127.0.0.1", false);
  EXPECT_EQ(VideoRun(ThreadGetRelayForCar, silent.port, 1).join(), -1);
}

}  // namespace
}  // namespace quorvid::test
