#pragma once

#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// The place of the sequence parameter set in a key frame has this many bytes (the start code not
// counted): clients cut key frames at fixed places. A shorter set is filled up with zeros.
constexpr std::size_t kSpsBytes = 9;

// Rewrites a sequence parameter set of the baseline or main profile so that it fills kSpsBytes.
// The usability information (which carries the colours and the clock) is dropped; behind a set
// that is shorter then, as that of 352x288, there are zeros.
// @param sps a NAL unit of type 7, without start code
// @throws SimError for a picture size whose set is longer
Bytes rewriteSps(ByteView sps);

}  // namespace quorvid::sim
