#include "sim/net/Connection.h"

#include <fmt/format.h>

#include <asio/read.hpp>
#include <iostream>

namespace quorvid::sim {
namespace {

using asio::ip::tcp;

constexpr std::chrono::seconds kRequestTime{10};
constexpr std::chrono::seconds kFarewellTime{2};
// Small, so that a client which doesn't keep up shows soon, and not megabytes later.
constexpr int kSendBuffer = 128 * 1024;

}  // namespace

void logLine(const std::string& text) {
  std::cerr << fmt::format("quorvid-sim: {}\n", text) << std::flush;
}

Connection::Connection(tcp::socket socket, const Options& options, Service service, unsigned number)
    : options_(options),
      service_(service),
      number_(number),
      faults_(options.faults, service, number),
      socket_(std::make_shared<tcp::socket>(std::move(socket))),
      deadline_(socket_->get_executor()) {}

void Connection::prepareSocket() {
  std::error_code error;
  const tcp::endpoint peer = socket_->remote_endpoint(error);
  if (!error) peer_ = fmt::format("{}:{}", peer.address().to_string(), peer.port());
  socket_->set_option(tcp::no_delay(true), error);
  socket_->set_option(asio::socket_base::send_buffer_size(kSendBuffer), error);
}

void Connection::makeOutlet() {
  const auto here = weak_from_this();
  Outlet::Events events;
  events.sent = [here] {
    if (const auto self = here.lock()) self->sent();
  };
  events.begins = [here](std::size_t mark) {
    if (const auto self = here.lock()) self->begins(mark);
  };
  events.failed = [here](const std::string& why) {
    const auto self = here.lock();
    if (!self || self->ended_) return;
    self->log("gone: " + why);
    self->end(CloseStyle::Reset);
  };
  events.cut = [here](CloseStyle style) {
    if (const auto self = here.lock()) self->end(style);
  };
  outlet_ = std::make_shared<Outlet>(socket_, faults_, std::move(events));
}

void Connection::start() {
  prepareSocket();
  makeOutlet();
  request_.resize(requestBytes(service_));
  deadline_.expires_after(kRequestTime);
  deadline_.async_wait([self = shared_from_this()](std::error_code error) {
    if (error || self->ended_) return;
    self->log("dropped: no whole request within 10 s");
    self->endStyle();
  });
  readRequest();
}

void Connection::readRequest() {
  asio::async_read(
      *socket_, asio::buffer(request_),
      [self = shared_from_this()](std::error_code error, std::size_t count) {
        if (self->ended_) return;
        self->deadline_.cancel();
        if (error) {
          return self->refuse(fmt::format("a request of {} bytes instead of {} ({})", count,
                                          self->request_.size(), error.message()));
        }
        self->watch();
        self->takeRequest();
      });
}

void Connection::takeRequest() {
  try {
    answer(parseRequest(service_, request_));
  } catch (const Refusal& refusal) {
    refuse(refusal.what());
  }
}

// Clients say nothing after their request: reading shows when they leave.
void Connection::watch() {
  socket_->async_read_some(asio::buffer(rest_),
                           [self = shared_from_this()](std::error_code error, std::size_t count) {
                             if (self->ended_) return;
                             if (!error) {
                               self->log(fmt::format("{} bytes after the request: ignored", count));
                               return self->watch();
                             }
                             if (!self->endWhenSent_) self->log("left (" + error.message() + ")");
                             self->end(self->options_.close);
                           });
}

void Connection::refuse(const std::string& reason) {
  log("refused: " + reason);
  endStyle();
}

void Connection::endWhenSent() {
  endWhenSent_ = true;
  if (outlet_->waiting() == 0) sent();
}

void Connection::sent() {
  if (!endWhenSent_ || ended_) return;
  if (options_.close == CloseStyle::Reset) return end(CloseStyle::Reset);
  // The client closes in its turn, which watch() notices; one that doesn't is not waited for long.
  std::error_code error;
  socket_->shutdown(tcp::socket::shutdown_send, error);
  deadline_.expires_after(kFarewellTime);
  deadline_.async_wait([self = shared_from_this()](std::error_code cancelled) {
    if (!cancelled) self->end(CloseStyle::Order);
  });
}

void Connection::end(CloseStyle style) {
  if (ended_) return;
  ended_ = true;
  leave();
  if (outlet_) outlet_->stop();
  deadline_.cancel();
  std::error_code error;
  if (style == CloseStyle::Reset) {
    socket_->set_option(asio::socket_base::linger(true, 0), error);
  } else {
    socket_->shutdown(tcp::socket::shutdown_both, error);
  }
  socket_->close(error);
}

void Connection::log(const std::string& text) const {
  logLine(fmt::format("{} #{} {}: {}", nameOf(service_), number_, peer_, text));
}

}  // namespace quorvid::sim
