// Player: one stream that draws itself into a view of its own. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "apps/common/Target.h"
#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/View.h"

namespace quorvid::app {

// One picture has just been given to the screen.
struct ShownPicture {
  PixelSize size;                       // of the decoded picture
  std::optional<PixelSize> streamSize;  // what the stream states, known at key frames
};

class Player {
 public:
  using PictureHandler = std::function<void(const ShownPicture&)>;

  virtual ~Player() = default;

  // A view with a zero origin, to be put into a container.
  virtual std::shared_ptr<UIView> view() const = 0;
  // Starts the stream, with a decoder of its own: one serves a single picture size. Not while one
  // plays.
  virtual void play() = 0;
  // Ends the stream at once and leaves the last picture standing.
  virtual void stop() = 0;
  // Why the last play() got no thread, as far as the library's log does not tell; else empty.
  virtual std::string startError() const { return {}; }
  // Gives view and picture a new size and draws the last picture in it.
  virtual void resize(CGSize size) = 0;
  // True once any frame of the stream has been seen, decodable or not. To be asked often: a frame
  // is there only until it is decoded.
  virtual bool hasReceivedFrames() = 0;
  // True once the server has named no relay.
  virtual bool lookupFailed() const { return false; }
};

// Gives a player's layer a new size and draws its last picture in it.
void resizeLayer(AAPLEAGLLayer& layer, CGSize size);

// Null when the graphics can't be had. `shown` is called on the main thread for each picture.
std::unique_ptr<Player> makePlayer(const StreamTarget& target, CGSize size,
                                   Player::PictureHandler shown);

}  // namespace quorvid::app
