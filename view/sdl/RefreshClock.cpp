#include "view/sdl/RefreshClock.h"

#include <algorithm>

namespace quorvid {

std::uint32_t RefreshClock::begin(Time now, bool swapped) {
  constexpr Duration::rep most = 1'000'000;  // a machine that slept for hours
  const Duration slack = swapped ? period_ / 2 : Duration::zero();
  const Duration::rep periods = std::clamp((now - last_ + slack) / period_, Duration::rep{1}, most);
  // The timer keeps its phase; the display has its own.
  last_ = swapped || periods == most ? now : last_ + periods * period_;
  return static_cast<std::uint32_t>(periods);
}

}  // namespace quorvid
