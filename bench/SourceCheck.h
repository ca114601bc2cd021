// SourceCheck: holds pictures that a view showed against what the simulator drew for them. The
// block code in a picture says which one that was; the scene is drawn anew for it. Its own thread,
// so that the loop under test is not late because of it.
//
// A torn picture may differ from its source in a few places only, which hardly show in the decibels
// of the whole. So the worst of 40 x 30 cells is looked at as well, by its luma.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "sim/media/DrawnSource.h"

namespace quorvid::bench {

// What the simulator was told.
struct SourceSettings {
  std::string device;
  AVRational rate{25, 1};
  double loopSeconds = 4;
};

struct ShownPicture {
  int view = 0;  // numbers may go back from one view to the next, but not in one
  int channel = 0;
  double time = 0;  // when it was shown; Unix time
  int streamWidth = 0, streamHeight = 0;
  double shape = 0;  // width / height of the scene
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;
};

struct CheckedPicture {
  int view = 0;
  double time = 0;
  int number = -1;  // in its loop; -1: the block code can't be read
  // From the moment at which the simulator, playing by the clock, was due to send it; seconds.
  double age = 0;
  double decibels = 0;
  double worstCell = 0;  // decibels
  bool isInOrder = true;
  int streamWidth = 0, streamHeight = 0;
};

class SourceCheck {
 public:
  explicit SourceCheck(SourceSettings settings);
  ~SourceCheck();

  void add(ShownPicture picture);
  // Waits for what was added.
  std::vector<CheckedPicture> finish();

 private:
  using Key = std::tuple<int, int, double, int>;  // size, shape, channel
  void run();
  CheckedPicture check(const ShownPicture& picture);
  sim::DrawnSource& sourceOf(const ShownPicture& picture);
  std::vector<std::uint8_t> drawn(const ShownPicture& picture, int number);

  const SourceSettings settings_;
  const long frames_;  // of the loop
  std::map<Key, std::unique_ptr<sim::DrawnSource>> sources_;
  std::map<int, long> lastDue_;  // by view: the picture's number in the endless stream
  std::mutex mutex_;             // guards what follows
  std::condition_variable changed_;
  std::deque<ShownPicture> waiting_;
  std::vector<CheckedPicture> checked_;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace quorvid::bench
