// Pause: the fixed pauses of the workers.
#ifndef QUORVID_CONNECTION_PAUSE_H
#define QUORVID_CONNECTION_PAUSE_H

#include <chrono>

namespace quorvid {

// Blocks the calling thread for the whole time; signals do not shorten it.
void pauseFor(std::chrono::milliseconds time);

}  // namespace quorvid

#endif
