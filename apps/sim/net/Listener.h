#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "sim/net/Connection.h"

namespace quorvid::sim {

// One port: takes clients in and gives each to a connection.
class Listener {
 public:
  using Factory =
      std::function<std::shared_ptr<Connection>(asio::ip::tcp::socket, unsigned number)>;

  // @throws SimError when the address or the port can't be had
  Listener(asio::io_context& context, const Options& options, Service service, int port,
           Factory factory);

  int port() const { return port_; }
  // No more clients; those that are here are ended.
  void stop();

 private:
  void open(int port);
  void serve();
  void listen(int waiting);
  // Fills the queue of those that wait to be taken in; what comes then is dropped.
  void block();
  void accept();
  void welcome(asio::ip::tcp::socket socket);

  const Options& options_;
  const Service service_;
  Factory factory_;
  asio::ip::tcp::acceptor acceptor_;
  asio::steady_timer timer_;
  int port_ = 0;
  unsigned count_ = 0;
  std::vector<std::weak_ptr<Connection>> connections_;
  std::deque<asio::ip::tcp::socket> callers_;  // our own, in the queue that is full
};

}  // namespace quorvid::sim
