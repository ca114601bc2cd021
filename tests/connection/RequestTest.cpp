// The four request records byte for byte, and how they are sent.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

#include "connection/QueryRequest.h"
#include "connection/ServerConnection.h"
#include "connection/Socket.h"
#include "connection/TestServer.h"
#include "connection/VideoRequest.h"

namespace quorvid::test {
namespace {

const std::string k31(31, 'a'), k32(32, 'a'), k63(63, 'c'), k64(64, 'c');

std::string built(decltype(&InitRequestStringForFleet) build, std::size_t size,
                  std::int32_t channel, const char* acc, const char* pwd, const char* carId,
                  const char* timestamp) {
  std::string out(size + 1, '\xEE');
  build(reinterpret_cast<std::uint8_t*>(out.data()), static_cast<std::int32_t>(size), channel, acc,
        pwd, carId, timestamp);
  EXPECT_EQ(out[size], '\xEE');
  return out.substr(0, size);
}
std::string fleet(std::int32_t channel, const char* carId, const char* others = "a") {
  return built(InitRequestStringForFleet, 81, channel, others, others, carId, others);
}
std::string car(std::int32_t channel, const char* acc, const char* carId, const char* timestamp) {
  return built(InitRequestStringForCar, 500, channel, acc, "p", carId, timestamp);
}
std::string relay(std::int32_t channel, const char* carId, const char* timestamp) {
  return built(InitRequestStringGetRelayForCar, 500, channel, "a", "p", carId, timestamp);
}

std::string carRecord(const std::string& acc, const char* pwd, const char* timestamp,
                      const std::string& carId, char number) {
  return "3GTXV100" + word(2) + word(164) + padded(acc, 32) + padded(pwd, 32) +
         padded(timestamp, 32) + padded(carId, 64) + "\2\1" + number + zeros(321);
}
std::string queryRecord(std::int32_t command, std::int32_t size, const char* text3,
                        std::int32_t wantsRelay) {
  return "3GAPV104" + word(1) + word(command) + word(size) + padded("a", 32) + padded("p", 32) +
         padded(text3, 32) + word(wantsRelay);
}

TEST(Request, VideoRecords) {
  EXPECT_EQ(fleet(0, "A1"), padded("001A1" + zeros(30) + "00L", 81));
  EXPECT_EQ(fleet(12, k31.c_str(), k64.c_str()), padded("001" + k31 + zeros(1) + "12L", 81));
  EXPECT_EQ(fleet(-9, nullptr, nullptr), padded("001" + zeros(32) + "-9L", 81));
  EXPECT_EQ(car(0, k31.c_str(), k63.c_str(), "t"), carRecord(k31, "p", "t", k63, '\1'));
  EXPECT_EQ(car(255, nullptr, nullptr, nullptr), carRecord("", "p", "", "", '\0'));
  EXPECT_EQ(car(INT32_MAX, "", "", ""), carRecord("", "p", "", "", '\0'));
}

TEST(Request, QueryRecords) {
  std::string list(500, '\xEE');
  InitRequestStringGetListForCar(reinterpret_cast<std::uint8_t*>(list.data()), 500, "a", "p", "t3");
  EXPECT_EQ(list, padded(queryRecord(130, 284, "t3", 0), 500));

  const std::int32_t size = sizeof(long) == 8 ? 104 : 84;
  const std::string block = word(size) + word(1);
  EXPECT_EQ(relay(0, "X9", "now"),
            padded(queryRecord(134, size, "now", 1) + block + padded("X9", 64) + word(1), 500));
  EXPECT_EQ(relay(7, "X9", nullptr),
            padded(queryRecord(134, size, "", 1) + block + zeros(64) + word(8), 500));
}

// Nothing is ever cut off: half an identifier would name another device.
TEST(RequestDeathTest, TextThatDoesNotFitEndsTheProcess) {
  const auto aborted = testing::KilledBySignal(SIGABRT);
  EXPECT_EXIT(fleet(0, k32.c_str()), aborted, "Quorvid: carId is longer than the 31 char");
  EXPECT_EXIT(fleet(100, "A1"), aborted, "Quorvid: channel 100 does not fit");
  EXPECT_EXIT(fleet(-10, "A1"), aborted, "Quorvid: channel -10 does not fit");
  EXPECT_EXIT(car(0, k32.c_str(), "A1", "t"), aborted, "Quorvid: acc is longer");
  EXPECT_EXIT(car(0, "a", "A1", k32.c_str()), aborted, "Quorvid: timestamp is longer");
  EXPECT_EXIT(relay(0, k64.c_str(), "now"), aborted, "carId is longer than the 63 char");
}

TEST(Request, SendersPlaceTheirTexts) {
  TestServer server;
  const Socket socket(nullptr, ConnectToServer("127.0.0.1", server.port));
  const int fd = socket.descriptor();
  Peer peer = server.accept();
  ASSERT_EQ(SendRequestForCar(fd, 3, "a", "p", "stamp", "dev"), 500);
  EXPECT_EQ(peer.receive(500), carRecord("a", "p", "stamp", "dev", '\4'));
  // One missing text of the two empties both, however long the other is.
  ASSERT_EQ(SendRequestForCar(fd, 3, k64.c_str(), nullptr, nullptr, nullptr), 500);
  EXPECT_EQ(peer.receive(500), carRecord("", "", "", "", '\4'));
  ASSERT_EQ(SendRequestGetRelayForCar(fd, 3, "a", "p", "stamp", "dev"), 500);
  EXPECT_EQ(peer.receive(500), relay(3, "dev", "stamp"));
  ASSERT_EQ(SendRequestForFleet(fd, 3, nullptr, nullptr, nullptr, "dev"), 81);
  EXPECT_EQ(peer.receive(81), fleet(3, "dev"));
}

template <class T>
T option(int fd, int level, int name) {
  T value{};
  socklen_t size = sizeof value;
  EXPECT_EQ(getsockopt(fd, level, name, &value, &size), 0);
  return value;
}

// On a socket that isn't connected a request can't be sent, and the segment size is still told as
// it was asked for.
TEST(Request, EachSenderSetsTheProfileAndClosesAfterAFailureWithoutASignal) {
  using Sender = std::int32_t (*)(std::int32_t);
  constexpr Sender kSenders[] = {
      [](std::int32_t fd) { return SendRequestForFleet(fd, 0, "a", "p", "t", "dev"); },
      [](std::int32_t fd) { return SendRequestForCar(fd, 0, "a", "p", "t", "dev"); },
      [](std::int32_t fd) { return SendRequestGetListForCar(fd, "a", "p", "t"); },
      [](std::int32_t fd) { return SendRequestGetRelayForCar(fd, 0, "a", "p", "t", "dev"); }};
  for (const Sender send : kSenders) {
    const int sending = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    const Socket same(nullptr, dup(sending));
    EXPECT_EQ(send(sending), -1);
    EXPECT_EQ(fcntl(sending, F_GETFD), -1);
    const int fd = same.descriptor();
    for (const int timeout : {SO_SNDTIMEO, SO_RCVTIMEO}) {
      EXPECT_EQ(option<timeval>(fd, SOL_SOCKET, timeout).tv_sec, 10);
      EXPECT_EQ(option<timeval>(fd, SOL_SOCKET, timeout).tv_usec, 0);
    }
    EXPECT_EQ(option<int>(fd, IPPROTO_TCP, TCP_MAXSEG), 1200);
    EXPECT_EQ(option<int>(fd, SOL_SOCKET, SO_SNDBUF), 2 * 72000);  // the system doubles both
    EXPECT_EQ(option<int>(fd, SOL_SOCKET, SO_RCVBUF), 2 * 72000);
    EXPECT_EQ(option<linger>(fd, SOL_SOCKET, SO_LINGER).l_onoff, 1);
    EXPECT_EQ(option<linger>(fd, SOL_SOCKET, SO_LINGER).l_linger, 0);
    EXPECT_NE(option<int>(fd, IPPROTO_TCP, TCP_NODELAY), 0);
  }
}

}  // namespace
}  // namespace quorvid::test
