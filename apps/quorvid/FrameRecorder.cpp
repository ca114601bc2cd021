#include "apps/quorvid/FrameRecorder.h"

#include <algorithm>

namespace quorvid::app {

namespace {

bool holds(const std::vector<H264Unit>& units, int type) {
  return std::any_of(units.begin(), units.end(),
                     [type](const H264Unit& unit) { return unit.type == type; });
}

}  // namespace

bool FrameRecorder::take(const std::uint8_t* frame, std::size_t length, double now,
                         std::string& error) {
  const std::vector<H264Unit> units = unitsOf(frame, length);
  if (units.empty()) {
    ++unusable_;
    return true;
  }
  keepParameterSets(frame, units);
  const bool isKey = holds(units, kUnitKeySlice);
  if (waitingForKey_ && (!isKey || sps_.empty() || pps_.empty())) {
    return true;
  }
  waitingForKey_ = false;
  if (!file_ && !begin(now, error)) {
    return false;
  }
  std::vector<std::uint8_t> whole;
  if (frames_ == 0 && !holds(units, kUnitSps)) {
    // The sets came in frames of their own, before the first key picture.
    whole = sps_;
    whole.insert(whole.end(), pps_.begin(), pps_.end());
  }
  whole.insert(whole.end(), frame, frame + length);
  if (!file_->write(whole.data(), whole.size(), now - start_, isKey, error)) {
    return false;
  }
  lastTime_ = now - start_;
  ++frames_;
  return true;
}

void FrameRecorder::keepParameterSets(const std::uint8_t* frame,
                                      const std::vector<H264Unit>& units) {
  for (const H264Unit& unit : units) {
    if (unit.type != kUnitSps && unit.type != kUnitPps) {
      continue;
    }
    std::vector<std::uint8_t> set(frame + unit.startCode, frame + unit.end);
    std::vector<std::uint8_t>& kept = unit.type == kUnitSps ? sps_ : pps_;
    changes_ += file_ && set != kept ? 1 : 0;
    kept = std::move(set);
    if (unit.type == kUnitSps) {
      size_ = sizeOfSps(frame + unit.header, unit.end - unit.header).value_or(size_);
    }
  }
}

bool FrameRecorder::begin(double now, std::string& error) {
  std::vector<std::uint8_t> sets = sps_;
  sets.insert(sets.end(), pps_.begin(), pps_.end());
  file_ = StreamFile::create(fileName_, sets, size_, error);
  start_ = now;
  return file_ != nullptr;
}

bool FrameRecorder::close(std::string& error) {
  return !file_ || file_->close(error);
}

}  // namespace quorvid::app
