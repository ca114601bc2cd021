// screen_latency: how long pictures take from the server to the screen, read off the screen, and
// what the viewer in between costs. As one JSON object.
//
//   screen_latency --screen FBDIR/Xvfb_screen0 --send-log FILE --size 640x480 --seconds 10 --
//   VIEWER... screen_latency --screen FBDIR/Xvfb_screen0 --method       the method's own error
//
// The display is an Xvfb -fbdir FBDIR, the server a quorvid-sim --send-log FILE. The viewer is
// started here, and ended; its picture fills the size given, at the display's upper left. A picture
// is seen when its block code is whole on the screen for the first time; it is late by that moment
// less the one at which the simulator began to write it.
#include <sched.h>
#include <sys/prctl.h>

#include <CLI/CLI.hpp>
#include <ctime>
#include <iostream>
#include <thread>

#include "bench/DrawnCodes.h"
#include "bench/LatencyReport.h"
#include "bench/ScreenCode.h"
#include "bench/WatchedProgram.h"

namespace quorvid::bench {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  std::string screen, sendLog;
  ScreenArea area;
  double seconds = 10, warmUp = 1;
  bool method = false;
  std::vector<std::string> command;
};

double ownProcessorSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Before everything else, where the system lets us: a look that comes late counts as latency.
void becomePunctual() {
  const sched_param first{1};
  ::sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &first);
  ::prctl(PR_SET_TIMERSLACK, 1);
}

// Looks 1333 times a second.
class Watch {
 public:
  explicit Watch(const Options& options) : screen_(options.screen, options.area) {}

  // Until `ends`, which is asked after each look.
  template <class Ends>
  void run(Ends ends) {
    constexpr std::chrono::microseconds kBetween{750};
    auto due = Clock::now();
    for (auto last = due;;) {
      due = std::max(due + kBetween, Clock::now());
      std::this_thread::sleep_until(due);
      const auto number = screen_.look();
      const auto now = Clock::now();
      looks_.gaps.push_back(std::chrono::duration<double>(now - last).count());
      last = now;
      if (number) looks_.sightings.push_back({now, *number});
      if (ends(now)) return;
    }
  }
  const Looks& looks() const { return looks_; }

 private:
  ScreenCode screen_;
  Looks looks_;
};

double millisecondsBetween(MonotonicTime from, MonotonicTime to) {
  return std::chrono::duration<double, std::milli>(to - from).count();
}

nlohmann::ordered_json measure(const Options& options) {
  becomePunctual();
  Watch watch(options);
  WatchedProgram program(options.command);
  const auto seconds = [](double count) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(count));
  };
  constexpr std::chrono::seconds kLongestStart{15};
  MonotonicTime from{}, to{};
  double before = 0, ownBefore = 0;
  watch.run([&](MonotonicTime now) {
    const auto& sightings = watch.looks().sightings;
    if (sightings.empty()) return now > program.started() + kLongestStart;
    if (to != MonotonicTime{}) return now > to;
    if (now < sightings[0].time + seconds(options.warmUp)) return false;
    from = now;
    to = now + seconds(options.seconds);
    before = program.processorSeconds();
    ownBefore = ownProcessorSeconds();
    return false;
  });
  if (!program.isRunning()) throw std::runtime_error(options.command[0] + " ended by itself");
  const double used = program.processorSeconds() - before;
  const double ownUsed = ownProcessorSeconds() - ownBefore;
  const Looks& looks = watch.looks();
  if (looks.sightings.empty()) throw std::runtime_error("no picture was seen");
  const SentPictures sent = SentPictures::readFrom(options.sendLog);
  nlohmann::ordered_json figures{
      {"startToConnectionMs", millisecondsBetween(program.started(), sent.accepted)},
      {"startToFirstPictureMs", millisecondsBetween(program.started(), looks.sightings[0].time)},
      {"residentKiB", program.residentKiB()},
      {"sharedObjects", program.sharedObjects()},
      {"lookGapMs", spread(looks.gaps)}};
  const auto seen = std::count_if(looks.sightings.begin(), looks.sightings.end(),
                                  [from](const Sighting& one) { return one.time > from; });
  figures["seen"] = seen;
  figures["processorMsPerPicture"] = 1e3 * used / static_cast<double>(seen);
  figures["lookingCores"] = ownUsed / std::chrono::duration<double>(to - from).count();
  // The last ones may be on their way.
  figures.update(latencies(sent, looks, from, to - std::chrono::milliseconds(300)));
  return figures;
}

// Codes are drawn from here at known times: each is seen after its drawing began, and how long
// after it was complete is what the method adds.
nlohmann::ordered_json measureMethod(const Options& options) {
  becomePunctual();
  Watch watch(options);
  DrawnCodes drawn(options.area);
  std::thread drawing([&drawn] { drawn.run(); });
  watch.run([&drawn](MonotonicTime) { return drawn.isDone(); });
  drawing.join();
  std::vector<double> sinceBegun, sinceComplete;
  for (const Sighting& seen : watch.looks().sightings) {
    const DrawnCodes::Times& times = drawn.times().at(seen.number);
    sinceBegun.push_back(std::chrono::duration<double>(seen.time - times.begun).count());
    sinceComplete.push_back(std::chrono::duration<double>(seen.time - times.complete).count());
  }
  return {{"drawn", drawn.times().size()},
          {"seen", watch.looks().sightings.size()},
          {"seenAfterDrawingBeganMs", spread(sinceBegun)},
          {"seenAfterDrawnMs", spread(sinceComplete)},
          {"lookGapMs", spread(watch.looks().gaps)}};
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  using namespace quorvid::bench;
  Options options;
  CLI::App app("Measures from the server's first byte to the screen.", "screen_latency");
  app.add_option("--screen", options.screen, "Xvfb's framebuffer file")->required();
  app.add_option("--send-log", options.sendLog, "The simulator's");
  app.add_option_function<std::string>("--size", [&options](const std::string& text) {
    char x = 0;
    std::istringstream(text) >> options.area.width >> x >> options.area.height;
  });
  app.add_option("--seconds", options.seconds, "That count");
  app.add_option("--warm-up", options.warmUp, "Seconds from the first picture that don't count");
  app.add_flag("--method", options.method, "Measure the method itself");
  app.add_option("command", options.command, "The viewer and its arguments, behind --");
  CLI11_PARSE(app, argc, argv);
  if (!options.method && options.command.empty()) throw std::runtime_error("no viewer is given");
  std::cout << (options.method ? measureMethod(options) : measure(options)).dump() << '\n';
  return 0;
} catch (const std::exception& error) {
  std::cerr << "screen_latency: " << error.what() << '\n';
  return 1;
}
