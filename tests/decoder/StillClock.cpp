// The steady clock stands still: pictures are fed without a pace, and how long a busy machine takes
// from one to the next must not look like the stream's own.
#include <ctime>

#include "base/Clock.h"

namespace quorvid {

double steadySeconds() {
  return 0;
}

double processorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

}  // namespace quorvid
