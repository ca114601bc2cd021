// TileReport: how one stream of `quorvid view` stands, and how that is written. Plain values in,
// text out.
#pragma once

#include <optional>
#include <string>

#include "apps/common/Json.h"
#include "apps/common/Target.h"
#include "quorvid/live/LiveStatus.h"

namespace quorvid::app {

struct TileReport {
  std::string name;  // what a line about it begins with: "channel 0", or "TRUCK-7 channel 0"
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

Json tileJson(const TileReport& tile);
// A line in words.
std::string tileText(const TileReport& tile);

}  // namespace quorvid::app
