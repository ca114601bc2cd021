// PositionPoller: the records of a server's devices every few seconds, until stopped. Main thread;
// the library's poller has a thread of its own, and there is one at a time: a new target waits for
// the former one's end, and nobody waits for either.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "apps/desk/devices/DeviceQuery.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

// The library's poller asks a server without records again at once. So a plain query comes first;
// the poller runs only behind one that had records, and is stopped as soon as none come any more.
//
//   start -> query -> records -> pause -> poller: records, records ... -> none come -> query
//                  -> trouble -> longer pause -> query
class PositionPoller {
 public:
  using Polled = std::function<void(const std::vector<DevInfoItem>&)>;
  using Troubled = std::function<void(QueryOutcome)>;
  struct Pauses {  // milliseconds
    unsigned afterQuery = 4000;
    unsigned afterTrouble = 10000;
    unsigned withoutRecords = 1500;  // as long the poller may run that gets none
  };

  PositionPoller(Polled polled, Troubled troubled, Pauses pauses);
  PositionPoller(Polled polled, Troubled troubled)
      : PositionPoller(std::move(polled), std::move(troubled), Pauses{}) {}
  ~PositionPoller() { stop(); }
  PositionPoller(const PositionPoller&) = delete;
  PositionPoller& operator=(const PositionPoller&) = delete;

  void start(const QueryTarget& target);
  // Nothing is told any more.
  void stop();
  // That the library's poller has a thread, perhaps one that ends.
  bool isUnderWay() const { return run_ != nullptr; }

 private:
  struct Run;

  void ask();
  void take(const QueryAnswer& answer);
  void begin();
  void look();
  void ended();
  void after(unsigned milliseconds, void (PositionPoller::*step)());

  Polled polled_;
  Troubled troubled_;
  Pauses pauses_;
  std::optional<QueryTarget> wanted_;
  std::optional<QueryTarget> asked_;  // by the query under way
  std::shared_ptr<Run> run_;
  std::int64_t lastRecords_ = 0;  // microseconds
  Source looking_;
  Source pause_;
  Life queries_;
  Life runs_;
};

}  // namespace quorvid::desk
