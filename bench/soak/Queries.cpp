#include "soak/Queries.h"

#include "base/Clock.h"
#include "connection/SharedValue.h"

namespace soak {

using quorvid::steadySeconds;

namespace {

constexpr double kListEvery = 2;    // seconds after the last one
constexpr double kPollerStay = 20;  // at one server
constexpr double kPollerPause = 1;  // after one that can't be reached
constexpr double kStep = 0.05;

}  // namespace

void Queries::begin() {
  lister_ = {};
  poller_ = {};
  isResting_ = false;
  movePollerAt_ = steadySeconds() + kPollerStay;
  lister_ = std::jthread([this, seed = course_.chance()()] { askForLists(std::mt19937(seed)); });
  poller_ = std::jthread([this, seed = course_.chance()()] { poll(std::mt19937(seed)); });
}

void Queries::turn() {
  if (std::atomic_ref(pollCount_).exchange(-1) >= 0) ++polls_;
  if (steadySeconds() < movePollerAt_) return;
  movePollerAt_ = steadySeconds() + kPollerStay;
  StopCarGPS(&runsPoller_);
}

void Queries::rest() {
  isResting_ = true;
  StopCarGPS(&runsPoller_);
}

void Queries::askForLists(std::mt19937 chance) {
  while (!isResting_) {
    const Server& server = course_.servers()[chance() % course_.servers().size()];
    std::int32_t count = 0, done = 0;
    const std::int32_t result = ThreadGetListForCar(listed_.data(), &count, "127.0.0.1",
                                                    server.list, 0, "soak", "b", "", &done);
    if (result == 0 && count > 0) ++lists_;
    pause(kListEvery);
  }
}

void Queries::poll(std::mt19937 chance) {
  while (!isResting_) {
    const Server& server = course_.servers()[chance() % course_.servers().size()];
    if (server.polled == 0) continue;
    quorvid::publish(&runsPoller_, 1);
    if (isResting_) break;  // what ended the poller came before there was one
    ThreadGetCarGPS(myDevInfoItemsForGPS, &pollCount_, "127.0.0.1", server.polled, 0, "soak", "b",
                    "", &pollDone_, &runsPoller_);
    pause(kPollerPause);
  }
}

void Queries::pause(double seconds) const {
  const double end = steadySeconds() + seconds;
  while (!isResting_ && steadySeconds() < end) quorvid::sleepForTimeInterval(kStep);
}

}  // namespace soak
