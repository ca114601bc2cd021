// Values: the C interface's plain structs, from and to those of the library.
#pragma once

#include <optional>

#include "quorvid/live/LiveStatus.h"
#include "quorvid/quorvid.h"

namespace quorvid::capi {

// Nothing without a size or with an unknown path. Texts that are null become empty.
std::optional<LiveTarget> targetOf(const quorvid_target* target);
quorvid_status statusOf(const LiveStatus& status);
quorvid_figures figuresOf(const LiveFigures& figures);

}  // namespace quorvid::capi
