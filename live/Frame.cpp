#include "live/Frame.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace quorvid {
namespace {

constexpr std::size_t kLeastRoom = 64;
// Units of an honest frame; a list that is longer isn't kept.
constexpr std::size_t kMostUnitsKept = 256;

// Powers of two: frames of about one size find each other's memory.
std::size_t roomFor(std::size_t size) {
  return std::bit_ceil(std::max(size + 1, kLeastRoom));
}

}  // namespace

Frame makeFrame(h264::ByteView bytes, double arrival, Frame memory) {
  Frame frame;
  frame.arrival = arrival;
  frame.bytes = std::move(memory.bytes);
  frame.bytes.clear();
  frame.bytes.reserve(bytes.size() + 1);
  frame.bytes.push_back(0);
  frame.bytes.insert(frame.bytes.end(), bytes.begin(), bytes.end());
  frame.units = h264::unitsOf(frame.bytes, std::move(memory.units));
  frame.isReference = false;
  for (const h264::Unit& unit : frame.units) {
    const bool isSet = unit.type == h264::UnitType::Sps || unit.type == h264::UnitType::KeySlice;
    const int refIdc = frame.bytes[unit.header] >> 5 & 3;
    frame.isKey = frame.isKey || isSet;
    frame.isReference = frame.isReference || refIdc != 0;
  }
  return frame;
}

// The last of them is the warmest in the processor's caches.
Frame SpareFrames::take(std::size_t size) {
  const std::size_t room = roomFor(size);
  const auto found = std::find_if(frames_.rbegin(), frames_.rend(), [room](const Frame& frame) {
    return frame.bytes.capacity() == room;
  });
  Frame frame;
  if (found != frames_.rend()) {
    frame = std::move(*found);
    frames_.erase(std::next(found).base());
    bytes_ -= room;
  } else {
    frame.bytes.reserve(room);
  }
  return frame;
}

void SpareFrames::put(Frame frame) {
  const std::size_t room = frame.bytes.capacity();
  if (frame.units.capacity() > kMostUnitsKept || room > kMostBytes) return;
  while (!frames_.empty() && (frames_.size() == kMost || bytes_ + room > kMostBytes)) {
    bytes_ -= frames_.front().bytes.capacity();
    frames_.erase(frames_.begin());
  }
  bytes_ += room;
  frames_.push_back(std::move(frame));
}

}  // namespace quorvid
