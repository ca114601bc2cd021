#include "apps/quorvid/record/FrameRecorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace quorvid::app {

namespace {

using h264::UnitType;

constexpr std::int64_t kDiskLook = 1 << 20;  // bytes from one look at the disk to the next
constexpr std::int64_t kFirstExtra = 4096;   // a file's header at most, without the sets
// What a recording leaves to others: a twentieth of the disk, at most 256 MiB.
constexpr std::uintmax_t kPartLeftFree = 20;
constexpr std::uintmax_t kMostLeftFree = 256 << 20;

bool holds(const std::vector<h264::Unit>& units, UnitType type) {
  return std::any_of(units.begin(), units.end(),
                     [type](const h264::Unit& unit) { return unit.type == type; });
}

// Bytes that may still be written to the file's disk, `most` at most; that where the disk does not
// tell. The file, or else its folder, must exist.
std::int64_t roomOnDisk(const std::string& fileName, std::int64_t most) {
  std::error_code error;
  std::filesystem::space_info disk = std::filesystem::space(fileName, error);
  if (error) {
    disk = std::filesystem::space(std::filesystem::absolute(fileName).parent_path(), error);
  }
  if (error || disk.capacity == 0) return most;
  const std::uintmax_t left = std::min(disk.capacity / kPartLeftFree, kMostLeftFree);
  const std::uintmax_t room = disk.available - std::min(left, disk.available);
  return static_cast<std::int64_t>(std::min(room, static_cast<std::uintmax_t>(most)));
}

}  // namespace

void FrameRecorder::take(const std::uint8_t* frame, std::size_t length, double now) {
  const std::vector<h264::Unit> units = h264::unitsOf({frame, length});
  if (units.empty()) {
    ++unusable_;
    return;
  }
  keepParameterSets({frame, length}, units);
  const bool isKey = holds(units, UnitType::KeySlice);
  if (!judgeParameterSets()) {
    waitingForKey_ = true;
    refused_ += isKey && !sps_.empty() && !pps_.empty() ? 1 : 0;
    return;
  }
  if (waitingForKey_ && !isKey) return;
  std::vector<std::uint8_t> whole;
  if (waitingForKey_ && !holds(units, UnitType::Sps)) {
    // The sets came in frames of their own, before this picture.
    whole = parameterSets();
  }
  whole.insert(whole.end(), frame, frame + length);
  if (!hasRoom(whole)) return;
  waitingForKey_ = false;
  if (!file_) {
    size_ = *spsSize_;
    file_ = std::make_unique<StreamFile>(fileName_, parameterSets(), size_);
    start_ = now;
  }
  file_->write(whole.data(), whole.size(), now - start_, isKey);
  lastTime_ = now - start_;
  ++frames_;
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
    diskRoom_ = roomOnDisk(fileName_, kDiskLook);
    full_ = diskRoom_ < size ? Full::Disk : Full::No;
  }
  diskRoom_ -= size;
  return full_ == Full::No;
}

void FrameRecorder::close() {
  if (file_) file_->close();
}

std::string FrameRecorder::figures() const {
  return fmt::format("{} frames, {:.2f} s, {:.2f} MB, {}", frames_, lastTime_,
                     static_cast<double>(bytes()) / 1e6, size_.text());
}

std::vector<std::string> FrameRecorder::oddities() const {
  std::vector<std::string> sentences;
  if (unusable_ > 0) {
    sentences.push_back(fmt::format("{} frames were no H.264 and were left out", unusable_));
  }
  if (refused_ > 0) {
    sentences.push_back(
        fmt::format("{} key frames had parameter sets that no file can begin with; they were left "
                    "out with the pictures behind them",
                    refused_));
  }
  const std::string first = size_.text();
  const std::string last = spsSize_.value_or(size_).text();
  if (first != last) {
    sentences.push_back(
        fmt::format("the stream changed its picture size from {} to {}; the file begins with the "
                    "first, and some players stop at the change",
                    first, last));
  } else if (changes_ > 0) {
    sentences.emplace_back("the stream changed its parameter sets; some players stop there");
  }
  return sentences;
}

std::string FrameRecorder::whyNothingWasWritten(const std::string& limit) const {
  if (full_ == Full::Limit) return "the first key frame doesn't fit into " + limit;
  if (full_ == Full::Disk) return "the disk is nearly full";
  if (refused_ > 0) {
    return fmt::format("no file can begin with the parameter sets of the {} key frames that came",
                       refused_);
  }
  return "frames came, but no key frame with its parameter sets";
}

}  // namespace quorvid::app
