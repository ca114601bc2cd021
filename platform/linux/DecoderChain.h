// DecoderChain: the first of several ways to decode that works, tried in order.
//
// A decoder that opened is not yet believed: when it gives no picture for a unit, the ones after it
// are tried with that same unit, and the first that gives a picture takes over for good. When none
// does, the unit is to blame and the decoder stays. That holds for the first unit as for any later
// one, so a device that fails in the middle of a stream is replaced at the next key frame at the
// latest. One thread.
#ifndef QUORVID_PLATFORM_LINUX_DECODER_CHAIN_H
#define QUORVID_PLATFORM_LINUX_DECODER_CHAIN_H

#include <cstddef>
#include <memory>

#include "platform/linux/PictureDecoder.h"

namespace quorvid {

class DecoderChain {
 public:
  // Null when no candidate opens.
  static std::unique_ptr<DecoderChain> open(DecoderCandidates candidates, H264ParameterSets sets);

  // The picture lasts until the next call.
  DecodedPicture decode(std::span<const std::uint8_t> packet);
  const std::string& name() const { return candidates_[position_].name; }

 private:
  DecoderChain(DecoderCandidates candidates, H264ParameterSets sets)
      : candidates_(std::move(candidates)), sets_(std::move(sets)) {}
  bool openFrom(std::size_t position);

  DecoderCandidates candidates_;
  H264ParameterSets sets_;
  std::size_t position_ = 0;
  std::unique_ptr<PictureDecoder> current_;
};

}  // namespace quorvid

#endif
