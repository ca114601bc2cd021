// TileWall: the tiles of a window: where they lie, which one is enlarged, what they tell together.
// Main thread.
#pragma once

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/quorvid/view/Tile.h"

namespace quorvid::app {

class TileWall {
 public:
  static constexpr std::size_t kMost = 16;  // tiles

  explicit TileWall(std::shared_ptr<UIView> content) : content_(std::move(content)) {}

  // One tile for each stream. False, without tiles, when the graphics can't be had.
  bool addTiles(std::vector<AskedStream> streams, const TileOptions& options);
  void play();
  void restart();
  // All that play pause; when none does, all play.
  void pauseOrPlay();
  // To be called when the content's size has changed.
  void layOut();
  // The tile gets the window to itself, or gives it back. Beyond the last one: nothing.
  void enlarge(std::size_t tile);
  // The same with the tile at that point of the content, if there is one.
  void enlargeAt(CGPoint point);
  // False when none is enlarged.
  bool giveBack();
  // Whether the window can be seen.
  void setSeen(bool isSeen);
  void look(double now);
  std::vector<TileReport> reports(double now) const;
  // Devices and channels, and for how long a stalled one has been silent, in whole seconds.
  std::string title(double now) const;
  const std::vector<std::unique_ptr<Tile>>& tiles() const { return tiles_; }

 private:
  void showTiles();
  bool hasFonts(double now);

  std::shared_ptr<UIView> content_;
  std::vector<std::unique_ptr<Tile>> tiles_;
  std::optional<std::size_t> enlarged_;
  bool isSeen_ = true;
  bool hasText_ = false;
  double since_ = 0;         // when the first stream was asked for
  std::future<void> fonts_;  // being loaded
};

}  // namespace quorvid::app
