// TileGrid: the tiles of the page that is shown, side by side, or one below the other where it is
// narrow; one alone where it is enlarged. Main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "apps/desk/wall/Tile.h"
#include "apps/desk/wall/WallState.h"

namespace quorvid::desk {

class TileGrid {
 public:
  using MakeTile = std::function<std::unique_ptr<Tile>(int index)>;
  TileGrid(GtkGrid* grid, MakeTile make) : grid_(grid), make_(std::move(make)) {}

  // What is shown from now on. Tiles of other pages go with their views, but for those of the page
  // ahead, which play unseen.
  void show(const WallState& shown);

  // Tells the views where they stand in `area`; seen are those that meet the height from `top` to
  // `bottom`.
  void place(GtkWidget* area, double top, double bottom);
  void playAll(ViewHost& host);
  void stopAll();
  void tellAll();
  // By index of the layout; null where there is none now.
  Tile* tile(int index) const;
  // That has the keyboard, or else the enlarged one; -1: none.
  int focused() const;
  void forEach(const std::function<void(Tile&)>& call) const;

 private:
  void attach(bool narrow, int columns);

  GtkGrid* grid_;
  const MakeTile make_;
  WallState shown_;
  std::map<int, std::unique_ptr<Tile>> tiles_;  // by index of the layout
  std::vector<int> cells_;                      // of them, those in the grid
  int width_ = 0;                               // of the area, where it is narrow
};

}  // namespace quorvid::desk
