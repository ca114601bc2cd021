#include "apps/quorvid/probe/StreamFigures.h"

#include <algorithm>
#include <cstdio>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

namespace {

constexpr double kMostShown = 30;       // frames a second that the live view takes
constexpr double kRateTolerance = 1.2;  // what a server may catch up at the start
constexpr double kWorryingPause = 1.5;  // seconds without a frame that a viewer sees as standing

template <typename... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
  char text[240];
  std::snprintf(text, sizeof text, pattern, arguments...);
  return text;
}

unsigned long long large(std::uint64_t number) {
  return number;
}

}  // namespace

void StreamFigures::noteTime(double now) {
  if (frames_ + leftOut_ == 0) {
    first_ = now;
  } else {
    longestPause_ = std::max(longestPause_, now - last_);
  }
  last_ = now;
}

void StreamFigures::add(const std::vector<std::uint8_t>& frame, double now) {
  noteTime(now);
  ++frames_;
  bytes_ += frame.size();
  largest_ = std::max(largest_, frame.size());
  const std::vector<h264::Unit> units = h264::unitsOf(frame);
  if (units.empty() || units.front().startCode != 0 || units.front().header != 4) ++unusable_;
  const auto isKey = [](const h264::Unit& unit) { return unit.type == h264::UnitType::KeySlice; };
  if (std::any_of(units.begin(), units.end(), isKey)) addKeyFrame(frame, units, now);
}

void StreamFigures::addLeftOut(double now) {
  noteTime(now);
  ++leftOut_;
}

void StreamFigures::addKeyFrame(const std::vector<std::uint8_t>& frame,
                                const std::vector<h264::Unit>& units, double now) {
  if (keyFrames_ == 0) {
    firstKey_ = now;
  } else {
    longestKeyPause_ = std::max(longestKeyPause_, now - lastKey_);
  }
  lastKey_ = now;
  ++keyFrames_;
  for (const h264::Unit& unit : units) {
    if (unit.type == h264::UnitType::Sps) {
      const auto size = sizeOfSps(unit.in(frame));
      sizeChanges_ +=
          size_ && size && (size_->width != size->width || size_->height != size->height);
      size_ = size ? size : size_;
    }
  }
  if (hasFixedKeyLayout(units)) {
    ++layoutKept_;
  } else if (layoutBroken_.empty()) {
    layoutBroken_ = describeUnits(units);
  }
}

double StreamFigures::framesPerSecond() const {
  return seconds() > 0 && frames_ > 1 ? static_cast<double>(frames_ - 1) / seconds() : 0;
}

double StreamFigures::bitsPerSecond() const {
  return seconds() > 0 ? static_cast<double>(bytes_) * 8 / seconds() : 0;
}

std::vector<StreamFigures::Line> StreamFigures::lines() const {
  std::vector<Line> lines;
  lines.push_back({"frames", format("%llu in %.1f s: %.1f frames/s", large(frames_), seconds(),
                                    framesPerSecond())});
  lines.push_back(
      {"size", size_ ? size_->text() : std::string("unknown: no parameter set was understood")});
  lines.push_back({"bit rate", format("%.2f Mbit/s", bitsPerSecond() / 1e6)});
  const double keySpan = lastKey_ - firstKey_;
  lines.push_back(
      {"key frames", keyFrames_ > 1
                         ? format("%llu, one every %.2f s (at most %.2f s)", large(keyFrames_),
                                  keySpan / static_cast<double>(keyFrames_ - 1), longestKeyPause_)
                         : format("%llu", large(keyFrames_))});
  lines.push_back({"largest", format("%zu bytes (limit %d)", largest_, QUORVID_FRAME_CAPACITY)});
  lines.push_back(
      {"gaps", format("longest pause %.2f s; %llu frames out of sequence; %llu stray bytes",
                      longestPause_, large(leftOut_), large(garbage_))});
  if (audioPackets_ > 0) {
    lines.push_back({"audio", format("%llu packets, skipped", large(audioPackets_))});
  }
  lines.push_back({"layout", format("%llu of %llu key frames keep the fixed layout",
                                    large(layoutKept_), large(keyFrames_)) +
                                 (layoutBroken_.empty() ? "" : "; one is " + layoutBroken_)});
  return lines;
}

std::vector<std::string> StreamFigures::problems() const {
  std::vector<std::string> found;
  const auto note = [&found](bool troubled, std::string sentence) {
    if (troubled) found.push_back(std::move(sentence));
  };
  note(frames_ == 0, "no video frame came");
  note(frames_ > 0 && keyFrames_ == 0, "no key frame came: nothing can be decoded");
  note(keyFrames_ > layoutKept_,
       "key frames do not keep the fixed layout that the live view relies on (" + layoutBroken_ +
           ")");
  note(keyFrames_ > 0 && !size_, "the stream's parameter sets are not understood");
  note(sizeChanges_ > 0, "the picture size changes within the stream; the decoder keeps the first");
  note(unusable_ > 0,
       format("%llu frames do not begin with a 4-byte start code", large(unusable_)));
  note(longestPause_ > kWorryingPause, format("the stream paused for %.1f s", longestPause_));
  note(leftOut_ > 0, format("%llu frames were out of sequence and are not shown", large(leftOut_)));
  note(framesPerSecond() > kMostShown * kRateTolerance,
       format("%.1f frames/s are more than the %.0f that the live view takes: it will lag",
              framesPerSecond(), kMostShown));
  return found;
}

}  // namespace quorvid::app
