#include "bench/link/Link.h"

#include <poll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <sstream>
#include <utility>

#include "bench/link/Tun.h"

namespace quorvid::bench {

Link::Link(const std::string& server, const std::string& client, std::uint64_t seed)
    : devices_{makeTun(server), makeTun(client)},
      lanes_{Lane(seed), Lane(seed + 1)},
      timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "a timer") {}

bool Link::setCondition(const std::string& name, double value) {
  if (!(value >= 0)) return false;
  const bool isShare = name == "loss" || name == "reorder";
  if (isShare && value > 1) return false;
  Conditions& now = conditions_;
  const auto set = [value](auto& number) {
    number = static_cast<std::remove_reference_t<decltype(number)>>(value);
    return true;
  };
  if (name == "delay") return set(now.delay);
  if (name == "jitter") return set(now.jitter);
  if (name == "loss") return set(now.loss);
  if (name == "reorder") return set(now.reorder);
  if (name == "rate") return set(now.rate);
  if (name == "buffer") return set(now.buffer);
  return name == "mtu" && set(now.mtu);
}

bool Link::order(const std::string& line) {
  std::istringstream words(line);
  std::string name;
  words >> name;
  if (name == "reset") {
    std::string side;
    words >> side;
    if (side != "client" && side != "server") return false;
    reset_ = side == "client" ? Reset::OfClient : Reset::OfServer;
    return true;
  }
  double value = -1;
  if (!(words >> value)) return false;
  if (name != "down") return setCondition(name, value);
  downUntil_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(value));
  for (Lane& lane : lanes_) lane.clear();
  return true;
}

bool Link::readOrders(int orders) {
  char bytes[512];
  const ssize_t count = ::read(orders, bytes, sizeof bytes);
  if (count <= 0) return count < 0 && (errno == EINTR || errno == EAGAIN);
  unread_.append(bytes, static_cast<std::size_t>(count));
  for (std::size_t end; (end = unread_.find('\n')) != std::string::npos;) {
    const std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    if (!order(line)) std::cerr << "bad_link: '" << line << "' is no order\n";
  }
  return true;
}

void Link::receive(Side from) {
  const auto now = Clock::now();
  for (;;) {
    Packet packet(65536);
    const ssize_t count = ::read(devices_[from].get(), packet.data(), packet.size());
    if (count <= 0) return;
    packet.resize(static_cast<std::size_t>(count));
    passOn(from, std::move(packet), now);
  }
}

void Link::passOn(Side from, Packet packet, Clock::time_point now) {
  if (now < downUntil_) return;
  if (from == Client) forgeReset(packet);
  if (conditions_.mtu > 0 && packet.size() > conditions_.mtu && isWhole(packet)) {
    return send(from, tooLong(packet, conditions_.mtu));
  }
  lanes_[from].push(std::move(packet), conditions_, now);
}

// Overtakes what is under way, as one who sits nearby could.
void Link::forgeReset(const Packet& packet) {
  if (reset_ == Reset::None) return;
  const auto segment = segmentOf(packet);
  if (segment && segment->isFirst) reset_ = Reset::None;
  if (reset_ == Reset::None || !segment || !segment->isOfConnection) return;
  const bool isOfClient = reset_ == Reset::OfClient;
  send(isOfClient ? Client : Server, isOfClient ? resetFor(*segment) : resetBehind(*segment));
}

// A device that is down takes nothing: the packet is lost, as on any link.
void Link::send(Side to, const Packet& packet) const {
  [[maybe_unused]] const ssize_t sent = ::write(devices_[to].get(), packet.data(), packet.size());
}

void Link::deliver(Clock::time_point now) {
  for (const Side from : {Server, Client}) {
    while (const auto packet = lanes_[from].take(now)) {
      send(from == Server ? Client : Server, *packet);
    }
  }
}

void Link::setTimer() const {
  auto due = Clock::time_point::max();
  for (const Lane& lane : lanes_) due = std::min(due, lane.next().value_or(due));
  itimerspec time{};
  if (due != Clock::time_point::max()) {
    const auto since = std::max<Clock::duration>(due.time_since_epoch(), Clock::duration(1));
    const auto whole = std::chrono::floor<std::chrono::seconds>(since);
    time.it_value.tv_sec = static_cast<time_t>(whole.count());
    time.it_value.tv_nsec = static_cast<long>((since - whole).count());
  }
  ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &time, nullptr);
}

void Link::run(int orders) {
  std::array<pollfd, 4> ready{{{devices_[Server].get(), POLLIN, 0},
                               {devices_[Client].get(), POLLIN, 0},
                               {timer_.get(), POLLIN, 0},
                               {orders, POLLIN, 0}}};
  for (;;) {
    deliver(Clock::now());
    setTimer();
    if (::poll(ready.data(), ready.size(), -1) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waiting for packets");
    }
    if ((ready[0].revents & POLLIN) != 0) receive(Server);
    if ((ready[1].revents & POLLIN) != 0) receive(Client);
    if (ready[3].revents != 0 && !readOrders(orders)) return;
  }
}

}  // namespace quorvid::bench
