// HostContext: keeps the host's GL context current across a call that needs one of the library's.
//
// Lives on the stack of the thread that makes the call. Idea: whatever foreign context (with its
// surfaces) was current when it was made is current again when it goes. One of the library's that
// was current is left as it is. When there was none, the library's stays current, but on a thread
// that embed() was called on, and where GLX is in the process: a toolkit that makes its GLX context
// current while EGL has one gets a BadAccess from its X server, which ends the process by default.
#pragma once

#include <memory>

namespace quorvid {

struct GlBinding;

class HostContext {
 public:
  HostContext();
  ~HostContext();
  HostContext(const HostContext&) = delete;
  HostContext& operator=(const HostContext&) = delete;

  // The calling thread draws for a host from now on: nothing of the library stays current on it.
  static void embed();

 private:
  std::unique_ptr<GlBinding> host_;  // what to put back; null: leave all as it is
};

}  // namespace quorvid
