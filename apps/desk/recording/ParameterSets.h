// ParameterSets: what a frame says of itself before its first slice: its parameter sets, and
// whether a file can begin with it. Plain logic, any thread; the bytes may be anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvid::desk {

struct FrameHead {
  // With start codes of four bytes; empty where the frame has none, or they are too long.
  std::vector<std::uint8_t> sps;
  std::vector<std::uint8_t> pps;
  bool hasSlice = false;
  bool isIdr = false;  // the first slice is of a picture that needs no other

  bool canBegin() const { return hasSlice && (isIdr || !sps.empty()); }
};

// Of one access unit in Annex B form. Looks at the first 64 units, and keeps 4 KiB of either kind
// of set, at most.
FrameHead headOf(const std::uint8_t* bytes, std::size_t size);

}  // namespace quorvid::desk
