// H264: the little a diagnostic needs to know of a stream without decoding it. Plain logic; the
// bytes come from a server and may be anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/Arguments.h"

namespace quorvid::app {

inline constexpr int kUnitSlice = 1;
inline constexpr int kUnitKeySlice = 5;
inline constexpr int kUnitSei = 6;
inline constexpr int kUnitSps = 7;
inline constexpr int kUnitPps = 8;

// One unit of a frame: where its start code and its header byte lie and where it ends.
struct H264Unit {
  int type = 0;
  std::size_t startCode = 0;
  std::size_t header = 0;
  std::size_t end = 0;
};

// The units of a frame in Annex B form, start codes of 3 or 4 bytes; units without a header byte
// are left out.
std::vector<H264Unit> unitsOf(const std::uint8_t* frame, std::size_t length);

// The picture size (cropping taken off) that a sequence parameter set states; `sps` begins at its
// header byte. Nothing when it is cut short or out of bounds.
std::optional<PixelSize> sizeOfSps(const std::uint8_t* sps, std::size_t length);

// True for the key frame that the live view relies on: start codes of 4 bytes, a parameter set of 9
// bytes, one of 4, perhaps an SEI unit of 5, then the key picture.
bool hasFixedKeyLayout(const std::vector<H264Unit>& units);

// For people: "SPS 9, PPS 4, key slice 12034 bytes".
std::string describeUnits(const std::vector<H264Unit>& units);

// True when the frame begins with a sequence parameter set (the live view's key frame).
bool isKeyFrame(const std::uint8_t* frame, std::size_t length);

}  // namespace quorvid::app
