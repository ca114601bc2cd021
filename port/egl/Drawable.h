// Drawable: what a GL-backed layer was drawn into, a renderbuffer of the share group.
//
// It belongs to its layer and deletes the renderbuffer with itself, whichever context is current.
//
// Why a fence: layer and window draw in two contexts, and GL orders commands within one alone. The
// fence stands behind the layer's commands in its own context, and the window's reading waits for
// it: in the GPU where that can be, so that no thread stops.
#pragma once

#include <epoxy/egl.h>

#include <cstdint>
#include <memory>

#include "port/egl/ShareGroup.h"

namespace quorvid {

class Drawable {
 public:
  Drawable() = default;
  ~Drawable();
  Drawable(const Drawable&) = delete;
  Drawable& operator=(const Drawable&) = delete;

  // Gives the bound renderbuffer a storage, in a context of the group, which is current, and takes
  // the two over. The framebuffer that will hold it is bound.
  void allocate(const std::shared_ptr<ShareGroup>& group, std::uint32_t renderbuffer, int width,
                int height);
  // The layout that the next storage gets. True when the present one was asked for in another.
  bool wantLayout(StorageLayout layout);
  StorageLayout layout() const { return layout_; }
  // The renderbuffer is no longer this drawable's; it is not deleted.
  void lose();
  // Marks the content as complete: a new version, fenced in the current context.
  void present();
  // Makes the GPU (or, where that can't be, the caller) wait until the presented content is drawn.
  void waitUntilDrawn();

  const std::shared_ptr<ShareGroup>& group() const { return group_; }
  std::uint32_t renderbuffer() const { return renderbuffer_; }
  int width() const { return width_; }
  int height() const { return height_; }
  // Whether its rows lie from the top down: by its own framebuffer they are drawn as ever, read by
  // any other it is upside down.
  bool isTopFirst() const { return image_ != EGL_NO_IMAGE_KHR; }
  // An image of the storage, where it was made from one.
  EGLImageKHR image() const { return image_; }
  // Differs between any two storages of the process; 0 without one.
  std::uint64_t storage() const { return storage_; }
  // Counts presentations into this storage; 0 while it has no content to show.
  std::uint64_t version() const { return version_; }
  // Whether GL refused what would be drawn into, as the layer found.
  bool isRefused() const { return isRefused_; }
  void setRefused(bool refused) { isRefused_ = refused; }
  bool hasContent() const { return version_ > 0 && width_ > 0 && height_ > 0; }

 private:
  void adopt(const std::shared_ptr<ShareGroup>& group, std::uint32_t renderbuffer);
  void drop();
  void dropFence();
  void dropImage();

  std::shared_ptr<ShareGroup> group_;
  std::uint32_t renderbuffer_ = 0;
  std::uint32_t framebuffer_ = 0;  // bound as the storage was allocated: it will hold that
  int width_ = 0;
  int height_ = 0;
  bool isRefused_ = false;
  std::uint64_t storage_ = 0;
  std::uint64_t version_ = 0;
  StorageLayout layout_ = StorageLayout::Plain;  // as it is wanted
  EGLImageKHR image_ = EGL_NO_IMAGE_KHR;
  EGLSyncKHR fence_ = EGL_NO_SYNC_KHR;
};

}  // namespace quorvid
