#include "apps/quorvid/view/ViewReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
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

Json tileJson(const TileReport& tile) {
  Json json;
  json["channel"] = tile.channel;
  json["pictures"] = tile.pictures;
  json["first_picture_seconds"] =
      tile.firstPictureSeconds ? Json(rounded(*tile.firstPictureSeconds)) : Json();
  json["frames_per_second"] = rounded(tile.framesPerSecond);
  json["longest_pause_seconds"] = rounded(tile.longestPause);
  json["silent_seconds"] = rounded(tile.silence);
  json["size"] = tile.pictures > 0 ? sizeJson(tile.pictureSize) : Json();
  json["stream_size"] = tile.streamSize ? sizeJson(*tile.streamSize) : Json();
  json["restarts"] = tile.restarts;
  if (!tile.reason.empty()) json["reason"] = tile.reason;
  return json;
}

// Nothing up to a second.
std::string secondsText(const char* what, double seconds) {
  char text[80] = "";
  if (seconds > 1) std::snprintf(text, sizeof text, "%s %.1f s", what, seconds);
  return text;
}

std::string tileText(const TileReport& tile) {
  char line[200];
  if (tile.pictures == 0) {
    std::snprintf(line, sizeof line, "channel %d: no picture", tile.channel);
  } else {
    std::snprintf(line, sizeof line,
                  "channel %d: %llu pictures, the first after %.2f s, %.1f frames/s, %s",
                  tile.channel, static_cast<unsigned long long>(tile.pictures),
                  tile.firstPictureSeconds.value_or(0), tile.framesPerSecond,
                  tile.pictureSize.text().c_str());
  }
  std::string text = line;
  if (tile.streamSize) text += " (sent as " + tile.streamSize->text() + ")";
  if (tile.pictures > 0) {
    text += secondsText(", longest pause", tile.longestPause);
    text += secondsText(", no picture for the last", tile.silence);
  }
  if (tile.restarts > 0) {
    text += ", started again " + std::to_string(tile.restarts) +
            (tile.restarts == 1 ? " time" : " times");
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

std::uint64_t ViewReport::pictures() const {
  std::uint64_t sum = 0;
  for (const TileReport& tile : tiles) {
    sum += tile.pictures;
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
  PixelSize size;
  Json list = Json::array();
  for (const TileReport& tile : tiles) {
    rate += tile.framesPerSecond;
    silence = std::max(silence, tile.silence);
    size = tile.pictures > 0 ? tile.pictureSize : size;
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
  json["size"] = pictures() > 0 ? sizeJson(size) : Json();
  json["snapshot"] = snapshot.empty() ? Json() : Json(snapshot);
  json["tiles"] = std::move(list);
  // A device identifier may hold any bytes.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quorvid::app
