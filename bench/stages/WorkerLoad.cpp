// worker_load: what the workers of the connection room cost, and beside each a plain loop that is
// fed by the same hand with the same packets. As one JSON object on standard error: standard output
// is the workers', and belongs into /dev/null.
//
//   worker_load [--rounds 5] [--packets 20] >/dev/null
//
// Paced: processor time of the worker's thread for a packet, 30 a second, the two in turn. Full
// speed: each packet leaves when the slot has been emptied of the one before. Fixed wait: the slot
// is emptied a little after the next header, so that the worker pauses once.
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "bench/stages/PacketServer.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::bench {
namespace {

using Clock = std::chrono::steady_clock;

// A worker on a thread of its own, the server's end of its connection, and its consumer.
class Client {
 public:
  Client(PacketServer& server, Dialect dialect, bool isOurs)
      : bytes_(QUORVID_FRAME_CAPACITY), dialect_(dialect) {
    slot_.bytes = bytes_.data();
    const int port = server.port();
    thread_ = std::thread([this, port, dialect, isOurs] {
      if (!isOurs) return runBareWorker(dialect, port, slot_);
      const auto run =
          dialect == Dialect::Fleet ? ThreadVideoSourceForFleet : ThreadVideoSourceForCar;
      run("127.0.0.1", port, 0, 0, "", "", &cancel_, "", "BENCH", &slot_.waits, slot_.bytes,
          &slot_.length);
    });
    socket_ = server.accept(dialect);
  }
  ~Client() {
    CancelVideoSource(&cancel_);
    ::shutdown(socket_, SHUT_RDWR);
    thread_.join();
    ::close(socket_);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void send(std::size_t payload) {
    PacketServer::send(socket_, packetOf(dialect_, payload, ++number_));
  }
  void send(const std::vector<std::uint8_t>& packet) { PacketServer::send(socket_, packet); }
  void awaitFrame() {
    while (std::atomic_ref(slot_.waits).load(std::memory_order_acquire) == 0) {
    }
  }
  void empty() { std::atomic_ref(slot_.waits).store(0, std::memory_order_release); }
  double processorSeconds() {
    clockid_t clock{};
    timespec time{};
    ::pthread_getcpuclockid(thread_.native_handle(), &clock);
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  }

 private:
  FrameSlot slot_;
  std::vector<std::uint8_t> bytes_;
  const Dialect dialect_;
  std::uint8_t cancel_ = 0;
  std::uint32_t number_ = 0;
  int socket_ = -1;
  std::thread thread_;
};

struct Pair {
  Pair(PacketServer& server, Dialect dialect)
      : ours(server, dialect, true), limit(server, dialect, false) {}
  Client ours, limit;
};

// By case: a value of each round, ours and the limit's.
struct Values {
  std::vector<double> ours, limit;
};
using Results = std::map<std::string, Values>;

void paced(Pair& pair, std::size_t payload, int packets, Values& values) {
  constexpr std::chrono::microseconds kPeriod{33'333}, kUntilEmptied{8'000};
  const double ours = pair.ours.processorSeconds(), limit = pair.limit.processorSeconds();
  auto due = Clock::now();
  for (int i = 0; i < packets; ++i) {
    Client& first = i % 2 == 0 ? pair.ours : pair.limit;
    Client& second = i % 2 == 0 ? pair.limit : pair.ours;
    first.send(payload);
    std::this_thread::sleep_until(due + kUntilEmptied);
    second.send(payload);
    std::this_thread::sleep_until(due + 2 * kUntilEmptied);
    for (Client* client : {&first, &second}) {
      client->awaitFrame();
      client->empty();
    }
    std::this_thread::sleep_until(due += kPeriod);
  }
  values.ours.push_back(1e6 * (pair.ours.processorSeconds() - ours) / packets);
  values.limit.push_back(1e6 * (pair.limit.processorSeconds() - limit) / packets);
}

// Megabytes a second. So few packets that most runs of them aren't disturbed.
double fullSpeed(Client& client, std::size_t payload) {
  constexpr int kPackets = 30;
  const auto packet = packetOf(Dialect::Fleet, payload, 0);
  const auto begin = Clock::now();
  for (int i = 0; i < kPackets; ++i) {
    client.send(packet);
    client.awaitFrame();
    client.empty();
  }
  const std::chrono::duration<double> taken = Clock::now() - begin;
  return 1e-6 * static_cast<double>(kPackets * payload) / taken.count();
}

// Milliseconds a packet.
double fixedWait(Client& client) {
  constexpr int kPackets = 20;
  constexpr std::size_t kPayload = 8192;
  constexpr std::chrono::microseconds kLate{300};
  const auto begin = Clock::now();
  client.send(kPayload);
  for (int i = 0; i < kPackets; ++i) {
    client.awaitFrame();
    client.send(kPayload);
    std::this_thread::sleep_for(kLate);
    client.empty();
  }
  client.awaitFrame();
  client.empty();
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count() / kPackets;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

nlohmann::ordered_json measure(int rounds, int packets) {
  constexpr std::size_t kKiB = 1024;
  constexpr int kFullSpeedTurns = 20;
  PacketServer server;
  Pair fleet(server, Dialect::Fleet), car(server, Dialect::Car);
  Results pacedResults, fullResults;
  for (int round = 0; round < rounds; ++round) {
    for (const std::size_t size : {8, 32, 128}) {
      const std::string name = std::to_string(size) + " KiB";
      // 128 KiB is the most that a payload may have.
      paced(fleet, size * kKiB, packets, pacedResults["fleet " + name]);
      paced(car, size * kKiB, packets, pacedResults["car " + name]);
      if (size == 8) continue;
      Values& values = fullResults["fleet " + name];
      for (int i = 0; i < kFullSpeedTurns; ++i) {
        values.ours.push_back(fullSpeed(fleet.ours, size * kKiB));
        values.limit.push_back(fullSpeed(fleet.limit, size * kKiB));
      }
    }
  }
  nlohmann::ordered_json all;
  const auto tell = [&all](const char* kind, const Results& results) {
    for (const auto& [name, values] : results) {
      all[kind][name] = {{"ours", median(values.ours)}, {"limit", median(values.limit)}};
    }
  };
  tell("pacedMicroseconds", pacedResults);
  tell("fullSpeedMBps", fullResults);
  all["fixedWaitMs"] = {{"fleet", fixedWait(fleet.ours)}, {"car", fixedWait(car.ours)}};
  return all;
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  int rounds = 5, packets = 20;
  CLI::App app("Measures the workers of the connection room.", "worker_load");
  app.add_option("--rounds", rounds)->check(CLI::Range(1, 100));
  app.add_option("--packets", packets, "A round, paced")->check(CLI::Range(2, 10000));
  CLI11_PARSE(app, argc, argv);
  std::cerr << quorvid::bench::measure(rounds, packets).dump() << '\n';
  return 0;
} catch (const std::exception& error) {
  std::cerr << "worker_load: " << error.what() << '\n';
  return 1;
}
