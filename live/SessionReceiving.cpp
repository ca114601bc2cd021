// What a session's receiving thread does: it runs the worker of the target's path and keeps what
// that tells.
#include <netdb.h>

#include <cerrno>
#include <ctime>
#include <new>
#include <utility>

#include "base/Clock.h"
#include "base/LogQuiet.h"
#include "live/LiveSession.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

constexpr int kCommandPort = 80;  // the workers keep it without using it
constexpr int kLastChannel = 7;

// The account, a hyphen and the last 8 digits of the time: tells one session from the next.
std::string tokenOf(const LiveTarget& target) {
  const std::string seconds = std::to_string(std::time(nullptr));
  return target.account + "-" + seconds.substr(seconds.size() > 8 ? seconds.size() - 8 : 0);
}

VideoCall callOf(const LiveTarget& target, const std::string& token, std::uint8_t* cancel) {
  VideoCall call{};
  call.host = target.host.c_str();
  call.mediaPort = target.port;
  call.cmdPort = kCommandPort;
  call.channel = target.channel;
  call.acc = target.account.c_str();
  call.pwd = target.password.c_str();
  call.isCancel = cancel;
  call.timestamp = token.c_str();
  call.carId = target.device.c_str();
  return call;
}

bool holdsZero(const LiveTarget& target) {
  for (const std::string* text :
       {&target.host, &target.account, &target.password, &target.device}) {
    if (text->find('\0') != std::string::npos) return true;
  }
  return false;
}

}  // namespace

std::string refusalOf(const LiveTarget& target) {
  if (holdsZero(target)) return "a text of the target contains a zero byte";
  if (target.device.empty()) return "no device is given";
  if (target.channel < 0 || target.channel > kLastChannel) {
    return "the channel is not from 0 to " + std::to_string(kLastChannel);
  }
  const std::string token = tokenOf(target);
  const VideoCall call = callOf(target, token, nullptr);
  return target.path == LivePath::Fleet ? refusalOfFleet(call) : refusalOfCar(call);
}

// The receiving thread; nothing is thrown out of it. A relay look-up, which can't be cancelled
// before it has a connection, is not begun in vain.
void LiveSession::receive() {
  const LogQuiet quiet;
  if (std::atomic_ref(cancel_).load(std::memory_order_acquire) != 0) return;
  try {
    if (runWorker() == 0) return;
  } catch (const std::bad_alloc&) {
    return failForMemory();
  }
  std::unique_lock lock(mutex_);
  report_.hasEnded = true;
  if (report_.status.reason != LiveReason::None) return;
  lock.unlock();
  failForMemory();
}

std::int32_t LiveSession::runWorker() {
  const std::string token = tokenOf(target_);
  const VideoCall call = callOf(target_, token, &cancel_);
  if (target_.path == LivePath::Fleet) return runFleetVideo(call, this);
  return target_.path == LivePath::Car ? runCarVideo(call, this) : runRelayVideo(call, this);
}

void LiveSession::stopReceiving() {
  CancelVideoSource(&cancel_);
}

void LiveSession::fail(LiveReason reason, std::string sentence) {
  setStatus(LiveState::Reconnecting, reason, std::move(sentence));
  const std::lock_guard lock(mutex_);
  report_.hasEnded = true;
}

void LiveSession::frameArrived(const std::uint8_t* bytes, std::size_t size) {
  const double now = steadySeconds();
  std::uint64_t number = 0, connection = 0;
  {
    const std::lock_guard lock(mutex_);
    connection = connections_;
    number = ++report_.received;
    report_.bytes += size;
    report_.lastFrame = now;
  }
  try {
    Frame frame = makeFrame({bytes, size}, now, queue_.blank(size));
    frame.number = number;
    frame.connection = connection;
    queue_.push(std::move(frame));
  } catch (const std::bad_alloc&) {
    loseFrame();
  }
}

void LiveSession::told(StreamEvent event, std::int32_t detail) {
  switch (event) {
    case StreamEvent::Resolving: {
      const std::lock_guard lock(mutex_);
      ++connections_;
      if (!std::exchange(isSentOn_, false)) ++report_.attempts;
      report_.nextTryAt = -1;
      report_.status = makeStatus(LiveState::Resolving);
      break;
    }
    case StreamEvent::Connecting:
      return setStatus(LiveState::Connecting, LiveReason::None, {});
    case StreamEvent::Connected:
    case StreamEvent::Accepted:
      if (asksForRelay_) return;
      return setStatus(LiveState::WaitingForKeyFrame, LiveReason::None, {});
    case StreamEvent::RelayFound:
      return keepRelay();
    case StreamEvent::Refused:
      setStatus(LiveState::Refused, LiveReason::RefusedByServer, sentenceOf(event, detail), detail);
      break;
    case StreamEvent::Pausing:
      break;
    default:
      setStatus(LiveState::Reconnecting, reasonOf(event, detail), sentenceOf(event, detail));
  }
  const std::lock_guard lock(mutex_);
  if (event == StreamEvent::Pausing) report_.nextTryAt = steadySeconds() + detail / 1000.0;
}

void LiveSession::keepRelay() {
  asksForRelay_ = false;
  isSentOn_ = true;
  peer_ = "the relay that " + peer_ + " named";
}

LiveReason LiveSession::reasonOf(StreamEvent event, std::int32_t detail) {
  switch (event) {
    case StreamEvent::Unresolved:
      return detail == NETDB_INTERNAL ? LiveReason::NoResources : LiveReason::NameNotFound;
    case StreamEvent::Unreachable:
      if (detail == ECONNREFUSED) return LiveReason::ConnectionRefused;
      return detail == EMFILE || detail == ENFILE || detail == ENOMEM ? LiveReason::NoResources
                                                                      : LiveReason::Unreachable;
    case StreamEvent::NoRelay:
      return LiveReason::NoRelay;
    case StreamEvent::Silent:
      return LiveReason::Silent;
    case StreamEvent::UnknownKind:
    case StreamEvent::WrongLength:
      return LiveReason::BrokenStream;
    default:
      return LiveReason::ConnectionLost;
  }
}

std::string LiveSession::sentenceOf(StreamEvent event, std::int32_t detail) const {
  return quorvid::sentenceOf(event, detail, peer_, target_.host, target_.device);
}

}  // namespace quorvid
