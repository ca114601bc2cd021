// The query of a device list against the simulator and its faults.
#include "apps/desk/devices/DeviceQuery.h"

#include <gtest/gtest.h>

#include "connection/TestServer.h"
#include "sim/SimProcess.h"

namespace quorvid::desk {
namespace {

QueryTarget targetAt(int port) {
  return {"127.0.0.1", port, "acc", "pwd"};
}

TEST(DeviceQuery, SaysWhatBecameOfTheList) {
  SilenceConnectionPrinter();
  struct Case {
    std::vector<std::string> arguments;
    QueryOutcome outcome;
    std::size_t records;
  };
  const Case cases[] = {
      {{"--devices", "200"}, QueryOutcome::Complete, 200},
      {{"--items", "300"}, QueryOutcome::Complete, 200},
      {{"--devices", "5", "--fault", "short-record:list"}, QueryOutcome::Incomplete, 1},
      {{"--fault", "count:list:0"}, QueryOutcome::WrongAnswer, 0},
      {{"--fault", "random:list"}, QueryOutcome::WrongAnswer, 0},
      {{"--fault", "stall:list"}, QueryOutcome::NoAnswer, 0},
      {{"--fault", "refuse:list"}, QueryOutcome::Refused, 0},
  };
  for (const Case& one : cases) {
    std::vector<std::string> arguments = one.arguments;
    arguments.insert(arguments.end(), {"--size", "96x96", "--seconds", "1"});
    SimProcess sim(arguments);
    const QueryTarget target = targetAt(sim.port("list"));
    const QueryAnswer answer = askForDevices(target);
    EXPECT_EQ(answer.outcome, one.outcome) << &one - cases;
    EXPECT_EQ(answer.records.size(), one.records) << &one - cases;
    EXPECT_EQ(sentenceOf(answer.outcome, target).empty(), one.outcome == QueryOutcome::Complete);
  }
}

TEST(DeviceQuery, WhatCannotBeAskedIsSaidToo) {
  SilenceConnectionPrinter();
  EXPECT_EQ(askForDevices({"no-such-host.invalid", 1, "", ""}).outcome, QueryOutcome::NameNotFound);
  QueryTarget target = targetAt(1);
  target.account.assign(32, 'a');
  EXPECT_EQ(askForDevices(target).outcome, QueryOutcome::Impossible);
  // Its queue is full, so that it lets nobody in.
  test::TestServer full("127.0.0.1", false);
  full.listen(0);
  const int waiting[] = {socket(AF_INET, SOCK_STREAM, 0), socket(AF_INET, SOCK_STREAM, 0)};
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(full.port));
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  for (const int fd : waiting) {
    const timeval brief{0, 200000};
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &brief, sizeof brief);
    static_cast<void>(connect(fd, reinterpret_cast<sockaddr*>(&place), sizeof place));
  }
  EXPECT_EQ(askForDevices(targetAt(full.port)).outcome, QueryOutcome::Unreachable);
  for (const int fd : waiting) close(fd);
}

}  // namespace
}  // namespace quorvid::desk
