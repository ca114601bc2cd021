// HostContext: keeps the host's GL context current across a call that needs one of the library's.
//
// Lives on the stack of the thread that makes the call. Idea: whatever foreign context (with its
// surfaces) was current when it was made is current again when it goes. When there was none, or one
// of the library's, nothing is put back.
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

 private:
  std::unique_ptr<GlBinding> host_;  // null when there is nothing to put back
};

}  // namespace quorvid
