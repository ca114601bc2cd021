// StreamFigures: what can be counted in a stream without decoding it, and what it means for the
// live view. Plain logic; times are seconds of any steady clock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/Json.h"
#include "apps/common/Stream.h"

namespace quorvid::app {

// True for the key frame that the live view relies on: start codes of 4 bytes, a parameter set of 9
// bytes, one of 4, perhaps an SEI unit of 5, then the key picture.
bool hasFixedKeyLayout(const std::vector<h264::Unit>& units);

// For people: "SPS 9, PPS 4, key slice 12034 bytes".
std::string describeUnits(const std::vector<h264::Unit>& units);

class StreamFigures {
 public:
  // A frame that the library would hand on.
  void add(const std::vector<std::uint8_t>& frame, double now);
  // The other things that come.
  void addAudio() { ++audioPackets_; }
  void addLeftOut(double now);
  void addGarbage(std::size_t bytes) { garbage_ += bytes; }

  std::uint64_t frames() const { return frames_; }
  std::uint64_t keyFrames() const { return keyFrames_; }
  const std::optional<PixelSize>& size() const { return size_; }
  // Between the first and the last frame.
  double seconds() const { return last_ - first_; }
  // Without two frames there is nothing that the two below could be measured by; they are 0 then.
  bool hasRate() const { return frames_ > 1 && seconds() > 0; }
  double framesPerSecond() const;
  double bitsPerSecond() const;

  // One line for each group of figures.
  struct Line {
    const char* name;
    std::string text;
  };
  std::vector<Line> lines() const;
  Json json() const;
  // What will trouble the live view, a sentence each; empty when nothing will.
  std::vector<std::string> problems() const;

 private:
  void addKeyFrame(const std::vector<std::uint8_t>& frame, const std::vector<h264::Unit>& units,
                   double now);
  void noteTime(double now);

  double first_ = 0;
  double last_ = 0;
  double lastKey_ = 0;
  double longestPause_ = 0;
  double longestKeyPause_ = 0;
  double firstKey_ = 0;
  std::uint64_t frames_ = 0;
  std::uint64_t keyFrames_ = 0;
  std::uint64_t bytes_ = 0;
  std::size_t largest_ = 0;
  std::uint64_t unusable_ = 0;  // frames without a start code at their front
  std::uint64_t audioPackets_ = 0;
  std::uint64_t leftOut_ = 0;
  std::uint64_t garbage_ = 0;
  std::uint64_t sizeChanges_ = 0;
  std::uint64_t layoutKept_ = 0;  // key frames
  std::string layoutBroken_;      // what the first other one looks like
  std::optional<PixelSize> size_;
};

}  // namespace quorvid::app
