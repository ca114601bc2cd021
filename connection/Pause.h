// Pause: the fixed pauses of the workers.
#pragma once

#include <chrono>

namespace quorvid {

// Blocks the calling thread for the whole time; signals neither shorten nor
// stretch it.
void pauseFor(std::chrono::milliseconds time);

}  // namespace quorvid
