#pragma once

#include "sim/Bytes.h"

namespace quorvid::sim {

/// Recorders send a sequence parameter set of exactly this many bytes (its start code not counted),
/// and clients cut key frames at fixed places because of it.
constexpr std::size_t kSpsBytes = 9;

/// Rewrites a sequence parameter set of the baseline or main profile so that it has exactly
/// kSpsBytes. The usability information (which carries the colours and the clock) is dropped; a set
/// that is still too short, of a small picture, gets a larger number of reference frames, which the
/// pictures never use.
/// @param sps a NAL unit of type 7, without start code
/// @throws SimError for a picture size that can't have a set of this length
Bytes rewriteSps(ByteView sps);

}  // namespace quorvid::sim
