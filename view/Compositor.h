// Compositor: draws a tree of layers into the framebuffer that is bound in a host's GL context.
//
// One compositor serves one context at a time (OpenGL ES 3 or OpenGL 3 or later, of EGL or GLX; in
// OpenGL ES a framebuffer with one sample a pixel). Idea: backgrounds are scissored clears, GL
// content is blitted; so no program, vertex array or texture unit of the host is touched, and what
// is touched is put back. A software renderer finishes all clears before a blit: so what content in
// front covers is not cleared, and content waits until a background is due that touches it, or the
// end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "quorvid/view/Layer.h"
#include "view/HostGl.h"
#include "view/HostPicture.h"
#include "view/ScaledPicture.h"

namespace quorvid {

// Pixels of the framebuffer; the origin is at its lower left, as for glViewport.
struct PixelRect {
  int x = 0, y = 0, width = 0, height = 0;
};

class Compositor {
 public:
  Compositor() = default;
  Compositor(const Compositor&) = delete;
  Compositor& operator=(const Compositor&) = delete;

  // Stretches the tree's bounds over the region and draws it there, nothing outside. Returns why
  // the current context or framebuffer can't be drawn into; empty when it was.
  std::string draw(CALayer& tree, const PixelRect& region);
  // The layout of storages that are copied to the framebuffer that is bound fastest.
  StorageLayout layout();
  // Deletes what was made in the host's context, if that is current; forgets it in any case.
  void release();

 private:
  struct Pass;
  std::string prepare();
  struct Item {
    Drawable* content;  // null: a background
    CGColorRef color;
    PixelRect target;
  };
  void collect(const Pass& pass, CALayer& layer, CGPoint origin);
  void drawItems(const Pass& pass);
  void uncover(std::size_t index);
  void drawContents(const Pass& pass, std::size_t begin, std::size_t end);
  void drawContent(const Pass& pass, Drawable& drawable, const PixelRect& target);
  void drawScaled(const Pass& pass, Drawable& drawable, const PixelRect& target);
  void dropUnused();

  struct Entry {
    HostPicture picture;
    bool used = false;
  };
  // During draw(); kept for their memory. Items in the order of the tree, back to front; what of a
  // background is seen.
  std::vector<Item> items_;
  std::vector<PixelRect> seen_, rest_;
  std::unordered_map<std::uint64_t, Entry> pictures_;  // by Drawable::storage()
  ScaledPicture scaled_;
  const void* context_ = nullptr;  // the one that pictures_ and scaled_ were made in
  bool drawsWindow_ = false;       // that context has drawn into a window's own framebuffer
  HostGl host_;
};

}  // namespace quorvid
