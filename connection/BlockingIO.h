// BlockingIO: what a worker's thread blocks in, and for how long. readn and writen are public.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace quorvid {

// A peer that sends nothing, or takes nothing, for so long is given up: long enough for a vehicle
// that changes radio cells, short enough that a dead connection is soon replaced.
constexpr std::chrono::seconds kSilenceLimit(10);
// Before the next attempt of a video worker, so that a server which refuses or restarts isn't met
// by all of its viewers at once and again.
constexpr std::chrono::seconds kReconnectPause(3);
// How long a frame stays in the slot for its consumer: a late one loses nothing, and one that has
// gone doesn't keep the stream from being read.
constexpr std::chrono::milliseconds kConsumerPatience(500);
// Between two polls for positions: often enough to follow a vehicle on a map, seldom enough for a
// server that every open map polls.
constexpr std::chrono::seconds kPollPause(4);

// Blocks the calling thread for the whole time; signals neither shorten nor stretch it.
void pauseFor(std::chrono::milliseconds time);

// One write() as far as the result goes, on any kind of descriptor, but without SIGPIPE.
ssize_t writeOnce(std::int32_t fd, const void* data, std::size_t size);

}  // namespace quorvid
