#include "sim/net/QueryConnection.h"

#include <fmt/format.h>

namespace quorvid::sim {

Reply QueryConnection::replyTo(const Order& order) {
  if (service() == Service::List) {
    log(fmt::format("device list for account '{}'", order.account));
    return listReply(options(), number(), faults());
  }
  log(fmt::format("relay of device '{}' channel {}", order.device, order.channel));
  // The address at which the client reached us is one at which it reaches the car stream.
  std::error_code error;
  const auto here = socket().local_endpoint(error);
  const auto address = error ? asio::ip::address_v4::loopback() : here.address().to_v4();
  return relayReply(options(), address.to_bytes(), carPort_, faults());
}

void QueryConnection::answer(const Order& order) {
  Reply reply = replyTo(order);
  if (const auto count = faults().find(FaultKind::Random)) {
    reply.bytes = faults().randomBytes(static_cast<std::size_t>(*count));
    reply.end = reply.bytes.size();
    reply.split = 0;
  }
  reply.bytes.resize(reply.end);
  if (reply.split > 0 && reply.split < reply.end) {
    const auto split = reply.bytes.begin() + static_cast<std::ptrdiff_t>(reply.split);
    send(Bytes(reply.bytes.begin(), split));
    const auto pause = faults().find(FaultKind::SplitPort).value_or(0);
    send(Bytes(split, reply.bytes.end()), std::chrono::milliseconds(pause));
  } else {
    send(std::move(reply.bytes));
  }
  endWhenSent();
}

}  // namespace quorvid::sim
