// What the handles to a host and to a view hold. Both belong to one thread.
#pragma once

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "quorvid/live/LiveView.h"
#include "quorvid/quorvid.h"
#include "quorvid/view/ViewHost.h"

struct quorvid_host {
  const std::thread::id thread = std::this_thread::get_id();
  std::unique_ptr<quorvid::ViewHost> host;
  quorvid_get_proc_address getProcAddress = nullptr;
  std::string why;
  std::vector<std::weak_ptr<quorvid::LiveView>> views;
};

struct quorvid_view {
  const std::thread::id thread = std::this_thread::get_id();
  std::shared_ptr<quorvid::LiveView> view;
};

namespace quorvid::capi {

template <class Handle>
bool isOwnThread(const Handle& handle) {
  return std::this_thread::get_id() == handle.thread;
}

}  // namespace quorvid::capi
