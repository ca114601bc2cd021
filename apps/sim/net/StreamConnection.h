#pragma once

#include "sim/media/LoopStore.h"
#include "sim/net/Connection.h"
#include "sim/net/SendLog.h"
#include "sim/wire/StreamWriter.h"

namespace quorvid::sim {

// A client that plays a stream: its frames come at the loop's pace, beginning with a key frame. A
// client that falls a second behind loses frames, up to a key frame, when all it was sent is out.
class StreamConnection final : public Connection {
 public:
  StreamConnection(asio::ip::tcp::socket socket, const Options& options, Service service,
                   unsigned number, LoopStore& loops, SendLog& sendLog);

 protected:
  void answer(const Order& order) override;
  void leave() override;
  void begins(std::size_t picture) override { sendLog_.picture(name_, picture); }

 private:
  using Clock = std::chrono::steady_clock;

  // Why the order is refused; empty when it is served.
  std::string notServed(const Order& order) const;
  void play(const Order& order);
  void setLimits();
  bool joinLive();
  void wait();
  void tick();
  bool step();
  void deliver(const EncodedFrame& frame);
  bool leftOut(const EncodedFrame& frame);
  void change(Bytes& payload);
  // When the frames after those just sent are due.
  void setDue();
  Clock::duration period() const;

  LoopStore& loops_;
  SendLog& sendLog_;
  const std::string name_;
  StreamWriter writer_;
  std::optional<LoopCursor> cursor_;
  asio::steady_timer pace_;
  asio::steady_timer limit_;
  Clock::time_point due_;
  int burst_ = 1;
  int burstSent_ = 0;  // of the burst under way, while the encoder is not far enough
  std::uint32_t frameNumber_ = 0;
  std::size_t maxWaiting_ = 0;
  bool joined_ = false;
  bool skipping_ = false;
};

}  // namespace quorvid::sim
