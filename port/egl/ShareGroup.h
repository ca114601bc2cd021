// ShareGroup: the library's root OpenGL ES context, which every context of the library shares with.
//
// One group exists at a time, made with the first context and gone with the last of contexts,
// storages and windows. A group whose display the host has terminated is replaced for contexts made
// from then on; what belongs to the lost one only fails.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "port/egl/EglBinding.h"

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
  bool hasExtension(const char* name) const;

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
    EglBinding former_;
    bool current_;
  };

 private:
  ShareGroup(EGLDisplay display, EGLConfig config, EGLContext root);
  static std::shared_ptr<ShareGroup> make();
  static std::shared_ptr<ShareGroup> makeOn(EGLDisplay display);

  EGLDisplay display_;
  EGLConfig config_;
  EGLContext root_;
  std::mutex rootMutex_;
  std::mutex ownersMutex_;
  std::map<std::uint32_t, Drawable*> owners_;
};

}  // namespace quorvid
