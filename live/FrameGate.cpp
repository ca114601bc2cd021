#include "live/FrameGate.h"

#include <utility>

#include "h264/Sps.h"

namespace quorvid {
namespace {

// Nothing of a set that can't be read, or shows no picture.
StreamShape shapeOf(h264::ByteView unit) {
  const auto stream = h264::peekSps(h264::withoutPadding(unit));
  if (!stream || stream->displayedWidth() <= 0 || stream->displayedHeight() <= 0) return {};
  return {static_cast<int>(stream->displayedWidth()), static_cast<int>(stream->displayedHeight()),
          stream->displayAspect()};
}

}  // namespace

// A set that can't be read closes the gate for all that may refer to it.
FrameGate::Outcome FrameGate::take(Frame& frame) {
  const bool isOther = std::exchange(connection_, frame.connection) != frame.connection;
  if (isOther) gate_ = Outcome::NoSets;
  for (const h264::Unit& unit : frame.units) {
    if (unit.type != h264::UnitType::Sps) continue;
    const StreamShape shape = shapeOf(unit.in(frame.bytes));
    gate_ = shape.width > 0 ? Outcome::Passes : Outcome::UnreadableSets;
    if (gate_ == Outcome::Passes) shape_ = shape;
  }
  if (gate_ != Outcome::Passes) return gate_;
  frame.continues = !isOther && frame.number == number_ + 1;
  number_ = frame.number;
  return gate_;
}

}  // namespace quorvid
