// Continuity: which pictures of a stream refer to nothing that was lost or damaged.
//
// Reference pictures are numbered: the next picture of any kind has the number after the last
// reference's, modulo 2^log2MaxFrameNum, but for the second field of a frame. So a lost reference
// shows in the numbers (frame_num), and every picture from there on may be built on what isn't
// there, until one that needs nothing before it. One thread.
#pragma once

#include <cstdint>
#include <optional>

#include "h264/PictureOrder.h"
#include "h264/Units.h"

namespace quorvid::h264 {

class Continuity {
 public:
  explicit Continuity(const Sps& stream) : stream_(stream), order_(stream) {}

  // A recovery point that came by itself counts for the next picture.
  void announce(std::optional<std::uint32_t> recoveryFrameCnt);
  // Before the picture is decoded. True when it may be shown, should it decode without damage.
  // now: when it came, in seconds of any steady clock; 0 throughout where that isn't known.
  bool take(const PictureInfo& picture, double now = 0);
  // The picture taken last needs nothing before it.
  bool startsAnew() const { return startsAnew_; }
  // What came of the picture taken last.
  void decoded(bool isWhole);
  // A unit that can't even be read.
  void lose();

  bool isHeld() const { return isHeld_; }
  // False once the same gap, at the same place, was there in three groups in a row that decoded
  // without damage: that is how a camera counts. (A group is what follows a picture that needs
  // nothing before it.) Gaps are looked at no more. But what is thinned in step with the groups
  // looks the same; so no picture may be missing by the order counts, and none by the time: a group
  // whose picture behind the gap comes as late as if one were missing takes back three others.
  bool trustsNumbers() const { return trustsNumbers_; }

 private:
  struct Gap {
    std::uint32_t place = 0, difference = 0;
    bool operator==(const Gap&) const = default;
  };
  std::uint32_t wrapped(std::uint32_t number) const {
    return number & ((1U << stream_.log2MaxFrameNum) - 1);
  }
  bool isSecondField(const PictureInfo& picture) const;
  bool isRecovered(const PictureInfo& picture);
  void beginGroup();
  std::uint32_t differenceOf(const PictureInfo& picture) const;
  bool isGapLate() const;
  void noteGap(std::uint32_t difference, double waited);
  void note(const PictureInfo& picture, bool isSecond);
  void hold();

  Sps stream_;
  PictureOrder order_;
  bool isHeld_ = true;  // a stream may be joined anywhere
  bool startsAnew_ = false, isReference_ = false;
  std::uint32_t lastReference_ = 0;        // its number
  std::optional<SliceHeader> firstField_;  // of a frame whose second one is due
  std::optional<std::uint32_t> announced_;
  // A recovery point behind which nothing was lost: its number and how many later it is over.
  std::optional<std::uint32_t> recoveryFrom_;
  std::uint32_t recoveryCount_ = 0;
  // The present group: pictures in it, its first gap, whether anything in it was damaged.
  std::uint32_t place_ = 0;
  std::optional<Gap> gap_;
  bool isDamaged_ = true;
  // When its first and its last picture came, and how long the one behind the gap took.
  double begun_ = 0, last_ = 0, gapSeconds_ = 0;
  // The gap that the groups before this one had, and what speaks for it: one a group, in a row.
  std::optional<Gap> usualGap_;
  int proof_ = 0;
  bool trustsNumbers_ = true;
};

}  // namespace quorvid::h264
