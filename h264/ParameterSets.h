// H264ParameterSets: one SPS and one PPS that hold together, and the record a decoder takes them
// in.
//
// A session lives with its sets for good, so a set that only looks like one would block the picture
// for ever: both are read strictly, to the last bit.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "h264/Sps.h"

namespace quorvid {

struct H264ParameterSets {
  std::vector<std::uint8_t> sps, pps;  // NAL header first, no start code, no padding behind
  H264Sps stream;                      // what the SPS says

  // Copies of two valid sets of which the second refers to the first, else nothing. Zero bytes
  // behind a set, which fill its place in a frame of fixed layout, are cut off. The SPS gets a
  // reorder limit (see H264ReorderLimit.h), so that no decoder holds a picture back.
  static std::optional<H264ParameterSets> make(std::span<const std::uint8_t> sps,
                                               std::span<const std::uint8_t> pps);

  // 01 | profile, constraints, level | FF: lengths of 4 bytes | E1: one SPS | its length, 2 bytes |
  // SPS | 01: one PPS | its length, 2 bytes | PPS
  std::vector<std::uint8_t> avcRecord() const;
};

}  // namespace quorvid
