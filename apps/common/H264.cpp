#include "apps/common/H264.h"

namespace quorvid::app {

namespace {

using h264::UnitType;

constexpr std::int64_t kLongestSide = 16384;

std::string nameOf(UnitType type) {
  switch (type) {
    case UnitType::Sps:
      return "SPS";
    case UnitType::Pps:
      return "PPS";
    case UnitType::Sei:
      return "SEI";
    case UnitType::KeySlice:
      return "key slice";
    case UnitType::Slice:
      return "slice";
    default:
      return "type " + std::to_string(static_cast<int>(type));
  }
}

}  // namespace

std::optional<PixelSize> sizeOfSps(h264::ByteView sps) {
  const auto fields = h264::peekSps(sps);
  const std::int64_t width = fields ? fields->displayedWidth() : 0;
  const std::int64_t height = fields ? fields->displayedHeight() : 0;
  if (width < 1 || height < 1 || width > kLongestSide || height > kLongestSide) return std::nullopt;
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

bool hasFixedKeyLayout(const std::vector<h264::Unit>& units) {
  const auto lies = [&units](std::size_t i, UnitType type, std::size_t from, std::size_t to) {
    return i < units.size() && units[i].type == type && units[i].startCode == from &&
           units[i].header == from + 4 && (to == 0 || units[i].end == to);
  };
  if (!lies(0, UnitType::Sps, 0, 13) || !lies(1, UnitType::Pps, 13, 21)) return false;
  return lies(2, UnitType::KeySlice, 21, 0) ||
         (lies(2, UnitType::Sei, 21, 30) && lies(3, UnitType::KeySlice, 30, 0));
}

std::string describeUnits(const std::vector<h264::Unit>& units) {
  std::string text;
  for (const h264::Unit& unit : units) {
    text += text.empty() ? "" : ", ";
    text += nameOf(unit.type) + " " + std::to_string(unit.end - unit.header);
    if (text.size() > 120) return text + ", ...";
  }
  return text.empty() ? "no H.264 unit" : text + " bytes";
}

}  // namespace quorvid::app
