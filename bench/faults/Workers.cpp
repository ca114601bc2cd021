// fault_workers KIND HOST PORT CALLS: so many calls of a blocking function at once, each on a
// thread of its own and to the end or SIGINT, for scripts/faults.sh. KIND is fleet, car, relay,
// list or gps (one call alone). Frames, lists and polls are taken as they come; a line tells of
// the first, the last one how many did. A call that doesn't end within 2 s of the signal is left
// alone: one that connects waits for the system.
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>
#include <vector>

#include "connection/SharedValue.h"
#include "quorvid/connection/VehicleConnection.h"

namespace {

struct Call {
  std::int32_t result = 0;
  std::int32_t hasEnded = 0;
  int received = 0;
  std::uint8_t isCancel = 0, run = 1;
  std::uint8_t canGetFrame = 0;
  std::int32_t frameLen = 0;
  std::unique_ptr<std::uint8_t[]> frame{new std::uint8_t[QUORVID_FRAME_CAPACITY]};
  std::int32_t count = -1, done = 0;  // -1: no poll yet
  std::vector<DevInfoItem> items = std::vector<DevInfoItem>(200);
};

struct Server {
  const char* kind;
  const char* host;
  int port;
};

std::int32_t observe(std::int32_t& place) {
  return std::atomic_ref<std::int32_t>(place).load(std::memory_order_acquire);
}

bool is(const Server& server, const char* kind) {
  return std::strcmp(server.kind, kind) == 0;
}

std::int32_t callOnce(const Server& server, Call& call) {
  if (is(server, "list")) {
    quorvid::publish(&call.count, 0);
    return ThreadGetListForCar(call.items.data(), &call.count, server.host, server.port, 0, "a",
                               "b", "", &call.done);
  }
  if (is(server, "gps")) {
    return ThreadGetCarGPS(call.items.data(), &call.count, server.host, server.port, 0, "a", "b",
                           "", &call.done, &call.run);
  }
  const auto stream = is(server, "car")     ? ThreadVideoSourceForCar
                      : is(server, "relay") ? ThreadGetRelayForCar
                                            : ThreadVideoSourceForFleet;
  return stream(server.host, server.port, 0, 0, "a", "b", &call.isCancel, "a-12345678", "BUS-1",
                &call.canGetFrame, call.frame.get(), &call.frameLen);
}

// Takes what has come; the bytes are looked at, so that a sanitizer sees a wrong length.
void take(const Server& server, Call& call) {
  const int before = call.received;
  if (is(server, "gps")) {
    if (observe(call.count) < 0) return;
    quorvid::publish(&call.count, -1);
    ++call.received;
  } else if (is(server, "list")) {
    call.received = std::max(0, observe(call.count));
  } else if (quorvid::isSet(&call.canGetFrame)) {
    std::vector<std::uint8_t> copy(call.frame.get(), call.frame.get() + call.frameLen);
    quorvid::publish(&call.canGetFrame, 0);
    call.received += copy.empty() ? 0 : 1;
  }
  if (before == 0 && call.received > 0) std::printf("the first has come\n");
}

// Returns how many calls go on.
int takeAll(const Server& server, const std::vector<std::unique_ptr<Call>>& calls) {
  int left = 0;
  for (const auto& call : calls) {
    const bool hasEnded = observe(call->hasEnded) != 0;
    take(server, *call);
    left += hasEnded ? 0 : 1;
  }
  return left;
}

int tell(const std::vector<std::unique_ptr<Call>>& calls, int left) {
  int received = 0, failed = 0;
  for (const auto& call : calls) {
    received += call->received;
    failed += observe(call->hasEnded) != 0 && call->result != 0 ? 1 : 0;
  }
  std::printf("received %d, %d failed, %d do not end\n", received, failed, left);
  std::fflush(stdout);
  return failed > 0 ? 1 : 0;
}

int run(const Server& server, int count) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // also of the threads
  std::vector<std::unique_ptr<Call>> calls;
  for (int i = 0; i < count; ++i) {
    Call* const call = calls.emplace_back(std::make_unique<Call>()).get();
    std::thread([server, call] {
      call->result = callOnce(server, *call);
      quorvid::publish(&call->hasEnded, 1);
    }).detach();
  }
  constexpr timespec kTurn{0, 2'000'000};
  constexpr time_t kSecondsToEnd = 2;
  int left = count;
  while (left > 0 && sigtimedwait(&signals, nullptr, &kTurn) < 0) left = takeAll(server, calls);
  for (const auto& call : calls) {
    CancelVideoSource(&call->isCancel);
    StopCarGPS(&call->run);
  }
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  for (const time_t end = now.tv_sec + kSecondsToEnd; left > 0 && now.tv_sec <= end;) {
    nanosleep(&kTurn, nullptr);
    left = 0;
    for (const auto& call : calls) left += observe(call->hasEnded) != 0 ? 0 : 1;
    clock_gettime(CLOCK_MONOTONIC, &now);
  }
  const int status = tell(calls, left);
  if (left > 0) std::_Exit(status);  // what they use stays
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return std::fprintf(stderr, "usage: fault_workers KIND HOST PORT CALLS\n"), 2;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  return run({argv[1], argv[2], std::atoi(argv[3])}, std::atoi(argv[4]));  // NOLINT(cert-err34-c)
}
