#include "bench/link/Lane.h"

#include <algorithm>
#include <utility>

namespace quorvid::bench {
namespace {

constexpr std::size_t kBuffer = 64 * 1024;

Clock::duration ticks(double seconds) {
  return std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
}

}  // namespace

void Lane::push(Packet packet, const Conditions& conditions, Clock::time_point now) {
  if (happens(conditions.loss)) return;
  sentUntil_ = std::max(sentUntil_, now);
  if (conditions.rate > 0) {
    const std::size_t buffer = conditions.buffer > 0 ? conditions.buffer : kBuffer;
    const double waiting = Seconds(sentUntil_ - now).count() * conditions.rate / 8;
    if (waiting > static_cast<double>(buffer)) return;
    sentUntil_ += ticks(8 * static_cast<double>(packet.size()) / conditions.rate);
  }
  const double jitter = std::uniform_real_distribution<double>(-1, 1)(random_) * conditions.jitter;
  last_ = std::max(last_, sentUntil_ + ticks(std::max(0.0, conditions.delay + jitter)));
  const bool isHeldBack = happens(conditions.reorder);
  waiting_.emplace(isHeldBack ? last_ + kHeldBack : last_, std::move(packet));
}

std::optional<Packet> Lane::take(Clock::time_point now) {
  const auto first = waiting_.begin();
  if (first == waiting_.end() || first->first > now) return std::nullopt;
  Packet packet = std::move(first->second);
  waiting_.erase(first);
  return packet;
}

std::optional<Clock::time_point> Lane::next() const {
  if (waiting_.empty()) return std::nullopt;
  return waiting_.begin()->first;
}

}  // namespace quorvid::bench
