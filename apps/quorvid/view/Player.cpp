#include "apps/quorvid/view/Player.h"

#include "apps/quorvid/view/CarPlayer.h"
#include "apps/quorvid/view/FleetPlayer.h"

namespace quorvid::app {

void resizeLayer(AAPLEAGLLayer& layer, CGSize size) {
  layer.setFrame(CGRect{{0, 0}, size});
  layer.resetRenderBuffer();
  // The new buffer is empty: show the last picture again rather than wait for the next.
  if (const CVPixelBufferRef last = CVPixelBufferRetain(layer.pixelBuffer())) {
    layer.setPixelBuffer(last);
    CVPixelBufferRelease(last);
  }
}

std::unique_ptr<Player> makePlayer(const StreamTarget& target, CGSize size,
                                   Player::PictureHandler shown) {
  if (target.path != StreamPath::Fleet) return CarPlayer::make(target, size, std::move(shown));
  return FleetPlayer::make(target, size, std::move(shown));
}

}  // namespace quorvid::app
