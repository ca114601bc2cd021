#include "apps/desk/positions/PositionPoller.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "apps/desk/toolkit/Signals.h"

namespace quorvid::desk {

namespace {

constexpr std::int32_t kNoPollYet = -1;
constexpr unsigned kLookMilliseconds = 100;

}  // namespace

// One call of the library's poller, shared with its thread: it may end long after it was stopped.
struct PositionPoller::Run {
  QueryTarget target;
  std::array<DevInfoItem, 200> items{};
  std::int32_t count = kNoPollYet;
  std::int32_t done = 0;
  std::uint8_t run = 1;
  std::int32_t seen = 0;  // of carCount

  int poll() {
    blockSignals();
    return ThreadGetCarGPS(items.data(), &count, target.host.c_str(), target.port, 0,
                           target.account.c_str(), target.password.c_str(), "", &done, &run);
  }

  bool isResting() { return std::atomic_ref(done).load(std::memory_order_acquire) == 1; }
  bool grows() {
    const std::int32_t now = std::atomic_ref(carCount).load(std::memory_order_acquire);
    return std::exchange(seen, now) != now && now > 0;
  }
  // The records of a poll that has ended since the last call.
  std::optional<std::vector<DevInfoItem>> newPoll() {
    const std::atomic_ref number(count);
    const std::int32_t records = number.load(std::memory_order_acquire);
    if (records == kNoPollYet || !isResting()) return std::nullopt;
    std::vector<DevInfoItem> copy(items.begin(), items.begin() + std::clamp(records, 0, 200));
    const bool whole = std::atomic_ref(done).fetch_add(0, std::memory_order_acq_rel) == 1;
    number.store(kNoPollYet, std::memory_order_relaxed);
    // The poller looks at the flag before it writes the table again: its writes come after the
    // copy.
    std::atomic_ref(run).store(1, std::memory_order_release);
    return whole ? std::optional(std::move(copy)) : std::nullopt;
  }
};

PositionPoller::PositionPoller(Polled polled, Troubled troubled, Pauses pauses)
    : polled_(std::move(polled)), troubled_(std::move(troubled)), pauses_(pauses) {}

void PositionPoller::start(const QueryTarget& target) {
  if (wanted_ == target) return;
  stop();
  wanted_ = target;
  if (run_ == nullptr && asked_ != target) ask();
}

void PositionPoller::stop() {
  wanted_.reset();
  pause_.stop();
  looking_.stop();
  if (run_ != nullptr) StopCarGPS(&run_->run);
}

void PositionPoller::after(unsigned milliseconds, void (PositionPoller::*step)()) {
  pause_ = Source::every(milliseconds, [this, step] {
    pause_.stop();
    (this->*step)();
  });
}

void PositionPoller::ask() {
  queries_.reset();
  asked_ = wanted_;
  const auto done = [this](const QueryAnswer& answer) {
    asked_.reset();
    if (wanted_) take(answer);
  };
  if (!runTask(
          queries_, [target = *wanted_] { return askForDevices(target); }, done)) {
    done({QueryOutcome::Unreachable, {}});
  }
}

void PositionPoller::take(const QueryAnswer& answer) {
  if (answer.records.empty()) {
    after(pauses_.afterTrouble, &PositionPoller::ask);
    return troubled_(answer.outcome);
  }
  after(pauses_.afterQuery, &PositionPoller::begin);
  polled_(answer.records);
}

void PositionPoller::begin() {
  auto run = std::make_shared<Run>();
  run->target = *wanted_;
  lastRecords_ = g_get_monotonic_time();
  if (!runTask(
          runs_, [run] { return run->poll(); }, [this](int) { ended(); })) {
    return after(pauses_.afterTrouble, &PositionPoller::ask);
  }
  run_ = std::move(run);
  looking_ = Source::every(kLookMilliseconds, [this] { look(); });
}

void PositionPoller::look() {
  const std::int64_t now = g_get_monotonic_time();
  if (run_->isResting() || run_->grows()) lastRecords_ = now;
  if (const auto records = run_->newPoll()) return polled_(*records);
  if (now - lastRecords_ < pauses_.withoutRecords * std::int64_t{1000}) return;
  looking_.stop();
  StopCarGPS(&run_->run);
}

// Stopped, or the server can't be reached: a query finds out.
void PositionPoller::ended() {
  run_.reset();
  looking_.stop();
  if (wanted_ && asked_ != wanted_) ask();
}

}  // namespace quorvid::desk
