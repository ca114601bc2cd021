#include "sim/net/Listener.h"

#include <fmt/format.h>

#include "sim/Error.h"

namespace quorvid::sim {

using asio::ip::tcp;

Listener::Listener(asio::io_context& context, const Options& options, Service service, int port,
                   Factory factory)
    : options_(options),
      service_(service),
      factory_(std::move(factory)),
      acceptor_(context),
      timer_(context) {
  open(port);
  if (options.faults.find(service, FaultKind::Unanswered)) {
    block();
    return;
  }
  const auto refused = options.faults.find(service, FaultKind::Refuse);
  if (!refused) {
    serve();
    return;
  }
  // A port that is bound but does not listen refuses connections.
  timer_.expires_after(std::chrono::seconds(*refused));
  timer_.async_wait([this](std::error_code error) {
    if (!error) serve();
  });
}

void Listener::open(int port) {
  std::error_code error;
  const auto address = asio::ip::make_address_v4(options_.bind, error);
  if (error) {
    throw UsageError(fmt::format("--bind: '{}' is not an IPv4 address", options_.bind));
  }
  const tcp::endpoint endpoint(address, static_cast<asio::ip::port_type>(port));
  acceptor_.open(endpoint.protocol(), error);
  if (!error) acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor_.bind(endpoint, error);
  if (error) {
    throw SimError(fmt::format("the {} port {}:{} can't be had: {}", nameOf(service_),
                               options_.bind, port, error.message()));
  }
  port_ = acceptor_.local_endpoint().port();
}

void Listener::block() {
  constexpr int kMoreThanItHolds = 3;
  listen(0);
  for (int i = 0; i < kMoreThanItHolds; ++i) {
    tcp::socket& caller = callers_.emplace_back(acceptor_.get_executor());
    caller.async_connect(acceptor_.local_endpoint(), [](std::error_code) {});
  }
}

void Listener::serve() {
  listen(asio::socket_base::max_listen_connections);
  accept();
}

void Listener::listen(int waiting) {
  std::error_code error;
  acceptor_.listen(waiting, error);
  if (error) {
    throw SimError(fmt::format("the {} port {}:{} can't be listened on: {}", nameOf(service_),
                               options_.bind, port_, error.message()));
  }
}

void Listener::accept() {
  acceptor_.async_accept([this](std::error_code error, tcp::socket socket) {
    if (!acceptor_.is_open()) return;
    if (!error) {
      welcome(std::move(socket));
      return accept();
    }
    // Out of descriptors, most likely: some clients leave sooner or later.
    logLine(fmt::format("{}: can't take a client in: {}", nameOf(service_), error.message()));
    timer_.expires_after(std::chrono::milliseconds(200));
    timer_.async_wait([this](std::error_code cancelled) {
      if (!cancelled) accept();
    });
  });
}

void Listener::welcome(tcp::socket socket) {
  std::erase_if(connections_, [](const auto& here) { return here.expired(); });
  const auto connection = factory_(std::move(socket), ++count_);
  connections_.push_back(connection);
  connection->start();
}

void Listener::stop() {
  std::error_code error;
  acceptor_.close(error);
  timer_.cancel();
  callers_.clear();
  for (const auto& here : connections_) {
    if (const auto connection = here.lock()) connection->end(options_.close);
  }
}

}  // namespace quorvid::sim
