#include "apps/quorvid/probe/ProbeSocket.h"

#include <fmt/format.h>

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <cstring>

#include "apps/common/Deadline.h"

namespace quorvid::app {

namespace {

constexpr std::size_t kBufferSize = 65536;
constexpr std::size_t kMostGarbage = 1 << 20;
constexpr std::chrono::milliseconds kLookInterval(50);  // how soon a signal is noticed

}  // namespace

ProbeSocket::ProbeSocket(const std::string& address, int port, double timeout)
    : timeout_(timeout), buffer_(kBufferSize) {
  const asio::ip::tcp::endpoint place(asio::ip::make_address_v4(address),
                                      static_cast<std::uint16_t>(port));
  const std::string missing = fmt::format("no connection to {}:{}", address, port);
  beginStep();
  socket_.async_connect(place, [this](asio::error_code error) { error_ = error; });
  finish(missing);
  if (error_ == asio::error::connection_refused) {
    throw ProbeFailure(fmt::format("nothing listens at {}:{} (connection refused)", address, port));
  }
  if (error_) throw ProbeFailure(missing + ": " + error_.message());
}

void ProbeSocket::beginStep() {
  deadline_ = steadySeconds() + timeout_;
  stepHasBytes_ = false;
}

void ProbeSocket::finish(const std::string& late) {
  context_.restart();
  while (!context_.stopped()) {
    if (stopRequested()) throw ProbeInterrupted();
    waiting_();
    context_.run_one_for(kLookInterval);
    if (!context_.stopped() && steadySeconds() >= deadline_) {
      throw ProbeFailure(fmt::format("{} within {:g} s", late, timeout_));
    }
  }
}

void ProbeSocket::send(const std::vector<std::uint8_t>& record) {
  asio::async_write(socket_, asio::buffer(record),
                    [this](asio::error_code error, std::size_t) { error_ = error; });
  finish("the request could not be sent");
  if (error_) throw ProbeFailure("the request could not be sent: " + error_.message());
}

void ProbeSocket::refill(const std::string& what, std::size_t missing) {
  const std::string incomplete = what + " did not come whole";
  if (stepHasBytes_ && steadySeconds() >= deadline_) {
    throw ProbeFailure(fmt::format("{} within {:g} s", incomplete, timeout_));
  }
  socket_.async_read_some(asio::buffer(buffer_), [this](asio::error_code error, std::size_t count) {
    error_ = error;
    at_ = 0;
    filled_ = count;
  });
  finish(stepHasBytes_ ? incomplete
                       : fmt::format("the server is silent: nothing of {} came", what));
  stepHasBytes_ = true;
  if (error_ == asio::error::eof) {
    const std::string part = missing > 1 ? fmt::format("{} bytes of ", missing) : "";
    throw ProbeFailure(
        fmt::format("the server closed the connection where {}{} should come", part, what));
  }
  if (error_ == asio::error::connection_reset) {
    throw ProbeFailure(fmt::format("the server reset the connection where {} should come", what));
  }
  if (error_) throw ProbeFailure(fmt::format("reading {} failed: {}", what, error_.message()));
}

void ProbeSocket::read(void* out, std::size_t size, const char* what) {
  auto* to = static_cast<std::uint8_t*>(out);
  while (size > 0) {
    if (at_ == filled_) refill(what, size);
    const std::size_t part = std::min(size, filled_ - at_);
    std::memcpy(to, buffer_.data() + at_, part);
    at_ += part;
    to += part;
    size -= part;
  }
}

std::int32_t ProbeSocket::readInt32(const char* what) {
  std::uint8_t bytes[4];
  read(bytes, sizeof bytes, what);
  return static_cast<std::int32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16 |
                                   static_cast<std::uint32_t>(bytes[3]) << 24);
}

std::int32_t ProbeSocket::readInt32AtOnce(const char* what) {
  if (at_ == filled_) refill(what, 4);
  if (filled_ - at_ < 4) {
    throw ProbeFailure(fmt::format("{} came in pieces; the library takes it only whole", what));
  }
  return readInt32(what);
}

void ProbeSocket::skip(std::size_t size, const char* what) {
  std::uint8_t dropped[512];
  while (size > 0) {
    const std::size_t part = std::min(size, sizeof dropped);
    read(dropped, part, what);
    size -= part;
  }
}

std::size_t ProbeSocket::findTag(const std::vector<std::string>& tags, const char* what) {
  std::string window;
  for (std::size_t count = 0; count < kMostGarbage; ++count) {
    char byte = 0;
    read(&byte, 1, what);
    window.erase(0, window.size() < 8 ? 0 : 1);
    window += byte;
    if (std::find(tags.begin(), tags.end(), window) != tags.end()) return count + 1 - 8;
  }
  throw ProbeFailure(fmt::format("a mebibyte came without {}", what));
}

}  // namespace quorvid::app
