// H264SliceHeader: the fields with which a slice says where in which picture it begins.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "h264/Sps.h"

namespace quorvid {

enum class H264Picture : std::uint8_t { Frame, TopField, BottomField };

// The kinds of slices, without the word that all slices of a picture are of the same.
enum class H264SliceType : std::uint8_t { P, B, I, SwitchingP, SwitchingI };

// first_mb_in_slice ue | slice_type ue | pic_parameter_set_id ue | frame_num, as many bits as the
// SPS says | unless the SPS knows frames only: field_pic_flag 1 | in a field: bottom_field_flag 1
struct H264SliceHeader {
  std::uint32_t firstMacroblock = 0;  // of a frame with pairs: the first pair
  H264SliceType type = H264SliceType::P;
  std::uint32_t pictureSetId = 0;
  std::uint32_t frameNumber = 0;
  H264Picture picture = H264Picture::Frame;
};

// unit: a slice, NAL header first, no start code. Nothing when it ends too early, a field is out of
// its range, or its bytes are none that a unit may hold.
std::optional<H264SliceHeader> parseH264SliceHeader(const H264Sps& sps,
                                                    std::span<const std::uint8_t> unit);

}  // namespace quorvid
