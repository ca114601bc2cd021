// ShareGroup: the library's root OpenGL ES context, which every context of the library shares with.
//
// One group exists at a time, made with the first context and gone with the last of contexts,
// storages and windows. A group whose display the host has terminated is replaced for contexts made
// from then on; what belongs to the lost one only fails. Any thread.
//
// Lock order: the root's before the owners'; the one behind shared() is held alone. No call out of
// the class is made under the last two.
#pragma once

#include <epoxy/egl.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "port/egl/GlBinding.h"
#include "port/egl/Storage.h"

namespace quorvid {

class Drawable;

class ShareGroup {
 public:
  // The present group, made when there is none: on the display of the thread's current EGL context,
  // else on Mesa's surfaceless one, else on the default one. Null, with a line in the log, when
  // none of them offers OpenGL ES 2.
  static std::shared_ptr<ShareGroup> shared();
  // The present group if there is one.
  static std::shared_ptr<ShareGroup> existing();
  ~ShareGroup();
  ShareGroup(const ShareGroup&) = delete;
  ShareGroup& operator=(const ShareGroup&) = delete;

  EGLDisplay display() const { return display_; }
  EGLContext root() const { return root_; }
  // EGL_NO_CONTEXT when the display refuses.
  EGLContext createContext() const;
  bool isLost() const;
  // What the display offers: fences, a wait for them inside the GPU, images of renderbuffers, and
  // storages in the layout of a window. Asked once, when the group is made.
  bool hasFences() const { return hasFences_; }
  bool waitsInGpu() const { return waitsInGpu_; }
  bool hasImages() const { return hasImages_; }
  bool hasWindowStorage() const { return hasWindowStorage_; }

  // The layout that new storages get: of the framebuffer that was drawn into last.
  StorageLayout layout() const { return layout_; }
  void setLayout(StorageLayout layout) { layout_ = layout; }

  // Which drawable's storage a renderbuffer of the group is. A name is taken over by whoever claims
  // it last, because names are used again once they were deleted.
  void claim(std::uint32_t renderbuffer, Drawable* owner);
  void disclaim(std::uint32_t renderbuffer, const Drawable* owner);
  Drawable* ownerOf(std::uint32_t renderbuffer);

  // Makes the root current on this thread for as long as it lives; one thread at a time.
  class Scope {
   public:
    explicit Scope(ShareGroup& group);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    explicit operator bool() const { return current_; }

   private:
    std::lock_guard<std::mutex> lock_;
    GlBinding former_;
    bool current_;
  };

 private:
  ShareGroup(EGLDisplay display, EGLConfig config);
  static std::shared_ptr<ShareGroup> make();
  static std::shared_ptr<ShareGroup> makeOn(EGLDisplay display);
  void findExtensions();

  const EGLDisplay display_;
  const EGLConfig config_;
  EGLContext root_ = EGL_NO_CONTEXT;  // none only while it is made
  bool hasFences_ = false;
  bool waitsInGpu_ = false;
  bool hasImages_ = false;
  bool hasWindowStorage_ = false;
  std::atomic<StorageLayout> layout_ = StorageLayout::Plain;
  std::mutex rootMutex_;    // held while the root is current: EGL lets one thread have it
  std::mutex ownersMutex_;  // guards owners_, which layers of several threads change
  std::map<std::uint32_t, Drawable*> owners_;
};

}  // namespace quorvid
