// StreamLimits: the least that the pictures of some streams cost: libavcodec on one thread, and
// libyuv plane by plane to what the library's pictures are. Frames are taken off the wire first.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quorvid::bench {

// Annex B, as they came; from the first on a decoder can begin.
using Frames = std::vector<std::vector<std::uint8_t>>;

// Blocks until so many frames have come, for `seconds` at most.
Frames captureFrames(const std::string& host, int port, const std::string& device, int channel,
                     std::size_t count, double seconds);

// Processor time of decoding and of scaling by themselves, all streams in turn on this thread:
// milliseconds a picture, and the size of a picture that is drawn.
nlohmann::json measureLimits(const std::vector<Frames>& streams);
// The same of decoding alone, one frame every `pause` seconds: a processor that slept between two
// takes longer for the next. Blocks for as long.
nlohmann::json measurePaced(const Frames& frames, double pause);

}  // namespace quorvid::bench
