#include "apps/quorvid/view/ViewReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <nlohmann/json.hpp>

namespace quorvid::app {

namespace {

using Json = nlohmann::ordered_json;

double rounded(double value) {
  return std::round(value * 1000) / 1000;
}

Json sizeJson(PixelSize size) {
  return {{"width", size.width}, {"height", size.height}};
}

const char* codeOf(LiveReason reason) {
  static constexpr const char* kCodes[] = {
      "none",        "target_impossible", "name_not_found", "connection_refused",
      "unreachable", "connection_lost",   "silent",         "refused_by_server",
      "no_relay",    "broken_stream",     "no_key_frame",   "pictures_out_of_order",
      "undecodable", "too_slow",          "no_resources"};
  static_assert(std::size(kCodes) == static_cast<std::size_t>(LiveReason::NoResources) + 1);
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

Json tileJson(const TileReport& tile) {
  const auto streamSize = streamSizeOf(tile);
  Json json;
  json["channel"] = tile.channel;
  json["pictures"] = tile.figures.shown;
  json["first_picture_seconds"] =
      tile.firstPictureSeconds ? Json(rounded(*tile.firstPictureSeconds)) : Json();
  json["frames_per_second"] = rounded(tile.framesPerSecond);
  json["longest_pause_seconds"] = rounded(tile.longestPause);
  json["silent_seconds"] = rounded(tile.silence);
  json["size"] = tile.figures.shown > 0 ? sizeJson(kPictureSize) : Json();
  json["stream_size"] = streamSize ? sizeJson(*streamSize) : Json();
  json["restarts"] = tile.figures.restarts;
  json["state"] = nameOf(tile.status.state);
  json["reason_code"] = codeOf(tile.status.reason);
  if (!tile.reason.empty()) json["reason"] = tile.reason;
  addFigures(json, tile.figures);
  return json;
}

// A device identifier may hold any bytes.
std::string textOf(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

// Nothing up to a second.
std::string secondsText(const char* what, double seconds) {
  char text[80] = "";
  if (seconds > 1) std::snprintf(text, sizeof text, "%s %.1f s", what, seconds);
  return text;
}

std::string tileText(const TileReport& tile) {
  char line[200];
  if (tile.figures.shown == 0) {
    std::snprintf(line, sizeof line, "channel %d: no picture", tile.channel);
  } else {
    std::snprintf(
        line, sizeof line, "channel %d: %llu pictures, the first after %.2f s, %.1f frames/s, %s",
        tile.channel, static_cast<unsigned long long>(tile.figures.shown),
        tile.firstPictureSeconds.value_or(0), tile.framesPerSecond, kPictureSize.text().c_str());
  }
  std::string text = line;
  if (const auto size = streamSizeOf(tile)) text += " (sent as " + size->text() + ")";
  if (tile.figures.shown > 0) {
    text += secondsText(", longest pause", tile.longestPause);
    text += secondsText(", no picture for the last", tile.silence);
  }
  const std::uint64_t restarts = tile.figures.restarts;
  if (restarts > 0) {
    text += ", started again " + std::to_string(restarts) + (restarts == 1 ? " time" : " times");
  }
  return text + "\n";
}

std::optional<double> earliestPicture(const std::vector<TileReport>& tiles) {
  std::optional<double> earliest;
  for (const TileReport& tile : tiles) {
    if (tile.firstPictureSeconds) {
      earliest = std::min(earliest.value_or(*tile.firstPictureSeconds), *tile.firstPictureSeconds);
    }
  }
  return earliest;
}

}  // namespace

std::string statsLine(double seconds, const std::vector<TileReport>& tiles) {
  Json list = Json::array();
  for (const TileReport& tile : tiles) {
    list.push_back(tileJson(tile));
  }
  return textOf({{"seconds", rounded(seconds)}, {"tiles", std::move(list)}}, -1);
}

std::uint64_t ViewReport::pictures() const {
  std::uint64_t sum = 0;
  for (const TileReport& tile : tiles) {
    sum += tile.figures.shown;
  }
  return sum;
}

std::string ViewReport::text() const {
  std::string text;
  for (const TileReport& tile : tiles) {
    text += tileText(tile);
  }
  return text;
}

std::string ViewReport::json() const {
  double rate = 0;
  double silence = 0;
  Json list = Json::array();
  for (const TileReport& tile : tiles) {
    rate += tile.framesPerSecond;
    silence = std::max(silence, tile.silence);
    list.push_back(tileJson(tile));
  }
  const std::optional<double> first = earliestPicture(tiles);
  Json json;
  json["server"] = target.server.text();
  json["path"] = nameOf(target.path);
  json["device"] = target.device;
  json["seconds"] = rounded(seconds);
  json["pictures"] = pictures();
  json["first_picture_seconds"] = first ? Json(rounded(*first)) : Json();
  json["frames_per_second"] = rounded(rate);
  json["silent_seconds"] = rounded(silence);  // the longest of the tiles'
  json["size"] = pictures() > 0 ? sizeJson(kPictureSize) : Json();
  json["snapshot"] = snapshot.empty() ? Json() : Json(snapshot);
  json["tiles"] = std::move(list);
  return textOf(json, 2);
}

}  // namespace quorvid::app
