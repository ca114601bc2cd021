// A host that plays many live views against servers that fail, and tells what it holds.
//
//   quorvid_soak MINUTES VIEWS SEED LOG PORT...
//
// Every view plays random fleet ports one after the other. All begin with the first port, which is
// sound, so that each holds what showing a picture takes. Once a minute, or about ten times in a
// short run, all rest: with the streams stopped, the pictures let go and the threads gone, what is
// held must be what was held before, however many views happened to play. The log has a line for
// each second of play and one for each rest, with amounts in bytes:
//
//   play|rest seconds resident heap-used heap-free threads descriptors pictures restarts starts
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "apps/common/Deadline.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/Window.h"
#include "soak/Tile.h"
#include "soak/Usage.h"

namespace {

using quorvid::app::steadySeconds;

constexpr double kLongestPlay = 60;  // seconds from rest to rest
constexpr double kFirstStay = 15;
constexpr double kLongestRest = 15;  // a silent server may hold its thread for 10 s
constexpr int kColumns = 8;
constexpr int kTileWidth = 80;
constexpr int kTileHeight = 60;

class Soak {
 public:
  Soak(quorvid::Window& window, Course& course, int views, std::FILE* log)
      : window_(window), course_(course), log_(log) {
    for (int i = 0; i < views; ++i) {
      const int row = i / kColumns;
      const quorvid::CGRect frame = quorvid::CGRectMake(i % kColumns * kTileWidth,
                                                        row * kTileHeight, kTileWidth, kTileHeight);
      tiles_.push_back(std::make_shared<Tile>(course_, *window.contentView(), frame));
    }
  }

  void run(double seconds) {
    start_ = steadySeconds();
    idleThreads_ = usageNow().threads;
    double nextLine = start_;
    const double playTime = std::min(kLongestPlay, seconds / 12);
    double nextRest = start_ + playTime;
    for (const auto& tile : tiles_) {
      tile->playPort(course_.ports.front(), kFirstStay + tile->drawStay());
    }
    while (steadySeconds() < start_ + seconds && window_.runTurn()) {
      const double now = steadySeconds();
      for (const auto& tile : tiles_) tile->look(now);
      if (now >= nextLine) {
        tell("play");
        nextLine = now + 1;
      }
      if (now >= nextRest) {
        rest();
        for (const auto& tile : tiles_) tile->moveOn();
        nextRest = steadySeconds() + playTime;
      }
    }
    rest();
  }

 private:
  void rest() {
    for (const auto& tile : tiles_) {
      tile->stop();
      tile->letPictureGo();
    }
    const double end = steadySeconds() + kLongestRest;
    while (steadySeconds() < end && usageNow().threads > idleThreads_) window_.runTurn();
    tell("rest");
  }

  void tell(const char* state) {
    const Usage usage = usageNow();
    std::fprintf(log_, "%s %.1f %zu %zu %zu %zu %zu %lu %lu %lu\n", state, steadySeconds() - start_,
                 usage.resident, usage.heapUsed, usage.heapFree, usage.threads, usage.descriptors,
                 course_.pictures, course_.restarts, course_.starts);
    std::fflush(log_);
  }

  quorvid::Window& window_;
  Course& course_;
  std::FILE* log_;
  std::vector<std::shared_ptr<Tile>> tiles_;
  std::size_t idleThreads_ = 0;
  double start_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const double minutes = argc < 6 ? 0 : std::strtod(argv[1], nullptr);
  const int views = argc < 6 ? 0 : static_cast<int>(std::strtol(argv[2], nullptr, 10));
  if (minutes <= 0 || views <= 0) {
    std::fprintf(stderr, "usage: quorvid_soak MINUTES VIEWS SEED LOG PORT...\n");
    return 2;
  }
  Course course;
  course.chance.seed(static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10)));
  for (int i = 5; i < argc; ++i) {
    course.ports.push_back(static_cast<int>(std::strtol(argv[i], nullptr, 10)));
  }
  quorvid::setLogSink([](std::string_view) {});
  std::string error;
  const auto window = quorvid::Window::open(
      {"Soak", kColumns * kTileWidth, (views + kColumns - 1) / kColumns * kTileHeight, true},
      &error);
  std::FILE* const log = std::fopen(argv[4], "w");
  if (window == nullptr || log == nullptr) {
    std::fprintf(stderr, "quorvid_soak: no window or no log: %s\n", error.c_str());
    return 2;
  }
  {
    Soak soak(*window, course, views, log);
    soak.run(minutes * 60);
  }
  std::fclose(log);
}
