// Frames of the C interface: a player that decodes nothing, and what it hands out.
#include <memory>
#include <utility>

#include "capi/Guard.h"
#include "capi/Player.h"

using namespace quorvid::capi;
using quorvid::PicturePlayer;

struct quorvid_frame {
  quorvid::PlayedFrame played;
};

quorvid_player* quorvid_player_create_for_frames(double stallAfter) {
  return handleOf([&] { return PicturePlayer::createForFrames(stallAfter); });
}

std::int32_t quorvid_player_wait_frame(quorvid_player* player, double seconds,
                                       quorvid_frame** frame) {
  if (frame == nullptr) return QUORVID_BAD_ARGUMENT;
  *frame = nullptr;
  return with(player, [&](PicturePlayer& it) {
    auto why = PicturePlayer::Ended::TimedOut;
    auto handle = std::make_unique<quorvid_frame>();
    auto next = it.nextFrame(seconds, &why);
    if (!next) return resultOf(why);
    handle->played = std::move(*next);
    *frame = handle.release();
    return static_cast<std::int32_t>(QUORVID_OK);
  });
}

std::int32_t quorvid_frame_read(const quorvid_frame* frame, quorvid_access_unit* unit) {
  if (frame == nullptr) return QUORVID_BAD_ARGUMENT;
  const quorvid::PlayedFrame& played = frame->played;
  quorvid_access_unit made = QUORVID_ACCESS_UNIT_INIT;
  made.is_key = played.isKey ? 1 : 0;
  made.continues = played.continues ? 1 : 0;
  made.width = played.width;
  made.height = played.height;
  made.bytes = played.bytes.get();
  made.length = played.size;
  made.number = played.number;
  made.arrival = played.arrival;
  made.arrival_date = played.arrivalDate;
  return writeStruct(made, unit);
}

void quorvid_frame_free(quorvid_frame* frame) {
  const std::unique_ptr<quorvid_frame> last(frame);
}
