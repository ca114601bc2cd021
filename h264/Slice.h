// SliceHeader: the fields with which a slice says where in which picture it begins.
// WorkBounds: how much a unit's slices may ask of a decoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "h264/ParameterSets.h"

namespace quorvid::h264 {

enum class PictureStructure : std::uint8_t { Frame, TopField, BottomField };

// The kinds of slices, without the word that all slices of a picture are of the same.
enum class SliceType : std::uint8_t { P, B, I, SP, SI };

// first_mb_in_slice ue | slice_type ue | pic_parameter_set_id ue | frame_num, log2MaxFrameNum bits
// | unless frameMbsOnly: field_pic_flag 1 | in a field: bottom_field_flag 1
// | in an IDR picture: idr_pic_id ue | picOrderCntType 0: pic_order_cnt_lsb, log2MaxPicOrderCntLsb
// bits
struct SliceHeader {
  std::uint32_t firstMbInSlice = 0;  // of a frame with pairs: the first pair
  SliceType sliceType = SliceType::P;
  std::uint32_t ppsId = 0;
  std::uint32_t frameNum = 0;
  PictureStructure structure = PictureStructure::Frame;
  std::uint32_t picOrderCntLsb = 0;  // of type 0
};

// unit: a slice, NAL header first, no start code. Nothing when it ends too early, a field is out of
// its range, or its bytes are none that a unit may hold.
std::optional<SliceHeader> parseSliceHeader(const Sps& sps, ByteView unit);

// unit: a slice as above. True when it says that numbering begins again behind its picture
// (memory_management_control_operation 5): the next picture's frame_num follows 0.
bool resetsFrameNum(const ParameterSets& sets, ByteView unit);

// A slice of a few bytes can stand for all macroblocks from its first to the picture's end, and a
// decoder notices only behind it that the next slice begins before that. So the work is estimated
// from the slices' headers and sizes, before a decoder sees any of them.
//
// An estimate can't tell slices that end where the next begins from slices that go on to the end,
// so there are two limits: one that pictures of honest encoders keep, cut at any size, and one that
// holds a unit to a quarter of a second of processor time whatever its slices hold. A session
// begins with the first and goes over to the second for good once a unit took longer than that.
//
// In skipped macroblocks of a P slice with samples of 8 bits, two chroma samples for four of luma:
// about 0.3 microseconds each.
inline constexpr std::uint64_t kWorkOfHonestUnits = 3'000'000;
inline constexpr std::uint64_t kWorkOfAQuarterSecond = 600'000;

// For one unit: make one, then take() its slices in order.
class WorkBounds {
 public:
  // stream: must outlive this. mostWork: of a unit with several slices, one of the two above.
  WorkBounds(const Sps& stream, std::uint64_t mostWork) : stream_(stream), mostWork_(mostWork) {}

  // size: bytes of the slice. False when it goes beyond the bounds: its first macroblock is not
  // behind that of the slice before (the second field of a frame begins again at 0), or there are
  // too many slices, too many macroblocks behind them, or too much work for more than one slice.
  bool take(const SliceHeader& slice, std::size_t size);

 private:
  bool isInOrder(const SliceHeader& slice);
  std::uint64_t workOf(SliceType type, std::uint64_t macroblocks, std::size_t size) const;

  const Sps& stream_;
  const std::uint64_t mostWork_;
  std::optional<SliceHeader> last_;
  bool secondField_ = false;
  std::uint32_t slices_ = 0;
  std::uint64_t macroblocks_ = 0;  // from each slice's first to the end, summed up
  std::uint64_t work_ = 0;
};

}  // namespace quorvid::h264
