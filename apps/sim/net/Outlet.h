#pragma once

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>

#include "sim/Options.h"

namespace quorvid::sim {

// The sending side of a connection: messages go out whole and in order. Faults that concern bytes
// rather than their meaning happen here: late, one by one, or no more than so many.
//
// All calls and callbacks on the network thread.
class Outlet : public std::enable_shared_from_this<Outlet> {
 public:
  struct Events {
    std::function<void()> sent;               // nothing is waiting any more
    std::function<void(std::size_t)> begins;  // a marked message is about to go out
    std::function<void(std::string)> failed;  // the peer does not take it
    std::function<void(CloseStyle)> cut;      // a fault ends the connection here
  };

  Outlet(std::shared_ptr<asio::ip::tcp::socket> socket, const ConnectionFaults& faults,
         Events events);

  // @param pause time between the message before this one and this one
  // @param mark  tells its beginning
  void send(Bytes message, std::chrono::microseconds pause = {},
            std::optional<std::size_t> mark = std::nullopt);
  // Messages that are not out yet.
  std::size_t waiting() const { return messages_.size(); }
  // No more callbacks; what waits is dropped.
  void stop();

 private:
  struct Message {
    Bytes bytes;
    std::chrono::microseconds pause;
    std::optional<std::size_t> mark;
  };

  void setCut(const ConnectionFaults& faults);
  void pump();
  void writeFront();
  void written(std::size_t count);
  void reachedCut();

  std::shared_ptr<asio::ip::tcp::socket> socket_;
  asio::steady_timer timer_;
  Events events_;
  std::deque<Message> messages_;
  std::size_t done_ = 0;   // bytes of the front message that are out
  std::size_t total_ = 0;  // bytes of the connection that are out
  bool busy_ = false;
  bool stopped_ = false;
  std::chrono::microseconds firstPause_{};
  std::optional<std::chrono::microseconds> bytePause_;  // set: one byte at a time
  std::optional<std::size_t> cutAt_;
  std::optional<CloseStyle> cutStyle_;  // nothing: silence
};

}  // namespace quorvid::sim
