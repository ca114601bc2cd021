#include "apps/quorvid/query/GpsFeed.h"

#include <algorithm>
#include <atomic>

namespace quorvid::app {

namespace {
constexpr std::int32_t kNoPollYet = -1;
}

struct GpsFeed::Shared {
  AccountTarget target;
  std::int32_t count = kNoPollYet;
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
  StopCarGPS(&shared_->run);
}

std::optional<std::vector<DevInfoItem>> GpsFeed::newPoll() {
  const std::atomic_ref done(shared_->done);
  const std::atomic_ref count(shared_->count);
  const std::int32_t records = count.load(std::memory_order_acquire);
  if (records == kNoPollYet || done.load(std::memory_order_acquire) != 1) return std::nullopt;
  const DevInfoItem* const table = myDevInfoItemsForGPS;
  std::vector<DevInfoItem> devices(table, table + std::clamp(records, 0, 200));
  const bool whole = done.fetch_add(0, std::memory_order_acq_rel) == 1;  // after the copy
  count.store(kNoPollYet, std::memory_order_relaxed);
  std::atomic_ref(shared_->run).store(1, std::memory_order_release);
  return whole ? std::optional(std::move(devices)) : std::nullopt;
}

}  // namespace quorvid::app
