// ProbeSocket: a connection that says exactly how it fails, with a deadline for every step.
//
// Unlike the library's workers, which reconnect without a word, it throws ProbeFailure with a
// sentence. One thread.
#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "apps/common/Failure.h"

namespace quorvid::app {

// What a probe has found wrong: part of its report.
class ProbeFailure : public Failure {
 public:
  using Failure::Failure;
};

// The user does not want to wait any longer.
class ProbeInterrupted : public ProbeFailure {
 public:
  ProbeInterrupted() : ProbeFailure("interrupted") {}
};

class ProbeSocket {
 public:
  // Connects to a dotted IPv4 address. timeout: seconds for this and for every later step, however
  // many bytes it takes.
  ProbeSocket(const std::string& address, int port, double timeout);

  // Called again and again while something is waited for, every 50 ms at least.
  void setWaiting(std::function<void()> waiting) { waiting_ = std::move(waiting); }
  // The time for what follows starts anew.
  void beginStep();
  void send(const std::vector<std::uint8_t>& record);
  // Reads exactly `size` bytes; `what` names them in the sentence of a failure.
  void read(void* out, std::size_t size, const char* what);
  std::int32_t readInt32(const char* what);
  // As the library reads a relay's port: fails when the four bytes do not come in one piece.
  std::int32_t readInt32AtOnce(const char* what);
  void skip(std::size_t size, const char* what);
  // Reads byte by byte up to the end of one of the 8-byte tags. Returns the bytes before it; gives
  // up after a mebibyte.
  std::size_t findTag(const std::vector<std::string>& tags, const char* what);

 private:
  // Runs the operation that was just begun to its end. late: what to say when the step's time is
  // up.
  void finish(const std::string& late);
  void refill(const std::string& what, std::size_t missing);

  asio::io_context context_;
  asio::ip::tcp::socket socket_{context_};
  asio::error_code error_;  // of the last operation
  std::function<void()> waiting_ = [] {};
  double timeout_;
  double deadline_ = 0;
  bool stepHasBytes_ = false;
  std::vector<std::uint8_t> buffer_;
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
};

}  // namespace quorvid::app
