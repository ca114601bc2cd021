#include "apps/quorvid/GpsFeed.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace quorvid::app {

struct GpsFeed::Shared {
  AccountTarget target;
  std::int32_t count = 0;
  std::int32_t done = 0;
  std::uint8_t run = 1;
};

GpsFeed::GpsFeed(const AccountTarget& target) : shared_(std::make_shared<Shared>()) {
  shared_->target = target;
  worker_ = std::make_unique<Abandonable<int>>([shared = shared_] {
    const AccountTarget& from = shared->target;
    return ThreadGetCarGPS(myDevInfoItemsForGPS, &shared->count, from.server.host.c_str(),
                           from.server.port, 0, from.account.c_str(), from.password.c_str(), "",
                           &shared->done, &shared->run);
  });
}

GpsFeed::~GpsFeed() {
  std::atomic_ref(shared_->run).store(0, std::memory_order_release);
}

std::optional<std::vector<DevInfoItem>> GpsFeed::newPoll() {
  std::atomic_ref done(shared_->done);
  if (done.load(std::memory_order_acquire) != 1) {
    return std::nullopt;
  }
  // The count is stored right after the flag.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::int32_t count = std::atomic_ref(shared_->count).load(std::memory_order_acquire);
  const DevInfoItem* const table = myDevInfoItemsForGPS;
  std::vector<DevInfoItem> devices(table, table + std::clamp(count, 0, 200));
  done.store(0, std::memory_order_relaxed);
  std::atomic_ref(shared_->run).store(1, std::memory_order_release);
  return devices;
}

}  // namespace quorvid::app
