#include "apps/quorvid/view/TileWall.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

#include "apps/common/Terminal.h"
#include "apps/quorvid/view/TileGrid.h"
#include "base/SignalsKeptAway.h"

namespace quorvid::app {

namespace {

// Text waits so long for the first picture: fonts take longer to load than a picture to come.
constexpr double kSecondsToFirstPicture = 0.3;

// Where the system refuses the thread, the work is done when it is needed.
std::future<void> inBackground(void (*work)()) {
  const SignalsKeptAway quiet;
  try {
    return std::async(std::launch::async, work);
  } catch (const std::system_error&) {
    return std::async(std::launch::deferred, work);
  }
}

}  // namespace

bool TileWall::addTiles(std::vector<AskedStream> streams, const TileOptions& options) {
  const std::vector<CGRect> frames = tileFrames(content_->bounds().size, streams.size());
  since_ = streams.front().since;
  hasText_ = options.text;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    tiles_.push_back(Tile::make(std::move(streams[i]), *content_, frames[i], options));
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
  if (!hasText_ || !hasFonts(now)) return;
  for (const auto& tile : tiles_) {
    tile->renewText(now);
  }
}

// They are loaded beside the first pictures, not before them.
bool TileWall::hasFonts(double now) {
  if (!fonts_.valid()) {
    const bool isTime = now - since_ > kSecondsToFirstPicture ||
                        std::any_of(tiles_.begin(), tiles_.end(),
                                    [](const auto& tile) { return tile->hadPicture(); });
    if (!isTime) return false;
    fonts_ = inBackground(loadFonts);
  }
  return fonts_.wait_for(std::chrono::seconds(0)) != std::future_status::timeout;
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
