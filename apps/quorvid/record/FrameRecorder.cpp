#include "apps/quorvid/record/FrameRecorder.h"

#include <algorithm>

#include "apps/quorvid/record/DiskSpace.h"

namespace quorvid::app {

namespace {

using h264::UnitType;

constexpr std::int64_t kDiskLook = 1 << 20;  // bytes from one look at the disk to the next
constexpr std::int64_t kFirstExtra = 4096;   // a file's header at most, without the sets

bool holds(const std::vector<h264::Unit>& units, UnitType type) {
  return std::any_of(units.begin(), units.end(),
                     [type](const h264::Unit& unit) { return unit.type == type; });
}

}  // namespace

bool FrameRecorder::take(const std::uint8_t* frame, std::size_t length, double now,
                         std::string& error) {
  const std::vector<h264::Unit> units = h264::unitsOf({frame, length});
  if (units.empty()) {
    ++unusable_;
    return true;
  }
  keepParameterSets({frame, length}, units);
  const bool isKey = holds(units, UnitType::KeySlice);
  if (!judgeParameterSets()) {
    waitingForKey_ = true;
    refused_ += isKey && !sps_.empty() && !pps_.empty() ? 1 : 0;
    return true;
  }
  if (waitingForKey_ && !isKey) return true;
  std::vector<std::uint8_t> whole;
  if (waitingForKey_ && !holds(units, UnitType::Sps)) {
    // The sets came in frames of their own, before this picture.
    whole = parameterSets();
  }
  whole.insert(whole.end(), frame, frame + length);
  if (!hasRoom(whole)) return true;
  waitingForKey_ = false;
  if ((!file_ && !begin(now, error)) ||
      !file_->write(whole.data(), whole.size(), now - start_, isKey, error)) {
    return false;
  }
  lastTime_ = now - start_;
  ++frames_;
  return true;
}

void FrameRecorder::keepParameterSets(h264::ByteView frame, const std::vector<h264::Unit>& units) {
  for (const h264::Unit& unit : units) {
    if (unit.type != UnitType::Sps && unit.type != UnitType::Pps) continue;
    std::vector<std::uint8_t> set(frame.begin() + unit.startCode, frame.begin() + unit.end);
    std::vector<std::uint8_t>& kept = unit.type == UnitType::Sps ? sps_ : pps_;
    if (set == kept) continue;
    changes_ += file_ ? 1 : 0;
    setsChanged_ = true;
    kept = std::move(set);
    if (unit.type == UnitType::Sps) spsSize_ = sizeOfSps(unit.in(frame));
  }
}

// True when a file can begin with the sets that were seen last.
bool FrameRecorder::judgeParameterSets() {
  if (setsChanged_) {
    setsChanged_ = false;
    setsUsable_ =
        spsSize_ && !pps_.empty() && StreamFile::canBegin(fileName_, parameterSets(), *spsSize_);
  }
  return setsUsable_;
}

std::vector<std::uint8_t> FrameRecorder::parameterSets() const {
  std::vector<std::uint8_t> sets = sps_;
  sets.insert(sets.end(), pps_.begin(), pps_.end());
  return sets;
}

bool FrameRecorder::hasRoom(const std::vector<std::uint8_t>& frame) {
  const auto size = static_cast<std::int64_t>(frame.size());
  const auto sets = static_cast<std::int64_t>(sps_.size() + pps_.size());
  // Start codes become lengths, which makes a frame longer by a third at most.
  const std::int64_t most = file_ ? file_->bytesAtMostWith(frame.data(), frame.size())
                                  : size + size / 3 + sets + kFirstExtra;
  if (limit_ > 0 && most > limit_) {
    full_ = Full::Limit;
    return false;
  }
  if (diskRoom_ < size) {
    diskRoom_ = std::min(roomOnDisk(fileName_), kDiskLook);
    full_ = diskRoom_ < size ? Full::Disk : Full::No;
  }
  diskRoom_ -= size;
  return full_ == Full::No;
}

bool FrameRecorder::begin(double now, std::string& error) {
  size_ = spsSize_.value_or(PixelSize{});
  file_ = StreamFile::create(fileName_, parameterSets(), size_, error);
  start_ = now;
  return file_ != nullptr;
}

bool FrameRecorder::close(std::string& error) {
  return !file_ || file_->close(error);
}

}  // namespace quorvid::app
