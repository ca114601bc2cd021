#include "apps/quorvid/record/FrameRecorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "apps/common/Json.h"
#include "apps/quorvid/record/DiskRoom.h"
#include "apps/quorvid/record/PieceName.h"

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

void FrameRecorder::take(const std::uint8_t* frame, std::size_t length, double now) {
  const std::vector<h264::Unit> units = h264::unitsOf({frame, length});
  if (units.empty()) {
    ++unusable_;
    return;
  }
  const bool isKey = holds(units, UnitType::KeySlice);
  if (file_ && isKey && options_.split > 0 && now - fileStart_ >= options_.split) close();
  keepParameterSets({frame, length}, units);
  if (!judgeParameterSets()) {
    waitingForKey_ = true;
    refused_ += isKey && !sps_.empty() && !pps_.empty() ? 1 : 0;
    return;
  }
  const bool begins = waitingForKey_ || !file_;
  if (begins && !isKey) return;
  std::vector<std::uint8_t> whole;
  if (begins && !holds(units, UnitType::Sps)) {
    // The sets came in frames of their own, before this picture.
    whole = parameterSets();
  }
  whole.insert(whole.end(), frame, frame + length);
  if (!hasRoom(whole)) return;
  waitingForKey_ = false;
  if (!file_) beginFile(now);
  file_->write(whole.data(), whole.size(), now - fileStart_, isKey);
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
    setsUsable_ = spsSize_ && !pps_.empty() &&
                  StreamFile::canBegin(options_.fileName, parameterSets(), *spsSize_);
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
  if (options_.limit > 0 && bytesBefore_ + most > options_.limit) {
    full_ = Full::Limit;
    return false;
  }
  if (diskRoom_ < size) {
    diskRoom_ = roomOnDisk(options_.fileName, kDiskLook);
    full_ = diskRoom_ < size ? Full::Disk : Full::No;
  }
  diskRoom_ -= size;
  return full_ == Full::No;
}

void FrameRecorder::beginFile(double now) {
  const std::time_t time = std::time(nullptr);
  const std::string name =
      options_.split > 0 ? pieceName(options_.fileName, time) : options_.fileName;
  if (!options_.overwrite) requireNew(name);
  if (files_.empty()) {
    start_ = now;
    startTime_ = time;
  }
  size_ = *spsSize_;
  fileStart_ = now;
  file_ = std::make_unique<StreamFile>(name, parameterSets(), size_,
                                       FileTags{options_.title, options_.comment, utcText(time)});
  files_.push_back(name);
}

void FrameRecorder::close() {
  if (!file_) return;
  noteChanges();
  file_->close();
  bytesBefore_ += file_->bytes();
  file_.reset();
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
  sentences.insert(sentences.end(), changed_.begin(), changed_.end());
  return sentences;
}

// Each sentence once, however many files have it.
void FrameRecorder::noteChanges() {
  const std::string first = size_.text();
  const std::string last = spsSize_.value_or(size_).text();
  std::string sentence;
  if (first != last) {
    sentence = fmt::format(
        "the stream changed its picture size from {} to {}; the file begins with the first, and "
        "some players stop at the change",
        first, last);
  } else if (std::exchange(changes_, 0) > 0) {
    sentence = "the stream changed its parameter sets; some players stop there";
  }
  const bool isKnown = std::find(changed_.begin(), changed_.end(), sentence) != changed_.end();
  if (!sentence.empty() && !isKnown) changed_.push_back(std::move(sentence));
}

std::string FrameRecorder::whyNothingWasWritten(const std::string& limit) const {
  if (full_ == Full::Limit) return "the first key frame doesn't fit into " + limit;
  if (full_ == Full::Disk) return kDiskFull;
  if (refused_ > 0) {
    return fmt::format("no file can begin with the parameter sets of the {} key frames that came",
                       refused_);
  }
  return "frames came, but no key frame with its parameter sets";
}

}  // namespace quorvid::app
