// player_load: N players of the C interface, whose pictures are read as they come, and what they
// cost, as one JSON object.
//
//   player_load HOST PORT --players 8 --seconds 20 --every     each picture; fails when one is
//   missing player_load HOST PORT --format rgb --handler               the newest, by a handler, as
//   RGB player_load HOST PORT --seconds 6 --alone                  decoding of the first stream
//   alone
//
// Player i plays channel i % 8 of the device. What counts for the costs begins after a second.
#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/StreamLimits.h"
#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/quorvid.h"

namespace quorvid::bench {
namespace {

struct Options {
  std::string host, device = "TRUCK-7";
  int port = 0, players = 1, format = QUORVID_I420;
  double seconds = 20;
  bool every = false, handler = false, alone = false;
};

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double processSeconds() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  return secondsOf(used.ru_utime) + secondsOf(used.ru_stime);
}

double steadySeconds() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void sleepFor(double seconds) {
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// A player with whoever reads its pictures: a thread that waits for them, or the handler.
class Reader {
 public:
  Reader(const Options& options, int channel) : format_(options.format) {
    quorvid_player_options made = QUORVID_PLAYER_OPTIONS_INIT;
    made.every_picture = options.every ? 1 : 0;
    player_ = quorvid_player_create(&made);
    if (options.handler) quorvid_player_set_picture_handler(player_, takeAsHandler, this);
    quorvid_target target = QUORVID_TARGET_INIT;
    target.host = options.host.c_str();
    target.port = options.port;
    target.device = options.device.c_str();
    target.channel = channel;
    if (quorvid_player_connect(player_, &target) != QUORVID_OK) return;
    isPlaying_ = true;
    if (!options.handler) thread_ = std::thread([this] { wait(); });
  }
  ~Reader() { stop(); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool isPlaying() const { return isPlaying_; }
  quorvid_figures figures() const {
    quorvid_figures figures = QUORVID_FIGURES_INIT;
    quorvid_player_figures(player_, &figures);
    return figures;
  }
  void stop() {
    ended_ = true;
    quorvid_player_stop(player_);
    if (thread_.joinable()) thread_.join();
    quorvid_player_free(std::exchange(player_, nullptr));
  }
  // After stop().
  std::uint64_t gaps() const { return gaps_; }
  double longestLag() const { return longestLag_; }

 private:
  static void takeAsHandler(quorvid_picture* picture, void* reader) {
    static_cast<Reader*>(reader)->take(picture);
  }
  void take(quorvid_picture* picture) {
    quorvid_image image = QUORVID_IMAGE_INIT;
    if (quorvid_picture_read(picture, format_, &image) != QUORVID_OK) return;
    if (image.number != last_ + 1) ++gaps_;
    last_ = image.number;
    longestLag_ = std::max(longestLag_, steadySeconds() - image.arrival);
  }
  void wait() {
    constexpr double kWait = 0.5;
    while (!ended_) {
      quorvid_picture* picture = nullptr;
      if (quorvid_player_wait(player_, kWait, &picture) == QUORVID_OK) take(picture);
      quorvid_picture_free(picture);
    }
  }

  const int format_;
  quorvid_player* player_ = nullptr;
  bool isPlaying_ = false;
  std::thread thread_;
  std::atomic<bool> ended_ = false;
  // Of the thread that reads.
  std::uint64_t last_ = 0, gaps_ = 0;
  double longestLag_ = 0;
};

nlohmann::json measureDecoding(const Options& options) {
  constexpr std::size_t kMostFrames = 100'000;
  const Frames frames =
      captureFrames(options.host, options.port, options.device, 0, kMostFrames, options.seconds);
  if (frames.empty()) throw std::runtime_error("no frame came");
  return measurePaced(frames, options.seconds / static_cast<double>(frames.size()));
}

using Readers = std::vector<std::unique_ptr<Reader>>;

std::uint64_t decodedBy(const Readers& readers) {
  std::uint64_t decoded = 0;
  for (const auto& reader : readers) decoded += reader->figures().decoded;
  return decoded;
}

nlohmann::json measurePlayers(const Options& options) {
  constexpr int kChannels = 8;
  constexpr double kWarmUp = 1;
  Readers readers;
  for (int i = 0; i < options.players; ++i) {
    readers.push_back(std::make_unique<Reader>(options, i % kChannels));
    if (!readers.back()->isPlaying()) throw std::runtime_error("the target is refused");
  }
  sleepFor(kWarmUp);
  const double used = processSeconds();
  const std::uint64_t decoded = decodedBy(readers);
  sleepFor(options.seconds);
  const double spent = processSeconds() - used;
  const auto pictures = static_cast<double>(decodedBy(readers) - decoded);
  quorvid_figures sum = QUORVID_FIGURES_INIT;
  std::uint64_t gaps = 0;
  double longestLag = 0;
  for (const auto& reader : readers) {
    const quorvid_figures figures = reader->figures();
    reader->stop();
    sum.received += figures.received;
    sum.shown += figures.shown;
    sum.overwritten += figures.overwritten;
    sum.held += figures.held;
    sum.lost += figures.lost;
    sum.reconnections += figures.reconnections;
    gaps += reader->gaps();
    longestLag = std::max(longestLag, reader->longestLag());
  }
  if (pictures <= 0) throw std::runtime_error("no picture came");
  return {{"received", sum.received},
          {"shown", sum.shown},
          {"overwritten", sum.overwritten},
          {"held", sum.held},
          {"lost", sum.lost},
          {"reconnections", sum.reconnections},
          {"gaps", gaps},
          {"longestLagMs", 1e3 * longestLag},
          {"processorMs", 1e3 * spent / pictures}};
}

void parse(CLI::App& app, Options& options) {
  constexpr double kMostSeconds = 3600;
  const std::map<std::string, int> formats{
      {"i420", QUORVID_I420}, {"nv12", QUORVID_NV12}, {"rgb", QUORVID_RGB}};
  app.add_option("host", options.host)->required();
  app.add_option("port", options.port)->required();
  app.add_option("--device", options.device);
  app.add_option("--players", options.players)->check(CLI::Range(1, 64));
  app.add_option("--seconds", options.seconds)->check(CLI::Range(1.0, kMostSeconds));
  app.add_option("--format", options.format, "Each picture is read as i420, nv12 or rgb")
      ->transform(CLI::CheckedTransformer(formats));
  app.add_flag("--every", options.every, "Each picture, not the newest");
  app.add_flag("--handler", options.handler, "By a handler, not by a thread that waits");
  app.add_flag("--alone", options.alone, "Decoding alone, of --seconds of frames, as they come");
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  using namespace quorvid::bench;
  Options options;
  CLI::App app("Measures players of the C interface.", "player_load");
  parse(app, options);
  CLI11_PARSE(app, argc, argv);
  SilenceConnectionPrinter();  // standard output is the result's
  const nlohmann::json result = options.alone ? measureDecoding(options) : measurePlayers(options);
  std::cout << result.dump() << '\n';
  const bool isWhole = !options.every || options.alone ||
                       (result["lost"] == 0 && result["held"] == 0 && result["gaps"] == 0);
  return isWhole ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << "player_load: " << error.what() << '\n';
  return 1;
}
