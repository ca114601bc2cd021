#include "apps/quorvid/view/ViewReport.h"

#include <algorithm>
#include <optional>

namespace quorvid::app {

namespace {

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
  return textOf({{"seconds", rounded(seconds)}, {"tiles", std::move(list)}}, true);
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

std::string ViewReport::json(bool inOneLine) const {
  double rate = 0;
  double silence = 0;
  Json list = Json::array(), size;
  for (const TileReport& tile : tiles) {
    rate += tile.framesPerSecond;
    silence = std::max(silence, tile.silence);
    list.push_back(tileJson(tile));
    if (size.is_null()) size = list.back()["size"];
  }
  const std::optional<double> first = earliestPicture(tiles);
  Json json;
  json["server"] = target.server.text();
  json["path"] = nameOf(target.path);
  json["device"] = target.device;
  json["devices"] = devices;
  json["seconds"] = rounded(seconds);
  json["pictures"] = pictures();
  json["first_picture_seconds"] = first ? Json(rounded(*first)) : Json();
  json["frames_per_second"] = rounded(rate);
  json["silent_seconds"] = rounded(silence);  // the longest of the tiles'
  json["size"] = std::move(size);
  json["snapshot"] = snapshot.empty() ? Json() : Json(snapshot);
  json["tiles"] = std::move(list);
  return textOf(json, inOneLine);
}

}  // namespace quorvid::app
