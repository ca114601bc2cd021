#include "apps/quorvid/view/Caption.h"

#include <fmt/format.h>

#include "apps/common/Terminal.h"

namespace quorvid::app {

namespace {

std::string bitRateText(double bitsPerSecond) {
  if (bitsPerSecond >= 1e6) return fmt::format("{:.1f} Mbit/s", bitsPerSecond / 1e6);
  return fmt::format("{:.0f} kbit/s", bitsPerSecond / 1e3);
}

std::string stateText(const TileReport& tile) {
  const LiveStatus& status = tile.status;
  const LiveFigures& figures = tile.figures;
  if (status.state == LiveState::Stopped) return "paused";
  if (tile.isStalled && figures.shown > 0) {
    return fmt::format("no picture for {:.0f} s", tile.silence);
  }
  const bool isShown = status.state == LiveState::Live || status.state == LiveState::Late;
  if (isShown && figures.shown > 0 && !tile.isStalled) {
    return fmt::format("{}  {:.1f}/s  {}  lag {:.0f} ms", nameOf(status.state), figures.pictureRate,
                       bitRateText(figures.bitRate), figures.lag * 1000);
  }
  return nameOf(status.state);
}

}  // namespace

std::string captionOf(const TileReport& tile) {
  std::string text = fmt::format("{} ch {}  {}", tile.device, tile.channel, stateText(tile));
  if (!tile.status.sentence.empty()) text += ": " + tile.status.sentence;
  return visibleText(text);
}

}  // namespace quorvid::app
