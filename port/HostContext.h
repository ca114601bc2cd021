// HostContext: keeps the host's GL context current across a call that needs one of the library's.
//
// Lives on the stack of the thread that makes the call. Idea: whatever foreign context (with its
// surfaces) was current when it was made is current again when it goes. One of the library's that
// was current is left as it is. When there was none, the library's stays current, but on a thread
// that embed() was called on, and where GLX is in the process: a toolkit that makes its GLX context
// current while EGL has one gets a BadAccess from its X server, which ends the process by default.
#pragma once

#include <cstdint>
#include <optional>

namespace quorvid {

// What a thread has current, in the port's own terms.
struct BoundContext {
  void* display = nullptr;  // an EGLDisplay, or GLX's connection to the X server
  std::uintptr_t draw = 0;  // an EGLSurface, or a drawable of the X server
  std::uintptr_t read = 0;
  void* context = nullptr;  // null: nothing is current
  bool glx = false;

  friend bool operator==(const BoundContext&, const BoundContext&) = default;
};

class HostContext {
 public:
  HostContext();
  ~HostContext();
  HostContext(const HostContext&) = delete;
  HostContext& operator=(const HostContext&) = delete;

  // The calling thread draws for a host from now on: nothing of the library stays current on it.
  static void embed();

 private:
  std::optional<BoundContext> host_;  // what to put back; nothing: leave all as it is
};

}  // namespace quorvid
