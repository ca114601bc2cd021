#include "sim/net/Outlet.h"

#include <asio/write.hpp>
#include <utility>

namespace quorvid::sim {

Outlet::Outlet(std::shared_ptr<asio::ip::tcp::socket> socket, const ConnectionFaults& faults,
               Events events)
    : socket_(std::move(socket)), timer_(socket_->get_executor()), events_(std::move(events)) {
  if (const auto ms = faults.find(FaultKind::Delay)) firstPause_ = std::chrono::milliseconds(*ms);
  if (const auto us = faults.find(FaultKind::OneByte)) bytePause_ = std::chrono::microseconds(*us);
  setCut(faults);
}

void Outlet::setCut(const ConnectionFaults& faults) {
  struct Cut {
    FaultKind kind;
    std::optional<CloseStyle> style;
  };
  for (const Cut& cut :
       {Cut{FaultKind::Stall, std::nullopt}, Cut{FaultKind::Close, CloseStyle::Order},
        Cut{FaultKind::Reset, CloseStyle::Reset}, Cut{FaultKind::ShortHeader, CloseStyle::Order}}) {
    const auto place = faults.findPlace(cut.kind);
    if (!place || (cutAt_ && *cutAt_ <= *place)) continue;
    cutAt_ = place;
    cutStyle_ = cut.style;
  }
}

void Outlet::send(Bytes message, std::chrono::microseconds pause, std::optional<std::size_t> mark) {
  if (stopped_ || message.empty()) return;
  messages_.push_back({std::move(message), pause, mark});
  if (!busy_) pump();
}

void Outlet::stop() {
  stopped_ = true;
  events_ = {};
  timer_.cancel();
}

void Outlet::pump() {
  if (stopped_) return;
  busy_ = !messages_.empty();
  if (!busy_) {
    if (const auto sent = events_.sent) sent();
    return;
  }
  std::chrono::microseconds pause =
      done_ == 0 ? messages_.front().pause : std::chrono::microseconds{};
  if (total_ == 0) pause += firstPause_;
  if (bytePause_ && total_ > 0) pause += *bytePause_;
  if (pause.count() == 0) return writeFront();
  timer_.expires_after(pause);
  timer_.async_wait([self = shared_from_this()](std::error_code error) {
    if (!error) self->writeFront();
  });
}

void Outlet::writeFront() {
  if (stopped_) return;
  const Bytes& bytes = messages_.front().bytes;
  std::size_t count = bytes.size() - done_;
  if (bytePause_) count = 1;
  if (cutAt_) count = std::min(count, *cutAt_ - total_);
  if (count == 0) return reachedCut();
  if (const auto mark = std::exchange(messages_.front().mark, std::nullopt)) events_.begins(*mark);
  asio::async_write(*socket_, asio::buffer(bytes.data() + done_, count),
                    [self = shared_from_this()](std::error_code error, std::size_t size) {
                      if (self->stopped_) return;
                      if (!error) return self->written(size);
                      if (const auto failed = self->events_.failed) failed(error.message());
                    });
}

void Outlet::written(std::size_t count) {
  done_ += count;
  total_ += count;
  if (done_ == messages_.front().bytes.size()) {
    messages_.pop_front();
    done_ = 0;
  }
  pump();
}

// Silence keeps the connection busy for ever: nothing goes out any more, whatever is sent.
void Outlet::reachedCut() {
  if (!cutStyle_) return;
  if (const auto cut = events_.cut) cut(*cutStyle_);
}

}  // namespace quorvid::sim
