#include "apps/common/H264.h"

#include <algorithm>

namespace quorvid::app {

namespace {

// Reads bits from the front; past the end it yields zeros and is no longer good.
class BitReader {
 public:
  // The bytes of a unit without its emulation prevention bytes.
  explicit BitReader(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

  bool good() const { return good_; }

  std::uint32_t bits(int count) {
    std::uint32_t value = 0;
    for (; count > 0; --count) {
      value = value << 1 | bit();
    }
    return value;
  }

  // Exponential-Golomb code, unsigned.
  std::uint32_t golomb() {
    int zeros = 0;
    while (good_ && bit() == 0) {
      ++zeros;
    }
    if (zeros > 31) {
      good_ = false;
      return 0;
    }
    return (1U << zeros) - 1 + bits(zeros);
  }

 private:
  std::uint32_t bit() {
    if (at_ / 8 >= bytes_.size()) {
      good_ = false;
      return 0;
    }
    const std::uint32_t value = bytes_[at_ / 8] >> (7 - at_ % 8) & 1U;
    ++at_;
    return value;
  }

  std::vector<std::uint8_t> bytes_;
  std::size_t at_ = 0;
  bool good_ = true;
};

std::vector<std::uint8_t> withoutEmulationBytes(const std::uint8_t* from, std::size_t length) {
  std::vector<std::uint8_t> bytes;
  std::size_t zeros = 0;
  for (std::size_t i = 0; i < length; ++i) {
    if (zeros >= 2 && from[i] == 3) {
      zeros = 0;
      continue;
    }
    zeros = from[i] == 0 ? zeros + 1 : 0;
    bytes.push_back(from[i]);
  }
  return bytes;
}

void skipScalingLists(BitReader& in, int count) {
  for (int list = 0; list < count; ++list) {
    if (in.bits(1) == 0) {
      continue;
    }
    std::uint32_t last = 8;
    std::uint32_t next = 8;
    for (int i = 0; i < (list < 6 ? 16 : 64) && in.good(); ++i) {
      if (next != 0) {
        const std::uint32_t code = in.golomb();
        const std::uint32_t delta = (code & 1U) != 0 ? (code + 1) / 2 : 0U - code / 2;
        next = (last + delta) & 0xFFU;
      }
      last = next != 0 ? next : last;
    }
  }
}

bool hasChromaFields(std::uint32_t profile) {
  static constexpr std::uint32_t kProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128};
  return std::find(std::begin(kProfiles), std::end(kProfiles), profile) != std::end(kProfiles);
}

// chroma_format_idc, 1 where the profile does not state one.
std::uint32_t readChromaFields(BitReader& in, std::uint32_t profile) {
  if (!hasChromaFields(profile)) {
    return 1;
  }
  const std::uint32_t chroma = in.golomb();
  if (chroma == 3) {
    in.bits(1);
  }
  in.golomb();
  in.golomb();
  in.bits(1);
  if (in.bits(1) == 1) {
    skipScalingLists(in, chroma == 3 ? 12 : 8);
  }
  return chroma;
}

void skipPictureOrder(BitReader& in) {
  const std::uint32_t kind = in.golomb();
  if (kind == 0) {
    in.golomb();
  } else if (kind == 1) {
    in.bits(1);
    in.golomb();
    in.golomb();
    for (std::uint32_t n = std::min(in.golomb(), 255U); n > 0 && in.good(); --n) {
      in.golomb();
    }
  }
}

}  // namespace

std::vector<H264Unit> unitsOf(const std::uint8_t* frame, std::size_t length) {
  std::vector<H264Unit> units;
  for (std::size_t i = 0; i + 3 < length; ++i) {
    if (frame[i] != 0 || frame[i + 1] != 0 || frame[i + 2] != 1) {
      continue;
    }
    const std::size_t start = i > 0 && frame[i - 1] == 0 ? i - 1 : i;
    if (!units.empty()) {
      units.back().end = std::max(start, units.back().header + 1);
    }
    units.push_back({frame[i + 3] & 0x1F, start, i + 3, length});
    i += 2;
  }
  return units;
}

std::optional<PixelSize> sizeOfSps(const std::uint8_t* sps, std::size_t length) {
  // The fields up to the size never need more than a fraction of this.
  BitReader in(withoutEmulationBytes(sps, std::min<std::size_t>(length, 512)));
  if (in.bits(8) % 32 != kUnitSps) {
    return std::nullopt;
  }
  const std::uint32_t profile = in.bits(8);
  in.bits(16);
  in.golomb();
  const std::uint32_t chroma = readChromaFields(in, profile);
  in.golomb();
  skipPictureOrder(in);
  in.golomb();
  in.bits(1);
  const std::uint32_t widthInBlocks = in.golomb() + 1;
  const std::uint32_t heightInUnits = in.golomb() + 1;
  const std::uint32_t framesOnly = in.bits(1);
  if (framesOnly == 0) {
    in.bits(1);
  }
  in.bits(1);
  std::uint32_t crop[4] = {};
  if (in.bits(1) == 1) {
    for (std::uint32_t& side : crop) {
      side = in.golomb();
    }
  }
  const std::uint32_t unitX = chroma == 1 || chroma == 2 ? 2 : 1;
  const std::uint32_t unitY = (chroma == 1 ? 2 : 1) * (2 - framesOnly);
  const std::int64_t width =
      16LL * widthInBlocks - std::int64_t{unitX} * (std::int64_t{crop[0]} + crop[1]);
  const std::int64_t height = 16LL * heightInUnits * (2 - framesOnly) -
                              std::int64_t{unitY} * (std::int64_t{crop[2]} + crop[3]);
  if (!in.good() || width < 1 || height < 1 || width > 16384 || height > 16384) {
    return std::nullopt;
  }
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

bool hasFixedKeyLayout(const std::vector<H264Unit>& units) {
  const auto lies = [&units](std::size_t i, int type, std::size_t from, std::size_t to) {
    return i < units.size() && units[i].type == type && units[i].startCode == from &&
           units[i].header == from + 4 && (to == 0 || units[i].end == to);
  };
  if (!lies(0, kUnitSps, 0, 13) || !lies(1, kUnitPps, 13, 21)) {
    return false;
  }
  return lies(2, kUnitKeySlice, 21, 0) ||
         (lies(2, kUnitSei, 21, 30) && lies(3, kUnitKeySlice, 30, 0));
}

std::string describeUnits(const std::vector<H264Unit>& units) {
  std::string text;
  for (const H264Unit& unit : units) {
    const char* name = unit.type == kUnitSps        ? "SPS "
                       : unit.type == kUnitPps      ? "PPS "
                       : unit.type == kUnitSei      ? "SEI "
                       : unit.type == kUnitKeySlice ? "key slice "
                       : unit.type == kUnitSlice    ? "slice "
                                                    : nullptr;
    text += text.empty() ? "" : ", ";
    text += name != nullptr ? name : "type " + std::to_string(unit.type) + " ";
    text += std::to_string(unit.end - unit.header);
    if (text.size() > 120) {
      return text + ", ...";
    }
  }
  return text.empty() ? "no H.264 unit" : text + " bytes";
}

bool isKeyFrame(const std::uint8_t* frame, std::size_t length) {
  return length > 4 && (frame[4] & 0x1F) == kUnitSps;
}

}  // namespace quorvid::app
