#include "apps/quorvid/probe/StreamFigures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

namespace {

using h264::UnitType;

constexpr double kMostShown = 30;       // frames a second that the live view takes
constexpr double kRateTolerance = 1.2;  // what a server may catch up at the start
constexpr double kWorryingPause = 1.5;  // seconds without a frame that a viewer sees as standing

std::string nameOf(UnitType type) {
  switch (type) {
    case UnitType::Sps:
      return "SPS";
    case UnitType::Pps:
      return "PPS";
    case UnitType::Sei:
      return "SEI";
    case UnitType::KeySlice:
      return "key slice";
    case UnitType::Slice:
      return "slice";
    default:
      return fmt::format("type {}", static_cast<int>(type));
  }
}

}  // namespace

bool hasFixedKeyLayout(const std::vector<h264::Unit>& units) {
  const auto lies = [&units](std::size_t i, UnitType type, std::size_t from, std::size_t to) {
    return i < units.size() && units[i].type == type && units[i].startCode == from &&
           units[i].header == from + 4 && (to == 0 || units[i].end == to);
  };
  if (!lies(0, UnitType::Sps, 0, 13) || !lies(1, UnitType::Pps, 13, 21)) return false;
  return lies(2, UnitType::KeySlice, 21, 0) ||
         (lies(2, UnitType::Sei, 21, 30) && lies(3, UnitType::KeySlice, 30, 0));
}

std::string describeUnits(const std::vector<h264::Unit>& units) {
  std::string text;
  for (const h264::Unit& unit : units) {
    text +=
        fmt::format("{}{} {}", text.empty() ? "" : ", ", nameOf(unit.type), unit.end - unit.header);
    if (text.size() > 120) return text + ", ...";
  }
  return text.empty() ? "no H.264 unit" : text + " bytes";
}

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
  return hasRate() ? static_cast<double>(frames_ - 1) / seconds() : 0;
}

double StreamFigures::bitsPerSecond() const {
  return hasRate() ? static_cast<double>(bytes_) * 8 / seconds() : 0;
}

std::vector<StreamFigures::Line> StreamFigures::lines() const {
  std::vector<Line> lines;
  const auto add = [&lines](const char* name, std::string text) {
    lines.push_back({name, std::move(text)});
  };
  add("frames", hasRate() ? fmt::format("{} in {:.1f} s: {:.1f} frames/s", frames_, seconds(),
                                        framesPerSecond())
                          : fmt::format("{}: too few for a rate", frames_));
  add("size", size_ ? size_->text() : "unknown: no parameter set was understood");
  add("bit rate", hasRate() ? fmt::format("{:.2f} Mbit/s", bitsPerSecond() / 1e6) : "unknown");
  const double keySpan = lastKey_ - firstKey_;
  add("key frames",
      keyFrames_ > 1 ? fmt::format("{}, one every {:.2f} s (at most {:.2f} s)", keyFrames_,
                                   keySpan / static_cast<double>(keyFrames_ - 1), longestKeyPause_)
                     : fmt::format("{}", keyFrames_));
  add("largest", fmt::format("{} bytes (limit {})", largest_, int{QUORVID_FRAME_CAPACITY}));
  add("gaps", fmt::format("longest pause {:.2f} s; {} frames out of sequence; {} stray bytes",
                          longestPause_, leftOut_, garbage_));
  if (audioPackets_ > 0) add("audio", fmt::format("{} packets, skipped", audioPackets_));
  add("layout", fmt::format("{} of {} key frames keep the fixed layout{}{}", layoutKept_,
                            keyFrames_, layoutBroken_.empty() ? "" : "; one is ", layoutBroken_));
  return lines;
}

Json StreamFigures::json() const {
  const auto keys = static_cast<double>(keyFrames_);
  Json json;
  json["frames"] = frames_;
  json["measured_seconds"] = rounded(seconds());
  json["frames_per_second"] = hasRate() ? Json(rounded(framesPerSecond())) : Json();
  json["bytes"] = bytes_;
  json["bits_per_second"] = hasRate() ? Json(std::round(bitsPerSecond())) : Json();
  json["stream_size"] = size_ ? sizeJson(*size_) : Json();
  json["key_frames"] = keyFrames_;
  json["key_frame_interval_seconds"] =
      keyFrames_ > 1 ? Json(rounded((lastKey_ - firstKey_) / (keys - 1))) : Json();
  json["longest_key_frame_interval_seconds"] =
      keyFrames_ > 1 ? Json(rounded(longestKeyPause_)) : Json();
  json["key_frames_in_fixed_layout"] = layoutKept_;
  json["largest_frame_bytes"] = largest_;
  json["longest_pause_seconds"] = rounded(longestPause_);
  json["frames_out_of_sequence"] = leftOut_;
  json["frames_without_start_code"] = unusable_;
  json["size_changes"] = sizeChanges_;
  json["stray_bytes"] = garbage_;
  json["audio_packets"] = audioPackets_;
  return json;
}

std::vector<std::string> StreamFigures::problems() const {
  std::vector<std::string> found;
  const auto note = [&found](bool troubled, std::string sentence) {
    if (troubled) found.push_back(std::move(sentence));
  };
  note(frames_ == 0, "no video frame came");
  note(frames_ > 0 && !hasRate(),
       "a single frame came: too little to judge the stream by (--seconds?)");
  note(frames_ > 0 && keyFrames_ == 0, "no key frame came: nothing can be decoded");
  note(keyFrames_ > layoutKept_,
       fmt::format("key frames do not keep the fixed layout that the live view relies on ({})",
                   layoutBroken_));
  note(keyFrames_ > 0 && !size_, "the stream's parameter sets are not understood");
  note(sizeChanges_ > 0, "the picture size changes within the stream; the decoder keeps the first");
  note(unusable_ > 0, fmt::format("{} frames do not begin with a 4-byte start code", unusable_));
  note(longestPause_ > kWorryingPause,
       fmt::format("the stream paused for {:.1f} s", longestPause_));
  note(leftOut_ > 0, fmt::format("{} frames were out of sequence and are not shown", leftOut_));
  note(framesPerSecond() > kMostShown * kRateTolerance,
       fmt::format("{:.1f} frames/s are more than the {:.0f} that the live view takes: it will lag",
                   framesPerSecond(), kMostShown));
  return found;
}

}  // namespace quorvid::app
