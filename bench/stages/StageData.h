// StageData: what the stages are fed with: the simulator's scene, drawn and encoded here. Encoded
// ones stay in the folder that QUORVID_BENCH_CACHE names, if it does.
#pragma once

#include <cstdint>
#include <vector>

#include "sim/media/DrawnSource.h"

namespace quorvid::bench {

// Frames of a loop of `count` pictures at 30 a second, as a server sends them.
std::vector<std::vector<std::uint8_t>> encodedLoop(int width, int height, std::size_t count);

// Draws pictures; each is the source's until the next.
sim::DrawnSource drawnSource(int width, int height);

}  // namespace quorvid::bench
