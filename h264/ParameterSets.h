// ParameterSets: one SPS and one PPS that hold together, and the record a decoder takes them in.
//
// A session lives with its sets for good, so a set that only looks like one would block the picture
// for ever: both are read strictly, to the last bit.
#pragma once

#include <array>
#include <optional>

#include "h264/Sps.h"

namespace quorvid::h264 {

// What a PPS says of the slices that name it.
struct Pps {
  std::uint32_t id = 0;
  bool bottomFieldPicOrderInFrame = false;
  std::array<std::uint32_t, 2> numRefIdxDefault{1, 1};  // pictures in list 0 and list 1
  bool weightedPred = false;
  std::uint32_t weightedBipredIdc = 0;
  bool redundantPicCnt = false;
};

struct ParameterSets {
  Bytes sps, pps;  // NAL header first, no start code, no padding behind
  Sps stream;      // what the SPS says
  Pps picture;     // what the PPS says

  // Copies of two valid sets of which the second refers to the first, else nothing. Zero bytes
  // behind a set, which fill its place in a frame of fixed layout, are cut off. The SPS gets a
  // reorder limit, so that no decoder holds a picture back: without it libavcodec guesses from the
  // picture order counts, and one damaged slice header can make it hold a picture back for the rest
  // of the session. A live stream without limits of its own is taken to be in order; pictures that
  // come out of it in another order are dropped.
  static std::optional<ParameterSets> make(ByteView sps, ByteView pps);

  // 01 | profile, constraints, level | FF: lengths of 4 bytes | E1: one SPS | its length, 2 bytes |
  // SPS | 01: one PPS | its length, 2 bytes | PPS
  Bytes avcRecord() const;
};

// unit: NAL header first, no start code. Nothing unless the unit is a PPS that refers to this SPS,
// every field is in its range and decodable, and the unit ends right after the closing bits.
std::optional<Pps> parsePps(const Sps& sps, ByteView unit);

// The SPS that `sps` was parsed from, without its VUI.
Bytes withoutVui(const Sps& sps, ByteView unit);

}  // namespace quorvid::h264
