// ViewReport: what `quorvid view` says while it runs and at its end. Plain values in, text out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/Target.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid::app {

// Every stream is decoded to this size and shown in its own shape.
inline constexpr PixelSize kPictureSize{1280, 960};

struct TileReport {
  std::string device;
  int channel = 0;
  LiveStatus status;
  LiveFigures figures;  // summed over restarts by hand
  std::optional<double> firstPictureSeconds;
  double framesPerSecond = 0;  // from the first picture to the end, pauses included
  double longestPause = 0;     // seconds without a picture, the end included
  double silence = 0;          // seconds from the last picture (or the start) to the end
  bool isStalled = false;
  std::string reason;  // why there is no picture (any more); empty for a live stream
};

// One line of JSON: the figures of all tiles, `seconds` after the viewer's start.
std::string statsLine(double seconds, const std::vector<TileReport>& tiles);

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
