#include "apps/quorvid/view/TileReport.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "apps/common/Terminal.h"

namespace quorvid::app {

namespace {

const char* codeOf(LiveReason reason) {
  static constexpr const char* kCodes[] = {
      "none",        "target_impossible", "name_not_found", "connection_refused",
      "unreachable", "connection_lost",   "silent",         "refused_by_server",
      "no_relay",    "broken_stream",     "no_key_frame",   "pictures_out_of_order",
      "undecodable", "too_slow",          "no_resources",   "no_graphics"};
  static_assert(std::size(kCodes) == static_cast<std::size_t>(LiveReason::NoGraphics) + 1);
  return kCodes[static_cast<std::size_t>(reason)];
}

std::optional<PixelSize> streamSizeOf(const TileReport& tile) {
  if (tile.figures.streamWidth == 0) return std::nullopt;
  return PixelSize{tile.figures.streamWidth, tile.figures.streamHeight};
}

void addFigures(Json& json, const LiveFigures& figures) {
  json["lag_seconds"] = figures.lag >= 0 ? Json(rounded(figures.lag)) : Json();
  json["present_frames_per_second"] = rounded(figures.pictureRate);
  json["present_bits_per_second"] = std::round(figures.bitRate);
  json["received"] = figures.received;
  json["bytes"] = figures.bytes;
  json["decoded"] = figures.decoded;
  json["shown"] = figures.shown;
  json["overwritten"] = figures.overwritten;
  json["held"] = figures.held;
  json["lost"] = figures.lost;
  json["reconnections"] = figures.reconnections;
  json["shape"] = figures.shape > 0 ? Json(rounded(figures.shape)) : Json();
}

// Nothing up to a second.
std::string secondsText(const char* what, double seconds) {
  return seconds > 1 ? fmt::format("{} {:.1f} s", what, seconds) : "";
}

}  // namespace

Json tileJson(const TileReport& tile) {
  const auto streamSize = streamSizeOf(tile);
  Json json;
  json["device"] = tile.device;
  json["channel"] = tile.channel;
  json["pictures"] = tile.figures.shown;
  json["first_picture_seconds"] =
      tile.firstPictureSeconds ? Json(rounded(*tile.firstPictureSeconds)) : Json();
  json["frames_per_second"] = rounded(tile.framesPerSecond);
  json["longest_pause_seconds"] = rounded(tile.longestPause);
  json["longest_pause_between_pictures_seconds"] = rounded(tile.figures.longestPause);
  json["silent_seconds"] = rounded(tile.silence);
  json["size"] = streamSize && tile.figures.shown > 0 ? sizeJson(*streamSize) : Json();
  json["stream_size"] = streamSize ? sizeJson(*streamSize) : Json();
  json["restarts"] = tile.figures.restarts;
  json["state"] = nameOf(tile.status.state);
  json["reason_code"] = codeOf(tile.status.reason);
  if (!tile.reason.empty()) json["reason"] = tile.reason;
  addFigures(json, tile.figures);
  return json;
}

std::string tileText(const TileReport& tile) {
  std::string text = visibleText(tile.name) + ": ";
  const auto size = streamSizeOf(tile);
  if (tile.figures.shown == 0) {
    text += "no picture" + (size ? " (sent as " + size->text() + ")" : "");
  } else {
    text +=
        fmt::format("{} pictures, the first after {:.2f} s, {:.1f} frames/s", tile.figures.shown,
                    tile.firstPictureSeconds.value_or(0), tile.framesPerSecond);
    if (size) text += ", " + size->text();
    text += secondsText(", longest pause", tile.longestPause);
    text += secondsText(", no picture for the last", tile.silence);
  }
  const std::uint64_t restarts = tile.figures.restarts;
  if (restarts > 0) {
    text += ", started again " + std::to_string(restarts) + (restarts == 1 ? " time" : " times");
  }
  return text + "\n";
}

}  // namespace quorvid::app
