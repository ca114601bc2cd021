#include "view/LayerTree.h"

#include <algorithm>
#include <bit>

#include "port/egl/Drawable.h"
#include "quorvid/view/EAGLLayer.h"

namespace quorvid {
namespace {

// FNV-1a over 64-bit words.
class Hash {
 public:
  void add(std::uint64_t word) { value_ = (value_ ^ word) * 0x100000001B3ULL; }
  void add(double number) { add(std::bit_cast<std::uint64_t>(number)); }
  void add(const CGColorRef& color) {
    add(double{color.red});
    add(double{color.green});
    add(double{color.blue});
    add(double{color.alpha});
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325ULL;
};

void addLayer(Hash& hash, CALayer& layer) {
  const CGRect frame = layer.frame();
  hash.add(frame.origin.x);
  hash.add(frame.origin.y);
  hash.add(frame.size.width);
  hash.add(frame.size.height);
  hash.add(layer.backgroundColor());
  if (const Drawable* drawable = layer.drawable(); drawable != nullptr && drawable->hasContent()) {
    hash.add(drawable->storage());
    hash.add(drawable->version());
  }
  hash.add(std::uint64_t{layer.sublayers().size()});
  for (const auto& sublayer : layer.sublayers()) {
    addLayer(hash, *sublayer);
  }
}

// The questions of every composition, which mostly finds nothing to do.
template <class Test>
bool hasContentWhere(CALayer& layer, const Test& test) {
  if (layer.drawable() != nullptr && test(layer)) return true;
  return std::any_of(layer.sublayers().begin(), layer.sublayers().end(),
                     [&](const auto& sublayer) { return hasContentWhere(*sublayer, test); });
}

void collectContent(CALayer& layer, std::vector<std::weak_ptr<CALayer>>& all) {
  if (layer.drawable() != nullptr) all.push_back(layer.weak_from_this());
  for (const auto& sublayer : layer.sublayers()) collectContent(*sublayer, all);
}

}  // namespace

std::uint64_t layerTreeVersion(CALayer& tree) {
  Hash hash;
  addLayer(hash, tree);
  return hash.value();
}

std::vector<std::weak_ptr<CALayer>> contentLayers(CALayer& tree) {
  std::vector<std::weak_ptr<CALayer>> all;
  collectContent(tree, all);
  return all;
}

void setLayerTreeScale(CALayer& tree, CGFloat scale) {
  if (!hasContentWhere(tree, [=](CALayer& layer) { return layer.contentsScale() != scale; })) {
    return;
  }
  for (const auto& entry : contentLayers(tree)) {
    const auto layer = std::dynamic_pointer_cast<CAEAGLLayer>(entry.lock());
    if (layer == nullptr || layer->contentsScale() == scale) continue;
    layer->setContentsScale(scale);
    layer->renewContent();
  }
}

void setLayerTreeLayout(CALayer& tree, StorageLayout layout) {
  if (!hasContentWhere(tree,
                       [=](CALayer& layer) { return layer.drawable()->layout() != layout; })) {
    return;
  }
  for (const auto& entry : contentLayers(tree)) {
    const auto layer = std::dynamic_pointer_cast<CAEAGLLayer>(entry.lock());
    if (layer != nullptr && layer->drawable()->wantLayout(layout)) layer->renewContent();
  }
}

}  // namespace quorvid
