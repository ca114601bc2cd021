#include "apps/desk/wall/WallState.h"

#include <algorithm>
#include <utility>

namespace quorvid::desk {

namespace {

int sizeOf(const Layout& layout) {
  return static_cast<int>(layout.tiles.size());
}

auto find(Layout& layout, const Camera& camera) {
  return std::find(layout.tiles.begin(), layout.tiles.end(), std::optional<Camera>(camera));
}

}  // namespace

std::optional<Camera> WallState::cameraAt(int index) const {
  return index >= 0 && index < sizeOf(layout) ? layout.tiles[index] : std::nullopt;
}

std::vector<int> WallState::cells() const {
  if (enlarged) return {*enlarged};
  std::vector<int> cells;
  const int first = page * layout.perPage();
  for (int index = first; index < first + layout.perPage(); ++index) {
    if (!narrow || cameraAt(index)) cells.push_back(index);
  }
  if (cells.empty()) cells.push_back(first);
  return cells;
}

void WallState::use(const Layout& other) {
  layout = other;
  page = 0;
  enlarged.reset();
  ahead.reset();
  settle();
}

void WallState::setColumns(int columns) {
  const int first = page * layout.perPage();
  layout.columns = std::clamp(columns, 1, Layout::kMostColumns);
  page = first / layout.perPage();
  enlarged.reset();
  ahead.reset();
  settle();
}

void WallState::add(const Camera& camera, int wish) {
  enlarged.reset();
  const auto found = find(layout, camera);
  if (found != layout.tiles.end()) {
    page = static_cast<int>(found - layout.tiles.begin()) / layout.perPage();
    return;
  }
  int index = wish >= 0 && !cameraAt(wish) ? wish : 0;
  while (cameraAt(index)) ++index;
  page = index / layout.perPage();
  drop(index, camera);
}

void WallState::drop(int index, const Camera& camera) {
  if (index < 0) return;
  if (index >= sizeOf(layout)) layout.tiles.resize(index + 1);
  const auto found = find(layout, camera);
  if (found != layout.tiles.end()) {
    std::swap(*found, layout.tiles[index]);
  } else {
    layout.tiles[index] = camera;
  }
  settle();
}

void WallState::remove(int index) {
  if (!cameraAt(index)) return;
  layout.tiles[index].reset();
  if (enlarged == index) enlarged.reset();
  settle();
}

void WallState::step(int by) {
  if (!enlarged) {
    const int pages = layout.pages();
    page = ((page + by) % pages + pages) % pages;
    return;
  }
  const int count = sizeOf(layout);
  for (int i = 1; i <= count; ++i) {
    const int index = ((*enlarged + i * by) % count + count) % count;
    if (!cameraAt(index)) continue;
    enlarged = index;
    page = index / layout.perPage();
    return;
  }
}

void WallState::settle() {
  while (!layout.tiles.empty() && !layout.tiles.back()) layout.tiles.pop_back();
  page = std::clamp(page, 0, layout.pages() - 1);
}

}  // namespace quorvid::desk
