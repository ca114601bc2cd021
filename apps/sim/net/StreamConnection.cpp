#include "sim/net/StreamConnection.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace quorvid::sim {
namespace {

constexpr std::chrono::milliseconds kEncoderPause{5};
constexpr std::size_t kFloodWaiting = 3;  // messages; beyond them the client doesn't keep up

std::chrono::steady_clock::duration seconds(double count) {
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(count));
}

}  // namespace

StreamConnection::StreamConnection(asio::ip::tcp::socket from, const Options& options,
                                   Service service, unsigned number, LoopStore& loops,
                                   SendLog& sendLog)
    : Connection(std::move(from), options, service, number),
      loops_(loops),
      sendLog_(sendLog),
      name_(fmt::format("{}#{}", nameOf(service), number)),
      writer_(service, faults()),
      pace_(socket().get_executor()),
      limit_(socket().get_executor()) {
  sendLog_.accepted(name_);
}

void StreamConnection::answer(const Order& order) {
  const std::string reason = notServed(order);
  if (!reason.empty()) {
    log("refused: " + reason);
    send(writer_.opening(1));
    return endWhenSent();
  }
  if (const auto count = faults().find(FaultKind::Random)) {
    log("random bytes instead of a stream");
    send(faults().randomBytes(static_cast<std::size_t>(*count)));
    return endWhenSent();
  }
  if (const auto status = faults().find(FaultKind::Answer)) {
    log(fmt::format("answered with status {}", *status));
    send(writer_.opening(static_cast<std::int32_t>(*status)));
    return endWhenSent();
  }
  play(order);
}

std::string StreamConnection::notServed(const Order& order) const {
  const auto& devices = options().devices;
  if (options().onlyTheseDevices &&
      std::find(devices.begin(), devices.end(), order.device) == devices.end()) {
    return fmt::format("device '{}' is not served", order.device);
  }
  if (order.channel < options().channels) return {};
  return fmt::format("channel {} is not served", order.channel);
}

void StreamConnection::play(const Order& order) {
  log(fmt::format("device '{}' channel {}", order.device, order.channel));
  cursor_.emplace(loops_.loopFor(order.device, order.channel));
  send(writer_.opening(0));
  burst_ = static_cast<int>(std::max<std::int64_t>(1, faults().find(FaultKind::Burst).value_or(1)));
  maxWaiting_ = static_cast<std::size_t>(std::max(5.0, av_q2d(cursor_->loop().rate())) *
                                         (1 + options().audio)) +
                static_cast<std::size_t>(2 * burst_);
  setLimits();
  due_ = Clock::now();
  tick();
}

void StreamConnection::setLimits() {
  const bool drop = options().dropAfter.has_value();
  if (!drop && !options().stallAfter) return;
  limit_.expires_after(seconds(drop ? *options().dropAfter : *options().stallAfter));
  limit_.async_wait([this, drop, self = shared_from_this()](std::error_code error) {
    if (error) return;
    log(drop ? "dropped, as asked" : "silent from now on, as asked");
    if (drop) return end(options().close);
    pace_.cancel();
    cursor_.reset();
  });
}

StreamConnection::Clock::duration StreamConnection::period() const {
  return seconds(av_q2d(av_inv_q(cursor_->loop().rate())));
}

// Moves to the next key frame on the loop's clock, which began with the Unix time.
bool StreamConnection::joinLive() {
  const auto length = cursor_->loop().length();
  if (!length) return false;
  const auto now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  const double rate = av_q2d(cursor_->loop().rate());
  auto position = static_cast<std::size_t>(std::floor(now * rate)) + 1;
  while (!cursor_->loop().look(position).frame->key) ++position;
  cursor_->moveTo(position);
  due_ = Clock::now() + seconds(static_cast<double>(position) / rate - now);
  return true;
}

void StreamConnection::wait() {
  pace_.expires_at(due_);
  pace_.async_wait([this, self = shared_from_this()](std::error_code error) {
    if (!error && !ended() && cursor_) tick();
  });
}

void StreamConnection::tick() {
  const std::string failure = cursor_->loop().failure();
  if (!failure.empty()) return refuse(failure);
  if (options().live && !joined_) {
    joined_ = joinLive();
    if (!joined_) due_ = Clock::now() + kEncoderPause;
    return wait();
  }
  for (; burstSent_ < burst_; ++burstSent_) {
    if (!step()) {
      due_ = Clock::now() + kEncoderPause;
      return wait();
    }
  }
  burstSent_ = 0;
  setDue();
  wait();
}

void StreamConnection::setDue() {
  const auto flood = faults().find(FaultKind::Flood);
  if (flood && frameNumber_ < *flood) {
    due_ = Clock::now() + (waiting() < kFloodWaiting ? Clock::duration{} : kEncoderPause);
    return;
  }
  due_ += burst_ * period();
  // After a pause of the whole process the frames go on from here, instead of all at once.
  if (due_ + std::chrono::seconds(1) < Clock::now()) due_ = Clock::now();
}

// @return false when the next frame is not encoded yet
bool StreamConnection::step() {
  const auto frame = cursor_->next();
  if (!frame) return false;
  ++frameNumber_;
  if (!leftOut(*frame)) deliver(*frame);
  return true;
}

bool StreamConnection::leftOut(const EncodedFrame& frame) {
  if (skipping_ && frame.key && waiting() == 0) {
    log(fmt::format("goes on with frame {}", frameNumber_));
    skipping_ = false;
  }
  if (!skipping_ && waiting() > maxWaiting_) {
    log(fmt::format("does not keep up: frames are left out from {}", frameNumber_));
    skipping_ = true;
  }
  const auto gap = static_cast<std::uint32_t>(options().gap);
  const bool inGap = gap > 0 && frameNumber_ % gap == 0 && !frame.key;
  const auto lost = faults().find(FaultKind::Lose);
  const bool isLost = lost && *lost > 0 && frameNumber_ % *lost == 0;
  return skipping_ || inGap || isLost;
}

// About one byte in a hundred, any of them: parameter sets and slice headers as well.
void StreamConnection::change(Bytes& payload) {
  const Bytes random = faults().randomBytes(5 * (1 + payload.size() / 100));
  for (std::size_t i = 0; i + 5 <= random.size(); i += 5) {
    std::size_t place = 0;
    for (std::size_t j = 0; j < 4; ++j) place = place << 8 | random[i + j];
    payload[place % payload.size()] = random[i + 4];
  }
}

void StreamConnection::deliver(const EncodedFrame& frame) {
  const auto noise = faults().find(FaultKind::Noise);
  Bytes changed;
  if (noise && *noise > 0 && frameNumber_ % *noise == 0) {
    changed = faults().randomBytes(frame.bytes.size());
  }
  const auto damage = faults().find(FaultKind::Damage);
  if (damage && *damage > 0 && frameNumber_ % *damage == 0) {
    changed = frame.bytes;
    change(changed);
  }
  const ByteView payload = changed.empty() ? ByteView(frame.bytes) : ByteView(changed);
  sendMarked(writer_.frame({payload, frame.key, frameNumber_}), frame.number);
  if (options().audio) {
    send(writer_.sound(static_cast<std::size_t>(8000 * av_q2d(av_inv_q(cursor_->loop().rate())))));
  }
}

void StreamConnection::leave() {
  pace_.cancel();
  limit_.cancel();
  cursor_.reset();
}

}  // namespace quorvid::sim
