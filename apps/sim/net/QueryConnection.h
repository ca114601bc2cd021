#pragma once

#include "sim/net/Connection.h"
#include "sim/wire/Reply.h"

namespace quorvid::sim {

// A client with one question: the device list, or the relay of a device. It gets one reply.
class QueryConnection final : public Connection {
 public:
  // @param carPort where the relay lookup sends clients
  QueryConnection(asio::ip::tcp::socket from, const Options& options, Service service,
                  unsigned number, int carPort)
      : Connection(std::move(from), options, service, number), carPort_(carPort) {}

 protected:
  void answer(const Order& order) override;

 private:
  Reply replyTo(const Order& order);

  const int carPort_;
};

}  // namespace quorvid::sim
