#include "apps/desk/recording/ParameterSets.h"

#include <algorithm>

namespace quorvid::desk {

namespace {

constexpr int kMostUnits = 64;
constexpr std::size_t kMostSets = 4096;
constexpr std::size_t kLeastSps = 5;  // with its first number
constexpr std::size_t kLeastPps = 2;
constexpr std::uint8_t kStartCode[] = {0, 0, 1};

// One that is cut short is left out. A set whose kind has grown beyond the bound is none that a
// file can be made of: all of it goes.
void keep(std::vector<std::uint8_t>& sets, const std::uint8_t* unit, const std::uint8_t* end,
          std::size_t least) {
  while (end != unit && end[-1] == 0) --end;  // of the next start code
  const auto size = static_cast<std::size_t>(end - unit);
  if (size < least) return;
  if (sets.size() + size + 4 > kMostSets) return sets.clear();
  sets.insert(sets.end(), {0, 0, 0, 1});
  sets.insert(sets.end(), unit, end);
}

}  // namespace

FrameHead headOf(const std::uint8_t* bytes, std::size_t size) {
  constexpr int kSlice = 1;
  constexpr int kIdrSlice = 5;
  constexpr int kSps = 7;
  constexpr int kPps = 8;
  FrameHead head;
  const std::uint8_t* const end = bytes + size;
  const auto nextCode = [end](const std::uint8_t* from) {
    return std::search(from, end, std::begin(kStartCode), std::end(kStartCode));
  };
  const std::uint8_t* code = nextCode(bytes);
  for (int units = 0; end - code > 3 && units < kMostUnits; ++units) {
    const std::uint8_t* const unit = code + 3;
    const int type = *unit & 31;
    if (type >= kSlice && type <= kIdrSlice) {
      head.hasSlice = true;
      head.isIdr = type == kIdrSlice;
      break;
    }
    code = nextCode(unit);
    if (type == kSps) keep(head.sps, unit, code, kLeastSps);
    if (type == kPps) keep(head.pps, unit, code, kLeastPps);
  }
  return head;
}

}  // namespace quorvid::desk
