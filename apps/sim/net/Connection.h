#pragma once

#include <array>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <memory>
#include <string>

#include "sim/Options.h"
#include "sim/net/Outlet.h"
#include "sim/wire/Request.h"

namespace quorvid::sim {

// One line on standard error.
void logLine(const std::string& text);

// One client: reads its request, which has a fixed length, has it answered, and notices when the
// client leaves.
//
// Lives as long as something is under way on its socket. All calls on the network thread.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(asio::ip::tcp::socket socket, const Options& options, Service service,
             unsigned number);
  virtual ~Connection() = default;

  void start();
  // Ends the connection at once; what the operating system has taken still goes out with
  // CloseStyle::Order.
  void end(CloseStyle style);
  bool ended() const { return ended_; }

 protected:
  // Called once, with what the request says.
  virtual void answer(const Order& order) = 0;
  // Called once, when the connection is over: cancel what is under way.
  virtual void leave() {}
  // Called when the first byte of a message with a mark is about to be written.
  virtual void begins(std::size_t /*mark*/) {}

  void send(Bytes message, std::chrono::microseconds pause = {}) {
    outlet_->send(std::move(message), pause);
  }
  void sendMarked(Bytes message, std::size_t mark) { outlet_->send(std::move(message), {}, mark); }
  std::size_t waiting() const { return outlet_->waiting(); }
  // Ends the connection in the style asked for, once all that was sent is out.
  void endWhenSent();
  void log(const std::string& text) const;
  void refuse(const std::string& reason);

  const Options& options() const { return options_; }
  ConnectionFaults& faults() { return faults_; }
  asio::ip::tcp::socket& socket() { return *socket_; }
  Service service() const { return service_; }
  unsigned number() const { return number_; }

 private:
  void prepareSocket();
  void makeOutlet();
  void readRequest();
  void takeRequest();
  void watch();
  void sent();
  void endStyle() { end(options_.close); }

  const Options& options_;
  const Service service_;
  const unsigned number_;
  ConnectionFaults faults_;
  std::shared_ptr<asio::ip::tcp::socket> socket_;
  std::shared_ptr<Outlet> outlet_;
  asio::steady_timer deadline_;
  Bytes request_;
  std::array<std::uint8_t, 1024> rest_{};
  std::string peer_;
  bool endWhenSent_ = false;
  bool ended_ = false;
};

}  // namespace quorvid::sim
