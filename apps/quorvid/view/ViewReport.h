// ViewReport: what `quorvid view` says while it runs and at its end. Plain values in, text out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/common/Target.h"
#include "apps/quorvid/view/TileReport.h"

namespace quorvid::app {

// One line of JSON: the figures of all tiles, `seconds` after the viewer's start.
std::string statsLine(double seconds, const std::vector<TileReport>& tiles);

struct ViewReport {
  StreamTarget target;  // the first tile's
  std::vector<std::string> devices;
  double seconds = 0;  // how long the viewer ran
  std::vector<TileReport> tiles;
  std::string snapshot;  // the file written, or empty

  std::uint64_t pictures() const;
  std::string text() const;
  // One JSON object: the figures of all tiles together and each tile's own under "tiles".
  std::string json(bool inOneLine) const;
};

}  // namespace quorvid::app
