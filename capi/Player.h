// What a handle to a player holds, of pictures or of frames.
#pragma once

#include <memory>
#include <utility>

#include "capi/Guard.h"
#include "quorvid/live/PicturePlayer.h"
#include "quorvid/quorvid.h"

struct quorvid_player {
  std::unique_ptr<quorvid::PicturePlayer> player;
};

namespace quorvid::capi {

// Null when `make` gives none.
template <class Make>
quorvid_player* handleOf(const Make& make) {
  return guardedPointer([&]() -> quorvid_player* {
    auto handle = std::make_unique<quorvid_player>();
    handle->player = make();
    return handle->player != nullptr ? handle.release() : nullptr;
  });
}

// The call's result, for a handle that is not null.
template <class Call>
std::int32_t with(const quorvid_player* handle, const Call& call) {
  if (handle == nullptr) return QUORVID_BAD_ARGUMENT;
  return guarded([&] { return call(*handle->player); });
}

// Why a wait gave nothing.
inline std::int32_t resultOf(PicturePlayer::Ended why) {
  using Ended = PicturePlayer::Ended;
  return why == Ended::TimedOut     ? QUORVID_TIMED_OUT
         : why == Ended::NotPlaying ? QUORVID_NOT_PLAYING
                                    : QUORVID_BAD_ARGUMENT;
}

}  // namespace quorvid::capi
