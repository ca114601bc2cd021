// Layout: which cameras stand where on the wall. Plain values.
#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "apps/desk/model/Server.h"

namespace quorvid::desk {

struct Layout {
  static constexpr int kMostColumns = 4;
  int columns = 2;                           // and rows: 1 to kMostColumns
  std::vector<std::optional<Camera>> tiles;  // row by row; those beyond a page are on the next one

  friend bool operator==(const Layout&, const Layout&) = default;

  int perPage() const { return columns * columns; }
  int pages() const {
    const int used = static_cast<int>(tiles.size());
    return std::max(1, (used + perPage() - 1) / perPage());
  }
};

}  // namespace quorvid::desk
