// PictureDecoder: one way to decode a stream, in hardware or software. One thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "h264/ParameterSets.h"
#include "port/VideoDecompression.h"
#include "port/av/AvHandles.h"

namespace quorvid {

struct DecodedPicture {
  OSStatus status = noErr;
  // In memory; null when there is none. Belongs to the decoder and lasts until its next call.
  const AVFrame* frame = nullptr;
};

class PictureDecoder {
 public:
  virtual ~PictureDecoder() = default;
  // packet: units with their lengths in front, at least one slice among them.
  virtual DecodedPicture decode(std::span<const std::uint8_t> packet) = 0;
};

// A way that may be tried. open() gives null where the machine doesn't offer it, without noise and
// without waiting.
struct DecoderCandidate {
  std::string name;
  std::function<std::unique_ptr<PictureDecoder>(const h264::ParameterSets& sets)> open;
};
using DecoderCandidates = std::vector<DecoderCandidate>;

}  // namespace quorvid
