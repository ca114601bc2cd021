// bare_viewer: the least program that shows a fleet stream, to measure the viewer against.
//
//   bare_viewer PORT DEVICE [--size 640x480] [--seconds 10] [--json] [--started NS]
//
// One connection, libavcodec on one thread, libyuv where the stream is larger than 1280x960, one
// rectangle, and the picture is on its way to the screen as soon as it is decoded. Nothing is
// checked, nothing reconnects. --started: CLOCK_MONOTONIC at which the program was started; times
// count from there.
#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>

#include "bench/limits/BareDecoder.h"
#include "bench/limits/BareQuad.h"
#include "bench/limits/BareStream.h"
#include "bench/limits/BareWindow.h"

namespace quorvid::bench {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  int port = 0, channel = 0, width = 640, height = 480;
  std::string device;
  double seconds = 10;
  std::int64_t started = 0;
  bool json = false;
};

struct Times {
  Clock::time_point started, connected, firstPicture;
};

double processorSeconds() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

long residentKiB() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long amount = 0;
    if (word == "VmRSS:" && status >> amount) return amount;
  }
  return 0;
}

std::size_t sharedObjects() {
  std::ifstream maps("/proc/self/maps");
  std::set<std::string> files;
  for (std::string line; std::getline(maps, line);) {
    const auto at = line.find('/');
    if (at != std::string::npos && line.find(".so", at) != std::string::npos) {
      files.insert(line.substr(at));
    }
  }
  return files.size();
}

// ITU-R 709 where the stream doesn't say and has more than 576 lines, as the library has it.
bool is601(const AVFrame& frame) {
  if (frame.colorspace == AVCOL_SPC_BT709) return false;
  return frame.colorspace != AVCOL_SPC_UNSPECIFIED || frame.height <= 576;
}

// Aspect-fitted, whatever the window's shape.
void fit(const Options& options, const AVFrame& frame) {
  const int width = std::min(options.width, options.height * frame.width / frame.height);
  const int height = std::min(options.height, options.width * frame.height / frame.width);
  glViewport((options.width - width) / 2, (options.height - height) / 2, width, height);
}

void report(const Options& options, const Times& times, std::size_t pictures, double seconds) {
  const auto since = [&times](Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(time - times.started).count();
  };
  const nlohmann::ordered_json figures{{"pictures", pictures},
                                       {"seconds", seconds},
                                       {"processorSeconds", processorSeconds()},
                                       {"startToConnectionMs", since(times.connected)},
                                       {"startToFirstPictureMs", since(times.firstPicture)},
                                       {"residentKiB", residentKiB()},
                                       {"sharedObjects", sharedObjects()}};
  std::cout << (options.json ? figures.dump() : figures.dump(2)) << '\n';
}

void play(const Options& options) {
  Times times{Clock::now(), {}, {}};
  if (options.started > 0) times.started = Clock::time_point(Clock::duration(options.started));
  BareStream stream(options.port, options.device, options.channel);
  times.connected = Clock::now();
  BareWindow window(options.width, options.height);
  BareQuad quad;
  BareDecoder decoder;
  BareScaler scaler;
  const Clock::time_point begin = Clock::now();
  const auto end = begin + std::chrono::duration<double>(options.seconds);
  std::size_t pictures = 0;
  while (Clock::now() < end && stream.next(BareDecoder::kPadding)) {
    const AVFrame* const frame = decoder.decode(stream.bytes(), stream.size());
    // A picture is left out when the next one is there already.
    if (frame == nullptr || (pictures > 0 && stream.hasMore())) continue;
    if (pictures == 0) fit(options, *frame);
    quad.draw(scaler.take(*frame, BareSize::of(*frame)), is601(*frame));
    window.show();
    if (pictures++ == 0) times.firstPicture = Clock::now();
  }
  report(options, times, pictures, std::chrono::duration<double>(Clock::now() - begin).count());
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  quorvid::bench::Options options;
  CLI::App app("Shows a fleet stream with the least that it takes.", "bare_viewer");
  app.add_option("port", options.port, "Of a server on this machine")->required();
  app.add_option("device", options.device)->required();
  app.add_option("--channel", options.channel);
  app.add_option_function<std::string>("--size", [&options](const std::string& text) {
    char x = 0;
    std::istringstream(text) >> options.width >> x >> options.height;
  });
  app.add_option("--seconds", options.seconds, "From the first wait for a picture on");
  app.add_option("--started", options.started, "CLOCK_MONOTONIC of the start, in nanoseconds");
  app.add_flag("--json", options.json, "On one line");
  CLI11_PARSE(app, argc, argv);
  quorvid::bench::play(options);
  return 0;
} catch (const std::exception& error) {
  std::cerr << "bare_viewer: " << error.what() << '\n';
  return 1;
}
