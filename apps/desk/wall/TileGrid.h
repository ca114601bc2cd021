// TileGrid: the tiles of the page that is shown, side by side, or one below the other where it is
// narrow; one alone where it is enlarged. Main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "apps/desk/model/Layout.h"
#include "apps/desk/wall/Tile.h"

namespace quorvid::desk {

class TileGrid {
 public:
  using MakeTile = std::function<std::unique_ptr<Tile>(int index)>;
  TileGrid(GtkGrid* grid, MakeTile make) : grid_(grid), make_(std::move(make)) {}

  // What is shown from now on. Tiles of other pages go with their views, but for those of `ahead`,
  // which may play unseen.
  struct Shown {
    Layout layout;
    int page = 0;
    std::optional<int> enlarged;  // an index of the layout's tiles
    bool narrow = false;
    std::optional<int> ahead;  // a page

    friend bool operator==(const Shown&, const Shown&) = default;
  };
  void show(const Shown& shown);
  const Shown& shown() const { return shown_; }

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
  // Where the cells of this page lie in the layout, in the order of the screen.
  const std::vector<int>& cells() const { return cells_; }

 private:
  std::vector<int> cellsOf(const Shown& shown) const;
  void attach(bool narrow, int columns);

  GtkGrid* grid_;
  const MakeTile make_;
  Shown shown_;
  std::map<int, std::unique_ptr<Tile>> tiles_;  // by index of the layout
  std::vector<int> cells_;                      // of them, those in the grid
  int width_ = 0;                               // of the area, where it is narrow
};

}  // namespace quorvid::desk
