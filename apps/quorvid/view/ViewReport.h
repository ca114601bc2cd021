// ViewReport: what `quorvid view` says at its end. Plain values in, text out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/Target.h"

namespace quorvid::app {

struct TileReport {
  int channel = 0;
  std::uint64_t pictures = 0;
  std::optional<double> firstPictureSeconds;
  double framesPerSecond = 0;  // from the first picture to the end, pauses included
  double longestPause = 0;     // seconds without a picture, the end included
  double silence = 0;          // seconds from the last picture (or the start) to the end
  PixelSize pictureSize;
  std::optional<PixelSize> streamSize;
  unsigned restarts = 0;
  std::string reason;  // why there is no picture (any more), if that is known or there was none
};

struct ViewReport {
  StreamTarget target;
  double seconds = 0;  // how long the viewer ran
  std::vector<TileReport> tiles;
  std::string snapshot;  // the file written, or empty

  std::uint64_t pictures() const;
  std::string text() const;
  // One JSON object: the figures of all tiles together and each tile's own under "tiles".
  std::string json() const;
};

}  // namespace quorvid::app
