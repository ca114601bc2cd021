// What the calls of live views cost the host's thread, and what they leave behind.
//
//   live_calls time VIEWS ROUNDS TARGET...   median and longest of each call, in milliseconds, on
//                                            the first of VIEWS views, all of which play the
//                                            target; the longest processor time that one took; and
//                                            of those that waited for something, how many and the
//                                            longest
//   live_calls cycle PLAYS SWITCHES TARGET...  plays and stops the targets by turns, then changes
//                                            the target of a playing view; what the process holds
//                                            at rest after the first tenth and at the end, and how
//                                            many of 10 play() right behind stop() showed a picture
//                                            of the first target
//
// TARGET: fleet|car|relay:HOST:PORT, or "hole": a port that takes no connection and refuses none.
#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "quorvid/base/Log.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/RunLoop.h"
#include "soak/Usage.h"

namespace {

using quorvid::LivePath;
using quorvid::LiveTarget;
using quorvid::LiveView;
using quorvid::steadySeconds;
using Views = std::vector<std::shared_ptr<LiveView>>;

// A listening socket whose queue is full: what comes then is dropped. Kept for the process's life.
int makeHole() {
  sockaddr_in place{};
  socklen_t size = sizeof place;
  place.sin_family = AF_INET;
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(listener, reinterpret_cast<sockaddr*>(&place), size) != 0 || listen(listener, 0) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&place), &size) != 0) {
    close(listener);
    return 0;
  }
  for (int i = 0; i < 3; ++i) {
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    static_cast<void>(connect(client, reinterpret_cast<sockaddr*>(&place), size));
  }
  return ntohs(place.sin_port);
}

LiveTarget targetOf(const std::string& text) {
  LiveTarget target;
  target.device = "BUS-1001";
  target.host = "127.0.0.1";
  if (text == "hole") {
    target.port = makeHole();
    return target;
  }
  const std::size_t first = text.find(':'), last = text.rfind(':');
  const std::string path = text.substr(0, first);
  target.path = path == "fleet" ? LivePath::Fleet : path == "car" ? LivePath::Car : LivePath::Relay;
  if (first == last) {
    std::fprintf(stderr, "live_calls: %s is not PATH:HOST:PORT\n", text.c_str());
    std::exit(2);
  }
  target.host = text.substr(first + 1, last - first - 1);
  target.port = std::atoi(text.c_str() + last + 1);
  return target;
}

Views makeViews(int count) {
  Views views;
  for (int i = 0; i < count; ++i) {
    views.push_back(LiveView::initWithFrame({{0, 0}, {160, 120}}));
    if (views.back() == nullptr) std::exit(2);
  }
  return views;
}

// Turns the loop for so long, or until the condition holds.
bool turn(
    double seconds, const std::function<bool()>& condition = [] { return false; }) {
  const double end = steadySeconds() + seconds;
  while (steadySeconds() < end) {
    quorvid::RunLoop::currentRunLoop()->refresh();
    if (condition()) return true;
    quorvid::sleepForTimeInterval(0.004);
  }
  return false;
}

class Times {
 public:
  template <class Call>
  void measure(const std::string& name, Call call) {
    const Moment before = Moment::now();
    call();
    const Moment after = Moment::now();
    Calls& calls = calls_[name];
    calls.times.push_back((after.time - before.time) * 1000);
    calls.processor = std::max(calls.processor, (after.processor - before.processor) * 1000);
    if (after.waits == before.waits) return;
    ++calls.waits;
    calls.longestWait = std::max(calls.longestWait, calls.times.back());
  }
  void tell() {
    for (auto& [name, calls] : calls_) {
      std::sort(calls.times.begin(), calls.times.end());
      std::printf(
          "  %-9s %3zu times, median %6.3f ms, longest %6.3f ms, processor %6.3f ms, "
          "%d waited, %6.3f ms\n",
          name.c_str(), calls.times.size(), calls.times[calls.times.size() / 2], calls.times.back(),
          calls.processor, calls.waits, calls.longestWait);
    }
  }

 private:
  struct Moment {
    double time, processor;  // seconds; the thread's
    long waits;              // of the thread

    static Moment now() {
      timespec used{};
      clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
      rusage usage{};
      getrusage(RUSAGE_THREAD, &usage);
      return {steadySeconds(), static_cast<double>(used.tv_sec) + 1e-9 * used.tv_nsec,
              usage.ru_nvcsw};
    }
  };
  struct Calls {
    std::vector<double> times;
    double processor = 0, longestWait = 0;
    int waits = 0;
  };

  std::map<std::string, Calls> calls_;
};

void timeCalls(const std::string& text, int count, int rounds, const LiveTarget& target) {
  Times times;
  Views views = makeViews(count);
  for (const auto& view : views) view->connect(target);
  turn(1);
  std::printf("%s, %d views, %s\n", text.c_str(), count, nameOf(views[0]->status().state));
  for (int i = 0; i < rounds; ++i) {
    auto& view = views[0];
    times.measure("connect", [&] { view->connect(target); });
    turn(0.2);
    times.measure("status", [&] { static_cast<void>(view->status()); });
    times.measure("snapshot", [&] { static_cast<void>(view->snapshot()); });
    times.measure("hide", [&] { view->setVisible(false); });
    times.measure("show", [&] { view->setVisible(true); });
    times.measure("options", [&] { view->setOptions({5, 1 + i * 0.001}); });
    times.measure("restart", [&] { view->restart(); });
    turn(0.2);
    times.measure("stop", [&] { view->stop(); });
    times.measure("play", [&] { view->play(); });
    turn(0.2);
    times.measure("destroy", [&] { view.reset(); });
    times.measure("make", [&] { view = makeViews(1)[0]; });
  }
  times.tell();
}

// When every thread of the sessions has left: 20 s at most.
void tellUsage(const char* when, std::size_t threads) {
  turn(20, [&] { return usageNow().threads <= threads; });
  const Usage usage = usageNow();
  std::printf("%-12s %zu threads, %zu descriptors, heap %zu kB, resident %zu kB\n", when,
              usage.threads, usage.descriptors, usage.heapUsed / 1000, usage.resident / 1000);
  std::fflush(stdout);
}

void cycle(int plays, int switches, const std::vector<LiveTarget>& targets) {
  const Views views = makeViews(4);
  const std::size_t idle = usageNow().threads;
  const auto stopAll = [&] {
    for (const auto& view : views) view->stop();
  };
  const auto tenTimes = [&](int times, const char* what, const std::function<void(int)>& once) {
    for (int i = 0; i < times; ++i) {
      once(i);
      if (i + 1 != times / 10 && i + 1 != times) continue;
      stopAll();
      tellUsage((std::to_string(i + 1) + what).c_str(), idle);
    }
  };
  tenTimes(plays, " plays", [&](int i) {
    views[i % 4]->connect(targets[i / 4 % targets.size()]);
    turn(i % 4 == 0 ? 0.1 : 0.01);
    views[i % 4]->stop();
  });
  tenTimes(switches, " switches", [&](int i) {
    for (const auto& view : views) view->connect(targets[i % targets.size()]);
    turn(0.2);
  });
  int shown = 0;
  views[0]->connect(targets[0]);
  for (int i = 0; i < 10; ++i) {
    shown += turn(10, [&] { return views[0]->figures().shown > 0; }) ? 1 : 0;
    views[0]->stop();
    views[0]->play();
  }
  std::printf("play right behind stop: %d of 10\n", shown);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc < 5 ? "" : argv[1];
  if (mode != "time" && mode != "cycle") {
    std::fprintf(stderr,
                 "usage: live_calls time VIEWS ROUNDS TARGET...\n"
                 "       live_calls cycle PLAYS SWITCHES TARGET...\n");
    return 2;
  }
  quorvid::setLogSink([](std::string_view) {});
  const int first = std::atoi(argv[2]), second = std::atoi(argv[3]);
  std::vector<LiveTarget> targets;
  for (int i = 4; i < argc; ++i) {
    targets.push_back(targetOf(argv[i]));
    if (mode == "time") timeCalls(argv[i], first, second, targets.back());
  }
  if (mode == "cycle") cycle(first, second, targets);
}
