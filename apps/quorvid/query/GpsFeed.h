// GpsFeed: one run of the library's GPS poller on a thread of its own, and the tables it delivers.
//
// The poller fills the exported table and says so through two numbers: done becomes 1 after each
// poll, count follows. It then pauses for 4 s, in which the table may be copied; done is 0 again
// before the next record is written.
//
//   poller   records | done 1 | count N | 4 s .................. | done 0 | records
//   feed                                  count >= 0, copy, done still 1? count -1
//
// Nothing but the end of a poll writes count, so the feed puts -1 there and waits for a number. It
// stores the run flag anew after copying: the poller looks at that flag before it touches the table
// again, which orders its writes after the copy.
//
// One feed at a time, as there is one table. A feed that is let go asks its poller to end but does
// not wait for it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "apps/common/Arguments.h"
#include "apps/common/Deadline.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

class GpsFeed {
 public:
  explicit GpsFeed(const AccountTarget& target);
  ~GpsFeed();
  GpsFeed(const GpsFeed&) = delete;
  GpsFeed& operator=(const GpsFeed&) = delete;

  // The records of a poll that has ended since the last call.
  std::optional<std::vector<DevInfoItem>> newPoll();
  // Waits that long at most; true when the poller has returned (it could not connect).
  bool hasEnded(double seconds) { return worker_->waitFor(seconds); }

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
  std::unique_ptr<Abandonable<int>> worker_;
};

}  // namespace quorvid::app
