// Questions about a whole tree of layers. Main thread.
#pragma once

#include <cstdint>

#include "quorvid/view/Layer.h"

namespace quorvid {

// Changes whenever composition would draw something else: the frames, colours, order and presented
// content of the tree.
std::uint64_t layerTreeVersion(CALayer& tree);

}  // namespace quorvid
