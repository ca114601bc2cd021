// DecoderChain: the first of several ways to decode that works, tried in order.
//
// A decoder that opened is not yet believed: when it gives no picture for a unit, the ones after it
// are tried with that same unit, and the first that gives a picture takes over for good. When none
// does, the unit is to blame and the decoder stays; those after it stay open and try each further
// unit, until the decoder gives a picture again or one of them does. That holds for the first unit
// as for any later one, so a device that fails in the middle of a stream is replaced at the next
// key frame at the latest, and none of them is opened for each of many units. One thread.
#pragma once

#include <memory>

#include "port/av/PictureDecoder.h"

namespace quorvid {

class DecoderChain {
 public:
  // Null when no candidate opens.
  static std::unique_ptr<DecoderChain> open(DecoderCandidates candidates, h264::ParameterSets sets);

  // The picture lasts until the next call.
  DecodedPicture decode(std::span<const std::uint8_t> packet);
  const std::string& name() const { return name_; }

 private:
  DecoderChain() = default;

  std::string name_;
  std::unique_ptr<PictureDecoder> current_;
  DecoderCandidates later_;
  h264::ParameterSets sets_;
  // Of the later candidates, while the current decoder gives no picture; null, too, when none
  // opens.
  std::unique_ptr<DecoderChain> fallback_;
  bool triedFallback_ = false;
};

}  // namespace quorvid
