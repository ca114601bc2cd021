#include "platform/linux/DecoderChain.h"

#include <utility>

namespace quorvid {

std::unique_ptr<DecoderChain> DecoderChain::open(DecoderCandidates candidates,
                                                 H264ParameterSets sets) {
  std::unique_ptr<DecoderChain> chain(new DecoderChain(std::move(candidates), std::move(sets)));
  return chain->openFrom(0) ? std::move(chain) : nullptr;
}

bool DecoderChain::openFrom(std::size_t position) {
  for (; position < candidates_.size(); ++position) {
    if (auto decoder = candidates_[position].open(sets_)) {
      position_ = position;
      current_ = std::move(decoder);
      return true;
    }
  }
  return false;
}

DecodedPicture DecoderChain::decode(std::span<const std::uint8_t> packet) {
  const DecodedPicture picture = current_->decode(packet);
  if (picture.frame != nullptr) {
    return picture;
  }
  for (std::size_t next = position_ + 1; next < candidates_.size(); ++next) {
    auto decoder = candidates_[next].open(sets_);
    const DecodedPicture retried = decoder ? decoder->decode(packet) : DecodedPicture{};
    if (retried.frame != nullptr) {
      position_ = next;
      current_ = std::move(decoder);
      return retried;
    }
  }
  return picture;
}

}  // namespace quorvid
