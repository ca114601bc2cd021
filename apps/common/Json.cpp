#include "apps/common/Json.h"

#include <fmt/chrono.h>

#include <cmath>

namespace quorvid::app {

double rounded(double value) {
  return std::round(value * 1000) / 1000;
}

Json sizeJson(PixelSize size) {
  return {{"width", size.width}, {"height", size.height}};
}

std::string utcText(std::time_t time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(time));
}

Json targetJson(const StreamTarget& target) {
  return {{"server", target.server.text()},
          {"path", nameOf(target.path)},
          {"device", target.device},
          {"channel", target.channel}};
}

std::string textOf(const Json& json, bool inOneLine) {
  return json.dump(inOneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quorvid::app
