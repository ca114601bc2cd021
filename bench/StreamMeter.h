// StreamMeter: what one live view did between two moments, with its lag sampled in between.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "quorvid/live/LiveView.h"

namespace quorvid::bench {

class StreamMeter {
 public:
  explicit StreamMeter(std::shared_ptr<LiveView> view) : view_(std::move(view)) {}

  const LiveView& view() const { return *view_; }
  // From now on counts.
  void begin();
  // now: seconds since begin().
  void sample(double now);
  nlohmann::json results() const;

 private:
  struct Sample {
    double time;
    double lag;     // of the picture on screen, when it was drawn
    double behind;  // and with what has passed since
    bool isLate;
  };

  std::shared_ptr<LiveView> view_;
  LiveFigures before_;
  std::vector<Sample> samples_;
};

}  // namespace quorvid::bench
