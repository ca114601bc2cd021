#include "ProofReport.h"

#include <algorithm>
#include <string>

namespace quorvid::bench {
namespace {

constexpr double kLeastDecibels = 30;
constexpr double kMostAge = 0.2;  // seconds by which a picture of now may be late

double median(std::vector<double> values) {
  if (values.empty()) return -1;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// For each pause: from its end to the first picture shown, and to the first one that is of now.
nlohmann::ordered_json reportPauses(const ProofResult& result) {
  const std::vector<CheckedPicture>& pictures = result.pictures;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  const auto first = std::find_if(pictures.begin(), pictures.end(),
                                  [](const CheckedPicture& picture) { return picture.view == 0; });
  for (const Pause& pause : result.pauses) {
    if (first == pictures.end() || pause.end < first->time) continue;
    nlohmann::ordered_json json{{"kind", pause.kind}, {"length", pause.length}};
    for (const CheckedPicture& picture : pictures) {
      if (picture.view != 0 || picture.time < pause.end || picture.number < 0) continue;
      if (!json.contains("to a picture")) {
        json["to a picture"] = picture.time - pause.end;
        json["its age"] = picture.age;
        json["its number"] = picture.number;
      }
      if (picture.age > kMostAge) continue;
      json["to one of now"] = picture.time - pause.end;
      break;
    }
    list.push_back(json);
  }
  return list;
}

// The first picture of each size in a row.
nlohmann::ordered_json reportSizes(const std::vector<CheckedPicture>& pictures) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  const CheckedPicture* last = nullptr;
  for (const CheckedPicture& picture : pictures) {
    if (picture.view != 0 || picture.number < 0) continue;
    if (last == nullptr || last->streamWidth != picture.streamWidth ||
        last->streamHeight != picture.streamHeight) {
      const std::string size =
          std::to_string(picture.streamWidth) + "x" + std::to_string(picture.streamHeight);
      list.push_back({{"size", size},
                      {"first number", picture.number},
                      {"its age", picture.age},
                      {"after", last != nullptr ? picture.time - last->time : 0}});
    }
    last = &picture;
  }
  return list;
}

}  // namespace

nlohmann::ordered_json reportOf(const ProofResult& result) {
  const std::vector<CheckedPicture>& pictures = result.pictures;
  const LiveFigures& figures = result.figures;
  nlohmann::ordered_json json;
  double worst = 100, worstCell = 100;
  long below = 0, unreadable = 0, disorder = 0;
  std::vector<double> ages;
  for (const CheckedPicture& picture : pictures) {
    if (picture.number < 0) {
      ++unreadable;
      continue;
    }
    worst = std::min(worst, picture.decibels);
    worstCell = std::min(worstCell, picture.worstCell);
    below += picture.decibels < kLeastDecibels ? 1 : 0;
    disorder += picture.isInOrder ? 0 : 1;
    if (picture.view == 0) ages.push_back(picture.age);
  }
  json["compared"] = pictures.size();
  json["worst dB"] = worst;
  json["worst cell dB"] = worstCell;
  json["below 30 dB"] = below;
  json["unreadable"] = unreadable;
  json["out of order"] = disorder;
  json["median age"] = median(ages);
  json["worst age"] = ages.empty() ? -1 : *std::max_element(ages.begin(), ages.end());
  json["stopping"] = result.stopping;
  json["pauses"] = reportPauses(result);
  json["sizes"] = reportSizes(pictures);
  json["shown while hidden"] = result.shownHidden;
  json["state"] = nameOf(result.state);
  for (const auto& [name, value] : {std::pair{"received", figures.received},
                                    {"decoded", figures.decoded},
                                    {"shown", figures.shown},
                                    {"overwritten", figures.overwritten},
                                    {"held", figures.held},
                                    {"lost", figures.lost},
                                    {"reconnections", figures.reconnections},
                                    {"restarts", figures.restarts}}) {
    json[name] = value;
  }
  json["first picture"] = figures.firstPicture;
  json["longest pause"] = figures.longestPause;
  return json;
}

}  // namespace quorvid::bench
