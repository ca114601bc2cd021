#include "sim/media/SpsRewriter.h"

#include "h264/ParameterSets.h"
#include "sim/Error.h"

namespace quorvid::sim {

Bytes rewriteSps(ByteView unit) {
  const auto sps = h264::parseSps(unit);
  if (!sps || sps->profileIdc >= 100 || sps->picOrderCntType == 1 || !sps->frameMbsOnly ||
      sps->cropX != 0 || sps->cropY != 0) {
    throw SimError("the encoder's sequence parameter set is of a form that can't be rewritten");
  }
  Bytes rewritten = h264::withoutVui(*sps, unit);
  if (rewritten.size() > kSpsBytes) {
    throw SimError("pictures of " + std::to_string(sps->displayedWidth()) + "x" +
                   std::to_string(sps->displayedHeight()) +
                   " can't have a sequence parameter set of at most 9 bytes, which the key-frame "
                   "layout needs");
  }
  rewritten.resize(kSpsBytes);
  return rewritten;
}

}  // namespace quorvid::sim
