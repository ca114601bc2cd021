#include "apps/quorvid/Player.h"
#include "apps/quorvid/FleetPlayer.h"

namespace quorvid::app {

std::unique_ptr<Player> makePlayer(const StreamTarget& target, CGSize size,
                                   Player::PictureHandler shown) {
  return FleetPlayer::make(target, size, std::move(shown));
}

}  // namespace quorvid::app
