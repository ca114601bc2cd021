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
  bool take(const PictureInfo& picture);
  // The picture taken last needs nothing before it.
  bool startsAnew() const { return startsAnew_; }
  // What came of the picture taken last.
  void decoded(bool isWhole);
  // A unit that can't even be read.
  void lose();

  bool isHeld() const { return isHeld_; }
  // False once the same gap, at the same place, was there in three groups in a row that decoded
  // without damage and miss no picture by their order counts: that is how a camera counts, and not
  // what was lost, were it at the same place in each group. (A group is what follows a picture that
  // needs nothing before it.) Gaps are looked at no more. Without order counts of their own streams
  // are held for good, unless frame_num never moves: see PictureOrder::isComplete().
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
  void noteGap(std::uint32_t difference);
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
  // The gap that the groups before this one had, and how many of them in a row.
  std::optional<Gap> usualGap_;
  int groupsWithIt_ = 0;
  bool trustsNumbers_ = true;
};

}  // namespace quorvid::h264
