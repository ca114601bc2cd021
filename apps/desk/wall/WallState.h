// WallState: what the wall shows, and what becomes of it when cameras come, go and change places.
// Plain values.
#pragma once

#include <optional>

#include "apps/desk/model/Layout.h"

namespace quorvid::desk {

struct WallState {
  Layout layout;
  int page = 0;
  std::optional<int> enlarged;  // an index of the layout's tiles
  bool narrow = false;          // one below the other, with room for no empty tile
  std::optional<int> ahead;     // a page that plays unseen because it comes next

  std::optional<Camera> cameraAt(int index) const;
  // The tiles that stand on the screen, in its order; never none.
  std::vector<int> cells() const;

  // Everything else. Where a camera of it stands already it moves.
  void use(const Layout& other);
  void setColumns(int columns);
  // Into the tile `wish`, if that is an empty one of ours, or else the first empty one, on
  // whichever page; the page that has the camera is shown.
  void add(const Camera& camera, int wish = -1);
  // A camera that stood in another tile changes places with what is here.
  void drop(int index, const Camera& camera);
  void remove(int index);
  // To another page; where a camera is enlarged, to another one, whatever its page.
  void step(int by);
  // Empty tiles at the end go, and the page is one that there is.
  void settle();
};

}  // namespace quorvid::desk
