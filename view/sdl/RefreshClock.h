// RefreshClock: when the next display refresh is due, and how many have gone by.
//
// One thread. Idea: a display that blocks in swap sets the pace by itself; without one a timer
// does, and a refresh that was missed is counted, never made up for. It never returns twice within
// half a period, so nothing spins.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace quorvid {

class RefreshClock {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  explicit RefreshClock(Duration period)
      : period_(period), last_(std::chrono::steady_clock::now()) {}

  Duration period() const { return period_; }
  // When the next refresh begins. swapped: a blocking swap has returned since the last refresh.
  Time due(bool swapped) const { return last_ + (swapped ? period_ / 2 : period_); }

  // A refresh begins now: how many periods lie between it and the last one, at least 1.
  std::uint32_t begin(Time now, bool swapped) {
    constexpr Duration::rep kMost = 1'000'000;  // a machine that slept for hours
    const Duration slack = swapped ? period_ / 2 : Duration::zero();
    const auto periods = std::clamp((now - last_ + slack) / period_, Duration::rep{1}, kMost);
    // The timer keeps its phase; the display has its own.
    last_ = swapped || periods == kMost ? now : last_ + periods * period_;
    return static_cast<std::uint32_t>(periods);
  }

 private:
  Duration period_;
  Time last_;
};

}  // namespace quorvid
