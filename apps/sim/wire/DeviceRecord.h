#pragma once

#include "sim/Options.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// Appends the 280-byte record of the device with this index. Everything that changes depends on
// `poll`.
void appendDeviceRecord(Bytes& out, const Options& options, std::size_t index, unsigned poll);

}  // namespace quorvid::sim
