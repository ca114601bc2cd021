#include "sim/net/QueryConnection.h"

namespace quorvid::sim {

void QueryConnection::answer(ByteView request) {
  if (service_ == Service::list) return answerList(request);
  answerRelay(request);
}

void QueryConnection::answerList(ByteView request) {
  const auto parsed = parseListRequest(request);
  if (const auto* refusal = std::get_if<Refusal>(&parsed)) return refuse(refusal->reason);
  log("device list for account '" + std::get<ListOrder>(parsed).account + "'");
  reply(listReply(options(), number_, faults()));
}

void QueryConnection::answerRelay(ByteView request) {
  const auto parsed = parseRelayRequest(request);
  if (const auto* refusal = std::get_if<Refusal>(&parsed)) return refuse(refusal->reason);
  const auto& order = std::get<StreamOrder>(parsed);
  log("relay of device '" + order.device + "' channel " + std::to_string(order.channel));
  // The address at which the client reached us is one at which it reaches the car stream.
  std::error_code error;
  const auto here = socket().local_endpoint(error);
  const auto address = error ? asio::ip::address_v4::loopback() : here.address().to_v4();
  reply(relayReply(options(), address.to_bytes(), carPort_, faults()));
}

void QueryConnection::reply(Reply reply) {
  if (const auto count = faults().find(FaultKind::random)) {
    reply.bytes = faults().randomBytes(static_cast<std::size_t>(*count));
    reply.end = reply.bytes.size();
    reply.split = 0;
  }
  reply.bytes.resize(reply.end);
  if (reply.split > 0 && reply.split < reply.end) {
    const auto split = reply.bytes.begin() + static_cast<std::ptrdiff_t>(reply.split);
    send(Bytes(reply.bytes.begin(), split));
    const auto pause = faults().find(FaultKind::splitPort).value_or(0);
    send(Bytes(split, reply.bytes.end()), std::chrono::milliseconds(pause));
  } else {
    send(std::move(reply.bytes));
  }
  endWhenSent();
}

}  // namespace quorvid::sim
