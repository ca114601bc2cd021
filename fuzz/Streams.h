// Streams: encoded streams of several kinds, as seeds.py writes them, and what a decoder makes of
// them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fuzz/Records.h"
#include "quorvid/base/PixelBuffer.h"

namespace quorvid::fuzz {

struct Stream {
  std::string name;
  std::vector<Bytes> frames;  // Annex B, a picture each; the first one is the only key frame
  std::vector<std::optional<std::size_t>> pictures;  // of each frame, nothing where none came
};

// From the folder seeds/streams; each *.frames is, again and again: length (4 bytes, least
// significant first) | frame.
const std::vector<Stream>& streams();

// Tells pictures apart by every byte of theirs.
std::size_t hashOf(CVPixelBufferRef picture);

}  // namespace quorvid::fuzz
