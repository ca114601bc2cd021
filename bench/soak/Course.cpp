#include "soak/Course.h"

#include <algorithm>
#include <cstdlib>

#include "base/Clock.h"
#include "soak/Usage.h"

namespace soak {

using quorvid::steadySeconds;

namespace {

constexpr double kLongestPlay = 60;  // seconds from rest to rest
constexpr double kLongestRest = 15;  // a silent server may hold its thread for 10 s
constexpr double kQuiet = 0.3;       // for what the threads' last steps let go
constexpr double kFirstStay = 15;
constexpr double kMeanStay = 40;

}  // namespace

void add(Counts& sum, const Counts& counts) {
  sum.pictures += counts.pictures;
  sum.starts += counts.starts;
  sum.restarts += counts.restarts;
  sum.lag = std::max(sum.lag, counts.lag);
}

Course::Course(int argc, char** argv)
    : chance_(argc < 6 ? 0 : static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10))) {
  seconds_ = argc < 6 ? 0 : std::strtod(argv[1], nullptr);
  members_ = argc < 6 ? 0 : std::atoi(argv[2]);
  for (int i = 5; i < argc; ++i) {
    Server one;
    if (std::sscanf(argv[i], "%d,%d,%d,%d,%d", &one.fleet, &one.car, &one.relay, &one.list,
                    &one.polled) == 5) {
      servers_.push_back(one);
    }
  }
  if (seconds_ > 0 && members_ > 0 && !servers_.empty()) log_ = std::fopen(argv[4], "w");
  if (log_ == nullptr) {
    std::fprintf(stderr, "usage: %s SECONDS MEMBERS SEED LOG FLEET,CAR,RELAY,LIST,POLLED...\n",
                 argv[0]);
    std::exit(2);
  }
}

Draw Course::draw(bool isFirst, bool onlyFleet) {
  Draw draw;
  draw.channel = static_cast<int>(chance_() % 8);
  draw.stay = std::exponential_distribution<double>(1 / kMeanStay)(chance_);
  if (isFirst) {
    draw.port = servers_.front().fleet;
    draw.stay += kFirstStay;
    return draw;
  }
  const Server& server = servers_[chance_() % servers_.size()];
  const auto what = onlyFleet ? 7 : chance_() % 8;
  draw.path = what == 0 && server.relay != 0 ? 2 : what < 3 ? 1 : 0;
  draw.port = draw.path == 2 ? server.relay : draw.path == 1 ? server.car : server.fleet;
  return draw;
}

void Course::run(Host& host) {
  start_ = steadySeconds();
  idleThreads_ = usageNow().threads;
  const double playTime = std::min(kLongestPlay, seconds_ / 12);
  double nextLine = start_;
  double nextRest = start_ + playTime;
  host.begin();
  while (steadySeconds() < start_ + seconds_) {
    host.turn();
    if (steadySeconds() >= nextLine) {
      tell("play", host.counts());
      nextLine = steadySeconds() + 1;
    }
    if (steadySeconds() >= nextRest) {
      rest(host);
      host.begin();
      nextRest = steadySeconds() + playTime;
    }
  }
  rest(host);
}

// Threads that stay after the first rest (a driver's, a pool's) are not waited for in the next
// ones.
void Course::rest(Host& host) {
  host.rest();
  const double end = steadySeconds() + kLongestRest;
  while (steadySeconds() < end && usageNow().threads > idleThreads_) host.turn();
  for (const double quiet = steadySeconds() + kQuiet; steadySeconds() < quiet;) host.turn();
  idleThreads_ = std::max(idleThreads_, usageNow().threads);
  tell("rest", host.counts());
}

void Course::tell(const char* state, const Counts& counts) {
  const Usage usage = usageNow();
  std::fprintf(log_, "%s %.1f %zu %zu %zu %zu %zu %lu %lu %lu %lu %.4f\n", state,
               steadySeconds() - start_, usage.resident, usage.heapUsed, usage.heapFree,
               usage.threads, usage.descriptors, counts.pictures, counts.starts, counts.restarts,
               counts.queries, counts.lag);
  std::fflush(log_);
}

}  // namespace soak
