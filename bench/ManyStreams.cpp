// many_streams: N live views in one window, and what they cost, as one JSON object.
//
//   many_streams HOST PORT --streams 16 --seconds 60         at the window's own pace
//   many_streams HOST PORT --turns 10                        as a host whose loop turns so often
//   many_streams HOST PORT --streams 16 --limits             decoding, scaling and drawing alone
//
// Stream i is channel i % 8 of the simulator's device i / 8. What counts begins when every stream
// has shown some pictures.
#include <GLES2/gl2.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <thread>

#include "bench/StreamLimits.h"
#include "bench/StreamMeter.h"
#include "bench/limits/DrawLimit.h"
#include "quorvid/base/Log.h"
#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/view/ViewHost.h"
#include "quorvid/view/Window.h"

namespace quorvid::bench {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  std::string host;
  int port = 0, streams = 1, width = 1280, height = 960;
  double seconds = 20, turns = 0, wait = 60;
  bool onScreen = false, limits = false;
};

LiveTarget targetOf(const Options& options, int stream) {
  constexpr int kChannels = 8;
  std::array<char, 16> device{};
  std::snprintf(device.data(), device.size(), "SIM%04d", stream / kChannels + 1);
  LiveTarget target;
  target.host = options.host;
  target.port = options.port;
  target.device = device.data();
  target.channel = stream % kChannels;
  return target;
}

struct Tiles {
  int columns;
  double width, height;
};

Tiles tilesOf(const Options& options) {
  const int columns = static_cast<int>(std::ceil(std::sqrt(options.streams)));
  const int rows = (options.streams + columns - 1) / columns;
  return {columns, 1.0 * options.width / columns, 1.0 * options.height / rows};
}

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

// What the process and the whole machine have used so far, in seconds.
struct ProcessorTime {
  static ProcessorTime now() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    std::ifstream stat("/proc/stat");
    std::string cpu;
    double user = 0, nice = 0, system = 0;
    stat >> cpu >> user >> nice >> system;
    return {secondsOf(used.ru_utime) + secondsOf(used.ru_stime),
            (user + nice + system) / static_cast<double>(sysconf(_SC_CLK_TCK))};
  }
  double process, machine;
};

class Wall {
 public:
  explicit Wall(const Options& options) : options_(options) {
    std::string error;
    window_ =
        Window::open({"Many streams", options.width, options.height, !options.onScreen}, &error);
    if (window_ == nullptr) throw std::runtime_error(error);
    if (options.turns > 0) {
      host_ = ViewHost::create();
      host_->useCurrentDisplay();
      host_->resize(options.width, options.height, 1);
    }
    const auto root = host_ != nullptr ? host_->contentView() : window_->contentView();
    const Tiles tiles = tilesOf(options);
    const double width = tiles.width, height = tiles.height;
    for (int i = 0; i < options.streams; ++i) {
      const int column = i % tiles.columns, row = i / tiles.columns;
      const auto view =
          LiveView::initWithFrame(CGRectMake(column * width, row * height, width, height));
      if (view == nullptr) throw std::runtime_error("no live view could be made");
      root->addSubview(view);
      view->connect(targetOf(options, i));
      meters_.emplace_back(view);
    }
  }

  // False when not every stream came in time.
  bool waitForAll() {
    constexpr std::uint64_t kEnough = 50;
    const auto end = Clock::now() + std::chrono::duration<double>(options_.wait);
    const auto hasBegun = [](const StreamMeter& meter) {
      return meter.view().figures().shown >= kEnough;
    };
    while (!std::all_of(meters_.begin(), meters_.end(), hasBegun)) {
      if (Clock::now() > end || !turn()) return false;
    }
    return true;
  }

  nlohmann::json run() {
    constexpr double kBetweenSamples = 0.1;
    for (StreamMeter& meter : meters_) meter.begin();
    const ProcessorTime before = ProcessorTime::now();
    const Clock::time_point begin = Clock::now();
    double now = 0, sampled = 0;
    std::uint64_t turns = 0;
    while (now < options_.seconds && turn()) {
      ++turns;
      now = std::chrono::duration<double>(Clock::now() - begin).count();
      if (now - sampled < kBetweenSamples) continue;
      sampled = now;
      for (StreamMeter& meter : meters_) meter.sample(now);
    }
    const ProcessorTime after = ProcessorTime::now();
    nlohmann::json streams;
    for (const StreamMeter& meter : meters_) streams.push_back(meter.results());
    return {{"seconds", now},
            {"turnsPerSecond", static_cast<double>(turns) / now},
            {"coresUsed", (after.process - before.process) / now},
            {"coresUsedOnMachine", (after.machine - before.machine) / now},
            {"streams", streams}};
  }

 private:
  bool turn() {
    if (host_ == nullptr) return window_->runTurn();
    std::this_thread::sleep_until(next_);
    next_ = std::max(next_ + std::chrono::duration_cast<Clock::duration>(
                                 std::chrono::duration<double>(1 / options_.turns)),
                     Clock::now());
    host_->refresh();
    if (host_->needsComposite()) {
      host_->composite(0, 0, options_.width, options_.height);
      glFinish();
    }
    return true;
  }

  const Options& options_;
  std::unique_ptr<Window> window_;
  std::unique_ptr<ViewHost> host_;
  std::vector<StreamMeter> meters_;
  Clock::time_point next_ = Clock::now();
};

nlohmann::json limits(const Options& options) {
  constexpr double kFramesASecond = 100;  // more than come
  std::vector<Frames> streams(static_cast<std::size_t>(options.streams));
  std::vector<std::thread> captures;
  captures.reserve(streams.size());
  for (int i = 0; i < options.streams; ++i) {
    captures.emplace_back([&, i] {
      const LiveTarget target = targetOf(options, i);
      streams[static_cast<std::size_t>(i)] = captureFrames(
          target.host, target.port, target.device, target.channel,
          static_cast<std::size_t>(kFramesASecond * options.seconds), options.seconds);
    });
  }
  for (std::thread& capture : captures) capture.join();
  nlohmann::json result = measureLimits(streams);
  std::string error;
  const auto window = Window::open({"Limits", 64, 64, true}, &error);  // for its GL context
  if (window == nullptr) throw std::runtime_error(error);
  const Tiles tiles = tilesOf(options);
  result["drawMs"] = measureDrawing({result["width"], result["height"]},
                                    static_cast<int>(tiles.width), static_cast<int>(tiles.height));
  return result;
}

void parse(CLI::App& app, Options& options) {
  app.add_option("host", options.host, "Server of the fleet streams")->required();
  app.add_option("port", options.port)->required();
  app.add_option("--streams", options.streams)->check(CLI::Range(1, 64));
  app.add_option("--width", options.width, "Of the window, in pixels (1280)");
  app.add_option("--height", options.height, "(960)");
  app.add_option("--seconds", options.seconds)->check(CLI::Range(1.0, 3600.0));
  app.add_option("--turns", options.turns, "Turns a second of the host's loop (the window's own)")
      ->check(CLI::Range(1.0, 1000.0));
  app.add_option("--wait", options.wait, "Seconds until every stream must have come");
  app.add_flag("--on-screen", options.onScreen, "In a real window");
  app.add_flag("--limits", options.limits,
               "Decoding, scaling and drawing alone, of --seconds of frames");
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  using namespace quorvid::bench;
  Options options;
  CLI::App app("Measures many live views in one window.", "many_streams");
  parse(app, options);
  CLI11_PARSE(app, argc, argv);
  SilenceConnectionPrinter();  // standard output is the result's
  nlohmann::json result;
  if (options.limits) {
    result = limits(options);
  } else {
    Wall wall(options);
    if (!wall.waitForAll()) throw std::runtime_error("not every stream came");
    result = wall.run();
  }
  std::cout << result.dump() << '\n';
  return 0;
} catch (const std::exception& error) {
  std::cerr << "many_streams: " << error.what() << '\n';
  return 1;
}
