#include "apps/quorvid/view/TileWall.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/common/Terminal.h"
#include "apps/quorvid/view/TileGrid.h"

namespace quorvid::app {

bool TileWall::addTiles(const std::vector<StreamTarget>& targets, const TileOptions& options) {
  const std::vector<CGRect> frames = tileFrames(content_->bounds().size, targets.size());
  for (std::size_t i = 0; i < frames.size(); ++i) {
    tiles_.push_back(Tile::make(targets[i], *content_, frames[i], options));
    if (!tiles_.back()) {
      tiles_.clear();
      return false;
    }
  }
  return true;
}

void TileWall::play() {
  for (const auto& tile : tiles_) {
    tile->play();
  }
}

void TileWall::restart() {
  for (const auto& tile : tiles_) {
    tile->restart();
  }
}

void TileWall::pauseOrPlay() {
  const bool playing =
      std::any_of(tiles_.begin(), tiles_.end(), [](const auto& tile) { return tile->isPlaying(); });
  if (!playing) return play();
  for (const auto& tile : tiles_) {
    tile->pause();
  }
}

void TileWall::layOut() {
  const CGSize area = content_->bounds().size;
  const std::vector<CGRect> frames = tileFrames(area, tiles_.size());
  for (std::size_t i = 0; i < tiles_.size(); ++i) {
    tiles_[i]->setFrame(enlarged_ == i ? CGRect{{0, 0}, area} : frames[i]);
  }
}

void TileWall::enlarge(std::size_t tile) {
  if (tile >= tiles_.size()) return;
  enlarged_ = enlarged_ == tile ? std::nullopt : std::optional(tile);
  showTiles();
  layOut();
}

void TileWall::enlargeAt(CGPoint point) {
  for (std::size_t i = 0; i < tiles_.size(); ++i) {
    const CGRect frame = tiles_[i]->frame();
    const double x = point.x - frame.origin.x;
    const double y = point.y - frame.origin.y;
    const bool isHit = x >= 0 && y >= 0 && x < frame.size.width && y < frame.size.height;
    if (isHit && tiles_[i]->isInWindow()) return enlarge(i);
  }
}

bool TileWall::giveBack() {
  if (!enlarged_) return false;
  enlarge(*enlarged_);
  return true;
}

void TileWall::setSeen(bool isSeen) {
  isSeen_ = isSeen;
  showTiles();
}

void TileWall::showTiles() {
  for (std::size_t i = 0; i < tiles_.size(); ++i) {
    tiles_[i]->setVisible(!enlarged_ || enlarged_ == i, isSeen_);
  }
}

void TileWall::look(double now) {
  for (const auto& tile : tiles_) {
    tile->look(now);
  }
}

std::vector<TileReport> TileWall::reports(double now) const {
  std::vector<TileReport> reports;
  for (const auto& tile : tiles_) {
    reports.push_back(tile->report(now));
  }
  return reports;
}

std::string TileWall::title(double now) const {
  std::string title = "Quorvid:";
  const Tile* last = nullptr;
  for (const auto& tile : tiles_) {
    const std::string& device = tile->target().device;
    if (last == nullptr || last->target().device != device) {
      title += (last == nullptr ? " " : "; ") + visibleText(device);
    }
    title += fmt::format(", channel {}", tile->target().channel);
    if (tile->isStalled()) title += fmt::format(" STALLED for {:.0f} s", tile->silence(now));
    last = tile.get();
  }
  return title;
}

}  // namespace quorvid::app
