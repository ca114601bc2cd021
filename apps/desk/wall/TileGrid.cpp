#include "apps/desk/wall/TileGrid.h"

#include <algorithm>

namespace quorvid::desk {

namespace {

constexpr int kCaption = 44;  // points, as style.css has it where it is narrow

}  // namespace

void TileGrid::show(const WallState& shown) {
  const int perPage = shown.layout.perPage();
  const auto isWanted = [&](int index) {
    const int page = index / perPage;
    return page == shown.page || page == shown.ahead.value_or(shown.page);
  };
  const std::vector<int> cells = shown.cells();
  const bool regroup = cells != cells_ || shown.narrow != shown_.narrow ||
                       shown.layout.columns != shown_.layout.columns ||
                       shown.enlarged != shown_.enlarged;
  if (regroup) {
    for (const int index : cells_) gtk_grid_remove(grid_, tiles_.at(index)->widget());
    cells_.clear();
  }
  std::erase_if(tiles_, [&](const auto& entry) { return !isWanted(entry.first); });
  for (const int page : {shown.page, shown.ahead.value_or(shown.page)}) {
    for (int index = page * perPage; index < (page + 1) * perPage; ++index) {
      auto& tile = tiles_[index];
      if (tile == nullptr) tile = make_(index);
      tile->show(shown.cameraAt(index));
    }
  }
  shown_ = shown;
  if (!regroup) return;
  cells_ = cells;
  attach(shown.narrow, shown.enlarged ? 1 : shown.layout.columns);
}

void TileGrid::attach(bool narrow, int columns) {
  const int across = narrow ? 1 : columns;
  for (int i = 0; i < static_cast<int>(cells_.size()); ++i) {
    gtk_grid_attach(grid_, tiles_.at(cells_[i])->widget(), i % across, i / across, 1, 1);
  }
  width_ = 0;
}

void TileGrid::place(GtkWidget* area, double top, double bottom) {
  const int width = shown_.narrow && !shown_.enlarged ? gtk_widget_get_width(area) : -1;
  if (width != width_) {
    width_ = width;
    const int height = width < 0 ? -1 : kCaption + width * 9 / 16;
    for (const int index : cells_) {
      gtk_widget_set_size_request(tiles_.at(index)->widget(), -1, height);
    }
  }
  for (const auto& [index, tile] : tiles_) {
    const bool isCell = std::find(cells_.begin(), cells_.end(), index) != cells_.end();
    graphene_rect_t bounds;
    if (!isCell || gtk_widget_compute_bounds(tile->picture(), area, &bounds) == 0) {
      tile->place(CGRectMake(0, 0, 16, 9), false);
      continue;
    }
    const double y = bounds.origin.y;
    const CGRect frame = CGRectMake(bounds.origin.x, y, bounds.size.width, bounds.size.height);
    const bool hasSize = bounds.size.width >= 1 && bounds.size.height >= 1;
    tile->place(hasSize ? frame : CGRectMake(0, 0, 16, 9),
                hasSize && y < bottom && y + bounds.size.height > top);
  }
}

void TileGrid::playAll(ViewHost& host) {
  for (const auto& [index, tile] : tiles_) tile->play(host);
}

void TileGrid::stopAll() {
  for (const auto& [index, tile] : tiles_) tile->stop();
}

void TileGrid::tellAll() {
  for (const auto& [index, tile] : tiles_) tile->tell();
}

Tile* TileGrid::tile(int index) const {
  const auto found = tiles_.find(index);
  return found == tiles_.end() ? nullptr : found->second.get();
}

int TileGrid::focused() const {
  for (const int index : cells_) {
    GtkWidget* const widget = tiles_.at(index)->widget();
    const int flags = gtk_widget_get_state_flags(widget);
    if ((flags & (GTK_STATE_FLAG_FOCUSED | GTK_STATE_FLAG_FOCUS_WITHIN)) != 0) return index;
  }
  return shown_.enlarged.value_or(-1);
}

void TileGrid::forEach(const std::function<void(Tile&)>& call) const {
  for (const auto& [index, tile] : tiles_) call(*tile);
}

}  // namespace quorvid::desk
