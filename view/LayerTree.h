// What concerns a whole tree of layers. Main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "port/egl/Storage.h"
#include "quorvid/view/Layer.h"

namespace quorvid {

// Changes whenever composition would draw something else: the frames, colours, order and presented
// content of the tree.
std::uint64_t layerTreeVersion(CALayer& tree);
// Gives the layers with GL content that many pixels a point. Those that had another number are
// drawn anew.
void setLayerTreeScale(CALayer& tree, CGFloat scale);
// Lets their storages have that layout. Those that had another are drawn anew.
void setLayerTreeLayout(CALayer& tree, StorageLayout layout);
// The layers with GL content.
std::vector<std::weak_ptr<CALayer>> contentLayers(CALayer& tree);

}  // namespace quorvid
