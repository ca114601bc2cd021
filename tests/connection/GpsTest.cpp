// The GPS poller against a server driven by hand. It polls every 4 s; those pauses are waited for.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstring>

#include "connection/BlockingIO.h"
#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

static_assert(kPollPause == std::chrono::seconds(4));  // as the public header says

// Of the whole process. A sanitizer's allocator reports nothing here; it finds leaks by itself.
std::size_t allocatedBytes() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

class GpsRun {
 public:
  explicit GpsRun(std::int32_t port)
      : thread_([this, port] {
          result_ = ThreadGetCarGPS(myDevInfoItemsForGPS, &count, "127.0.0.1", port, 0, "a", "p",
                                    "t", &done, &run);
        }) {}
  ~GpsRun() { stop(); }
  std::int32_t stop() {
    set(run, 0xFE);
    return join();
  }
  std::int32_t join() {
    if (thread_.joinable()) thread_.join();
    return result_;
  }
  bool awaitPoll() {
    return eventually([this] { return get(done) == 1; });
  }

  std::int32_t count = -7;
  std::int32_t done = 5;
  std::uint8_t run = 0xFF;

 private:
  std::int32_t result_ = -99;
  std::thread thread_;
};

TEST(Gps, ConnectionsAndPollsLeaveNothingBehind) {
  const std::string record = deviceRecord(300, 9, 20);
  std::string reply = "garbage" + listHeader(200);
  for (int i = 0; i < 200; ++i) reply += record;
  TestServer server;
  GpsRun gps(server.port);
  const auto before = openDescriptors() + 1;  // with the one that the poller has open
  for (int i = 0; i < 100; ++i) server.acceptRequest(500).send(listHeader(0));
  const std::size_t allocated = allocatedBytes();
  for (int i = 0; i < 900; ++i) server.acceptRequest(500).send(listHeader(0));
  EXPECT_EQ(get(gps.count), -7);
  EXPECT_EQ(get(gps.done), 0);

  memset(static_cast<void*>(myDevInfoItemsForGPS), 0xFF, sizeof myDevInfoItemsForGPS);
  for (int poll = 0; poll < 3; ++poll) {
    Peer peer = server.acceptRequest(500);
    EXPECT_LE(openDescriptors(), before + 1);
    peer.send(reply);
    ASSERT_TRUE(gps.awaitPoll());
    EXPECT_TRUE(peer.seesClose());
  }
  // Cleared during the pause behind a poll, run ends the poller once the pause is over.
  EXPECT_EQ(gps.stop(), 0);
  EXPECT_EQ(gps.done, 1);
  EXPECT_EQ(gps.count, 200);
  EXPECT_TRUE(holdsRecord(myDevInfoItemsForGPS[199], record));
  EXPECT_LT(allocatedBytes(), allocated + 4096) << "less than two scratch buffers";
}

TEST(Gps, ShortPollsCountTheirWholeRecords) {
  TestServer server;
  GpsRun gps(server.port);
  const std::string record = deviceRecord(280, 9);
  Peer first = server.acceptRequest(500);
  const auto start = std::chrono::steady_clock::now();
  first.send(listHeader(3) + record + record.substr(0, 200));
  first.finish();
  ASSERT_TRUE(gps.awaitPoll());
  EXPECT_TRUE(eventually([&] { return get(gps.count) == 1; }));  // stored behind done
  EXPECT_EQ(get(carCount), 1);

  // The next poll, after the pause, counts anew; stopped while it awaits a reply, it says done.
  Peer last = server.acceptRequest(500);
  EXPECT_GE(std::chrono::steady_clock::now() - start, kPollPause);
  EXPECT_EQ(get(carCount), 0);
  EXPECT_EQ(get(gps.count), 1);
  set(gps.run, 0);
  last.send("x");
  EXPECT_EQ(gps.join(), 0);
  EXPECT_EQ(gps.done, 1);
}

TEST(Gps, AStopEndsItsRead) {
  TestServer server;
  GpsRun gps(server.port);
  Peer silent = server.acceptRequest(500);
  const auto start = std::chrono::steady_clock::now();
  StopCarGPS(&gps.run);
  EXPECT_EQ(gps.join(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(gps.run, 0xFE);
  EXPECT_EQ(gps.done, 1);
}

// Both in one place, the later one stays.
TEST(Gps, TheCountIsPublishedBehindDone) {
  TestServer server;
  std::int32_t doneAndCount = 0;
  std::uint8_t run = 1;
  std::thread poller([&] {
    ThreadGetCarGPS(myDevInfoItemsForGPS, &doneAndCount, "127.0.0.1", server.port, 0, "a", "p", "t",
                    &doneAndCount, &run);
  });
  Peer peer = server.acceptRequest(500);
  peer.send(listHeader(3) + deviceRecord(280, 9) + deviceRecord(300, 9));
  peer.finish();  // the second record is whole, although what it says is behind it is missing
  EXPECT_TRUE(peer.seesClose());
  EXPECT_EQ(get(doneAndCount), 2);
  set(run, 0);
  poller.join();
}

}  // namespace
}  // namespace quorvid::test
