// Pause: the fixed pauses of the workers.
#ifndef QUORVID_CONNECTION_PAUSE_H
#define QUORVID_CONNECTION_PAUSE_H

#include <chrono>

namespace quorvid {

// Blocks the calling thread for the whole time; signals neither shorten nor
// stretch it.
void pauseFor(std::chrono::milliseconds time);

}  // namespace quorvid

#endif
