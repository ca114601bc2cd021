#pragma once

#include "sim/net/Connection.h"
#include "sim/wire/QueryWire.h"

namespace quorvid::sim {

// A client with one question: the device list, or the relay of a device. It gets one reply.
class QueryConnection final : public Connection {
 public:
  // @param carPort where the relay lookup sends clients
  QueryConnection(asio::ip::tcp::socket from, const Options& options, Service service,
                  unsigned number, int carPort)
      : Connection(std::move(from), options, service, number),
        service_(service),
        number_(number),
        carPort_(carPort) {}

 protected:
  std::size_t requestBytes() const override { return kQueryRequestBytes; }
  void answer(ByteView request) override;

 private:
  void answerList(ByteView request);
  void answerRelay(ByteView request);
  void reply(Reply reply);

  const Service service_;
  const unsigned number_;
  const int carPort_;
};

}  // namespace quorvid::sim
