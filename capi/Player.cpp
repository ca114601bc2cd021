// The player of the C interface: quorvid::PicturePlayer behind a handle.
#include <memory>
#include <utility>

#include "capi/Guard.h"
#include "capi/Picture.h"
#include "capi/Player.h"
#include "capi/Values.h"
#include "quorvid/live/PicturePlayer.h"

using namespace quorvid::capi;
using quorvid::LiveStatus;
using quorvid::PicturePlayer;
using quorvid::PlayedPicture;

namespace {

quorvid::PlayerOptions optionsOf(const quorvid_player_options& given) {
  quorvid::PlayerOptions options;
  options.everyPicture = given.every_picture != 0;
  options.mostWaiting = given.most_waiting;
  options.mostLag = given.most_lag;
  options.stallAfter = given.stall_after;
  return options;
}

std::int32_t playResult(bool played) {
  return played ? QUORVID_OK : QUORVID_TARGET_REFUSED;
}

}  // namespace

quorvid_player* quorvid_player_create(const quorvid_player_options* options) {
  const quorvid_player_options defaults = QUORVID_PLAYER_OPTIONS_INIT;
  const auto given = readStruct(options != nullptr ? options : &defaults, defaults);
  if (!given) return nullptr;
  return handleOf([&] { return PicturePlayer::create(optionsOf(*given)); });
}

void quorvid_player_free(quorvid_player* player) {
  const std::unique_ptr<quorvid_player> last(player);
}

std::int32_t quorvid_player_connect(quorvid_player* player, const quorvid_target* target) {
  return with(player, [&](PicturePlayer& it) {
    const auto made = targetOf(target);
    return made ? playResult(it.connect(*made)) : QUORVID_BAD_ARGUMENT;
  });
}

std::int32_t quorvid_player_play(quorvid_player* player) {
  return with(player, [](PicturePlayer& it) { return playResult(it.play()); });
}

std::int32_t quorvid_player_stop(quorvid_player* player) {
  return with(player, [](PicturePlayer& it) { return it.stop(), QUORVID_OK; });
}

std::int32_t quorvid_player_restart(quorvid_player* player) {
  return with(player, [](PicturePlayer& it) {
    it.restart();
    return playResult(it.isPlaying());
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
    auto why = PicturePlayer::Ended::TimedOut;
    if (auto next = it.next(seconds, &why)) {
      *picture = pictureOf(std::move(*next)).release();
      return static_cast<std::int32_t>(QUORVID_OK);
    }
    return resultOf(why);
  });
}

std::int32_t quorvid_player_set_picture_handler(quorvid_player* player,
                                                quorvid_picture_handler handler, void* context) {
  return with(player, [=](PicturePlayer& it) {
    if (it.handsOutFrames()) return QUORVID_BAD_ARGUMENT;
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
