#include "sim/media/SpsRewriter.h"

#include "sim/Error.h"
#include "sim/media/BitStream.h"

namespace quorvid::sim {
namespace {

/* A sequence parameter set of the profiles without chroma format fields:
     forbidden_zero 1, nal_ref_idc 2, nal_unit_type 5 (= 7)
     profile_idc 8, constraint flags 8, level_idc 8
     seq_parameter_set_id ue, log2_max_frame_num_minus4 ue
     pic_order_cnt_type ue [0: log2_max_pic_order_cnt_lsb_minus4 ue]
     max_num_ref_frames ue, gaps_in_frame_num_value_allowed 1
     pic_width_in_mbs_minus1 ue, pic_height_in_map_units_minus1 ue
     frame_mbs_only 1, direct_8x8_inference 1
     frame_cropping 1, vui_parameters_present 1, stop bit and alignment */
struct Sps {
  std::uint32_t header = 0;
  std::uint32_t profile = 0;
  std::uint32_t constraints = 0;
  std::uint32_t level = 0;
  std::uint32_t id = 0;
  std::uint32_t frameNumBits = 0;
  std::uint32_t orderType = 0;
  std::uint32_t orderBits = 0;
  std::uint32_t references = 0;
  bool gaps = false;
  std::uint32_t widthMinus1 = 0;
  std::uint32_t heightMinus1 = 0;
  bool direct8x8 = false;
};

Sps parse(ByteView unit) {
  const Bytes payload = removeEmulationPrevention(unit);
  BitReader in(payload);
  Sps sps;
  sps.header = in.bits(8);
  sps.profile = in.bits(8);
  sps.constraints = in.bits(8);
  sps.level = in.bits(8);
  sps.id = in.ue();
  sps.frameNumBits = in.ue();
  sps.orderType = in.ue();
  if (sps.orderType == 0) sps.orderBits = in.ue();
  sps.references = in.ue();
  sps.gaps = in.flag();
  sps.widthMinus1 = in.ue();
  sps.heightMinus1 = in.ue();
  const bool framesOnly = in.flag();
  sps.direct8x8 = in.flag();
  const bool cropped = in.flag();
  if (in.overrun() || (sps.header & 31) != 7 || sps.profile >= 100 || sps.orderType == 1 ||
      !framesOnly || cropped) {
    throw SimError("the encoder's sequence parameter set is of a form that can't be rewritten");
  }
  return sps;
}

Bytes write(const Sps& sps) {
  BitWriter out;
  out.bits(sps.header, 8);
  out.bits(sps.profile, 8);
  out.bits(sps.constraints, 8);
  out.bits(sps.level, 8);
  out.ue(sps.id);
  out.ue(sps.frameNumBits);
  out.ue(sps.orderType);
  if (sps.orderType == 0) out.ue(sps.orderBits);
  out.ue(sps.references);
  out.flag(sps.gaps);
  out.ue(sps.widthMinus1);
  out.ue(sps.heightMinus1);
  out.flag(true);
  out.flag(sps.direct8x8);
  out.flag(false);
  out.flag(false);
  out.trailing();
  return addEmulationPrevention(out.bytes());
}

}  // namespace

Bytes rewriteSps(ByteView unit) {
  const Sps sps = parse(unit);
  Bytes rewritten = write(sps);
  if (rewritten.size() > kSpsBytes) {
    throw SimError("pictures of " + std::to_string((sps.widthMinus1 + 1) * 16) + "x" +
                   std::to_string((sps.heightMinus1 + 1) * 16) +
                   " can't have a sequence parameter set of at most 9 bytes, which the key-frame "
                   "layout needs");
  }
  rewritten.resize(kSpsBytes);
  return rewritten;
}

}  // namespace quorvid::sim
