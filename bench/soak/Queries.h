// Queries: a device list every few seconds and a poller of positions, by the blocking calls, each
// on a thread of its own. One thread makes all calls.
#pragma once

#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "quorvid/connection/VehicleConnection.h"
#include "soak/Course.h"

namespace soak {

class Queries {
 public:
  explicit Queries(Course& course) : course_(course) {}
  ~Queries() { rest(); }
  Queries(const Queries&) = delete;
  Queries& operator=(const Queries&) = delete;

  // Waits for the threads of before, which a silent server may hold for 10 s.
  void begin();
  void turn();
  // The threads end soon.
  void rest();
  // Lists and polls that were complete.
  unsigned long answered() const { return lists_ + polls_; }

 private:
  void askForLists(std::mt19937 chance);
  void poll(std::mt19937 chance);
  void pause(double seconds) const;

  Course& course_;
  std::atomic<bool> isResting_ = true;
  std::atomic<unsigned long> lists_ = 0;
  unsigned long polls_ = 0;
  double movePollerAt_ = 0;
  std::vector<DevInfoItem> listed_ = std::vector<DevInfoItem>(200);
  std::int32_t pollCount_ = -1, pollDone_ = 0;
  std::uint8_t runsPoller_ = 0;
  std::jthread lister_, poller_;
};

}  // namespace soak
