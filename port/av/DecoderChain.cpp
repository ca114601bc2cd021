#include "port/av/DecoderChain.h"

#include <utility>

namespace quorvid {

std::unique_ptr<DecoderChain> DecoderChain::open(DecoderCandidates candidates,
                                                 h264::ParameterSets sets) {
  for (auto candidate = candidates.begin(); candidate != candidates.end(); ++candidate) {
    if (auto decoder = candidate->open(sets)) {
      std::unique_ptr<DecoderChain> chain(new DecoderChain);
      chain->name_ = candidate->name;
      chain->current_ = std::move(decoder);
      chain->later_.assign(candidate + 1, candidates.end());
      chain->sets_ = std::move(sets);
      return chain;
    }
  }
  return nullptr;
}

DecodedPicture DecoderChain::decode(std::span<const std::uint8_t> packet) {
  const DecodedPicture picture = current_->decode(packet);
  if (picture.frame != nullptr) {
    fallback_.reset();
    triedFallback_ = false;
    return picture;
  }
  if (!triedFallback_) {
    fallback_ = open(later_, sets_);
    triedFallback_ = true;
  }
  const DecodedPicture retried = fallback_ ? fallback_->decode(packet) : DecodedPicture{};
  if (retried.frame == nullptr) return picture;
  const std::unique_ptr<DecoderChain> successor = std::move(fallback_);
  *this = std::move(*successor);
  return retried;
}

}  // namespace quorvid
