// What a handle to a picture holds: one of a player's, or a view's snapshot.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "quorvid/live/PicturePlayer.h"
#include "quorvid/quorvid.h"

struct quorvid_picture {
  using Bytes = std::shared_ptr<const std::vector<std::uint8_t>>;

  quorvid::PlayedPicture played;  // without a buffer: a snapshot
  int width = 0, height = 0;
  double shape = 0;
  Bytes nv12, rgb;  // once asked for
};

namespace quorvid::capi {

std::unique_ptr<quorvid_picture> pictureOf(PlayedPicture played);
std::unique_ptr<quorvid_picture> pictureOf(LivePicture snapshot);

}  // namespace quorvid::capi
