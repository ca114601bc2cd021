// The player of the C interface: quorvid::PicturePlayer behind a handle.
#include <memory>
#include <utility>

#include "capi/Guard.h"
#include "capi/Picture.h"
#include "capi/Values.h"
#include "quorvid/live/PicturePlayer.h"

using namespace quorvid::capi;
using quorvid::LiveStatus;
using quorvid::PicturePlayer;
using quorvid::PlayedPicture;

struct quorvid_player {
  std::unique_ptr<PicturePlayer> player;
};

namespace {

quorvid::PlayerOptions optionsOf(const quorvid_player_options& given) {
  quorvid::PlayerOptions options;
  options.everyPicture = given.every_picture != 0;
  options.mostWaiting = given.most_waiting;
  options.mostLag = given.most_lag;
  options.stallAfter = given.stall_after;
  return options;
}

// The call's result, for a handle that is not null.
template <class Call>
std::int32_t with(const quorvid_player* handle, const Call& call) {
  if (handle == nullptr) return QUORVID_BAD_ARGUMENT;
  return guarded([&] { return call(*handle->player); });
}

std::int32_t resultOf(bool played) {
  return played ? QUORVID_OK : QUORVID_TARGET_REFUSED;
}

}  // namespace

quorvid_player* quorvid_player_create(const quorvid_player_options* options) {
  const quorvid_player_options defaults = QUORVID_PLAYER_OPTIONS_INIT;
  const auto given = readStruct(options != nullptr ? options : &defaults, defaults);
  if (!given) return nullptr;
  return guardedPointer([&]() -> quorvid_player* {
    auto handle = std::make_unique<quorvid_player>();
    handle->player = PicturePlayer::create(optionsOf(*given));
    return handle->player != nullptr ? handle.release() : nullptr;
  });
}

void quorvid_player_free(quorvid_player* player) {
  const std::unique_ptr<quorvid_player> last(player);
}

std::int32_t quorvid_player_connect(quorvid_player* player, const quorvid_target* target) {
  return with(player, [&](PicturePlayer& it) {
    const auto made = targetOf(target);
    return made ? resultOf(it.connect(*made)) : QUORVID_BAD_ARGUMENT;
  });
}

std::int32_t quorvid_player_play(quorvid_player* player) {
  return with(player, [](PicturePlayer& it) { return resultOf(it.play()); });
}

std::int32_t quorvid_player_stop(quorvid_player* player) {
  return with(player, [](PicturePlayer& it) { return it.stop(), QUORVID_OK; });
}

std::int32_t quorvid_player_restart(quorvid_player* player) {
  return with(player, [](PicturePlayer& it) {
    it.restart();
    return resultOf(it.isPlaying());
  });
}

std::int32_t quorvid_player_status(const quorvid_player* player, quorvid_status* status) {
  return with(player,
              [&](PicturePlayer& it) { return writeStruct(statusOf(it.status()), status); });
}

std::int32_t quorvid_player_figures(const quorvid_player* player, quorvid_figures* figures) {
  return with(player,
              [&](PicturePlayer& it) { return writeStruct(figuresOf(it.figures()), figures); });
}

std::int32_t quorvid_player_wait(quorvid_player* player, double seconds,
                                 quorvid_picture** picture) {
  if (picture == nullptr) return QUORVID_BAD_ARGUMENT;
  *picture = nullptr;
  return with(player, [&](PicturePlayer& it) {
    using Ended = PicturePlayer::Ended;
    Ended why = Ended::TimedOut;
    if (auto next = it.next(seconds, &why)) {
      *picture = pictureOf(std::move(*next)).release();
      return QUORVID_OK;
    }
    return why == Ended::TimedOut     ? QUORVID_TIMED_OUT
           : why == Ended::HandlerSet ? QUORVID_BAD_ARGUMENT
                                      : QUORVID_NOT_PLAYING;
  });
}

std::int32_t quorvid_player_set_picture_handler(quorvid_player* player,
                                                quorvid_picture_handler handler, void* context) {
  return with(player, [=](PicturePlayer& it) {
    if (handler == nullptr) return it.setPictureHandler({}), QUORVID_OK;
    it.setPictureHandler([=](const PlayedPicture& played) {
      guarded([&] { return handler(pictureOf(played).get(), context), QUORVID_OK; });
    });
    return QUORVID_OK;
  });
}

std::int32_t quorvid_player_set_status_handler(quorvid_player* player,
                                               quorvid_status_handler handler, void* context) {
  return with(player, [=](PicturePlayer& it) {
    if (handler == nullptr) return it.setStatusHandler({}), QUORVID_OK;
    it.setStatusHandler([=](const LiveStatus& status) {
      const quorvid_status made = statusOf(status);
      handler(&made, context);
    });
    return QUORVID_OK;
  });
}
