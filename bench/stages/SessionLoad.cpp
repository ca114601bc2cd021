// session_load: sessions without a view: what they hold and what a packet costs, as one JSON object
// on standard error: standard output is theirs, and belongs into /dev/null.
//
//   session_load --sessions 500 --seconds 5 >/dev/null
//
// A server in a process of its own sends each 25 packets a second of 4 KiB, spread evenly. One
// thread empties the slots; its own time doesn't count.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "bench/stages/PacketServer.h"
#include "quorvid/session/VehicleVideo.h"

namespace quorvid::bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t kPayload = 4096;
constexpr std::chrono::microseconds kPeriod{40'000};

// A process that serves so many clients for ever.
class ServerProcess {
 public:
  ServerProcess(const PacketServer& server, int clients) : pid_(::fork()) {
    if (pid_ == 0) serve(server, clients);
  }
  ~ServerProcess() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

 private:
  [[noreturn]] static void serve(const PacketServer& server, int clients) {
    std::vector<int> sockets;
    sockets.reserve(static_cast<std::size_t>(clients));
    for (int i = 0; i < clients; ++i) sockets.push_back(server.accept(Dialect::Fleet));
    auto due = Clock::now();
    for (std::uint32_t number = 0;; ++number) {
      const auto packet = packetOf(Dialect::Fleet, kPayload, number);
      for (const int socket : sockets) {
        PacketServer::send(socket, packet);
        std::this_thread::sleep_until(due += kPeriod / clients);
      }
    }
  }
  const pid_t pid_;
};

struct Session {
  std::shared_ptr<VehicleVideo> video;
  std::uint64_t packets = 0, lost = 0;
  std::uint32_t last = 0;

  // Takes what waits.
  void empty() {
    if (!video->getIsFrameReady()) return;
    std::uint32_t number = 0;
    std::memcpy(&number, video->getFrameData(), sizeof number);
    if (packets++ > 0) lost += number - last - 1;
    last = number;
    video->setIsFrameReady(0);
  }
};

double secondsOf(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Of all threads but this one.
double sessionsProcessorSeconds() {
  return secondsOf(CLOCK_PROCESS_CPUTIME_ID) - secondsOf(CLOCK_THREAD_CPUTIME_ID);
}

long residentKiB() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long amount = 0;
    if (word == "VmRSS:" && status >> amount) return amount;
  }
  return 0;
}

class Load {
 public:
  explicit Load(int sessions) {
    const PacketServer server;
    server_.emplace(server, sessions);
    for (int i = 0; i < sessions; ++i) {
      sessions_.push_back({VehicleVideo::initWithVideo("127.0.0.1", server.port(), 0, 0, "", "", 2,
                                                       "BENCH", false)});
    }
  }
  ~Load() {
    for (const Session& session : sessions_) session.video->cancelVideoThread();
  }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  // False when not every session has got some packets in time.
  bool begin() {
    const auto end = Clock::now() + std::chrono::seconds(30);
    const auto hasBegun = [](const Session& session) { return session.packets > 10; };
    while (!std::all_of(sessions_.begin(), sessions_.end(), hasBegun)) {
      if (Clock::now() > end) return false;
      empty();
    }
    return true;
  }
  void run(double seconds) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) empty();
  }
  std::uint64_t sum(std::uint64_t Session::*member) const {
    std::uint64_t all = 0;
    for (const Session& session : sessions_) all += session.*member;
    return all;
  }

 private:
  void empty() {
    for (Session& session : sessions_) session.empty();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  std::optional<ServerProcess> server_;
  std::vector<Session> sessions_;
};

nlohmann::ordered_json measure(int sessions, double seconds) {
  const long before = residentKiB();
  Load load(sessions);
  if (!load.begin()) throw std::runtime_error("not every session got its packets");
  const std::uint64_t packets = load.sum(&Session::packets);
  const double used = sessionsProcessorSeconds();
  load.run(seconds);
  const auto taken = static_cast<double>(load.sum(&Session::packets) - packets);
  return {{"sessions", sessions},
          {"packets", taken},
          {"packetsASecond", taken / seconds},
          {"lost", load.sum(&Session::lost)},
          {"processorMicrosecondsPerPacket", 1e6 * (sessionsProcessorSeconds() - used) / taken},
          {"residentKiBPerSession", static_cast<double>(residentKiB() - before) / sessions}};
}

void raiseDescriptorLimit() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  int sessions = 10;
  double seconds = 5;
  CLI::App app("Measures sessions without a view.", "session_load");
  app.add_option("--sessions", sessions)->check(CLI::Range(1, 2000));
  app.add_option("--seconds", seconds)->check(CLI::Range(0.5, 3600.0));
  CLI11_PARSE(app, argc, argv);
  quorvid::bench::raiseDescriptorLimit();
  std::cerr << quorvid::bench::measure(sessions, seconds).dump() << '\n';
  std::_Exit(0);  // the sessions' threads end by themselves
} catch (const std::exception& error) {
  std::cerr << "session_load: " << error.what() << '\n';
  return 1;
}
