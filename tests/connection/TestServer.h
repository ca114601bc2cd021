// A server on loopback that a test drives by hand, the consumer's side of a video worker, the bytes
// of replies, and signals that interrupt what a thread waits for.
#pragma once

#include <arpa/inet.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quorvid/connection/VehicleConnection.h"
#include "support/Eventually.h"

namespace quorvid::test {

template <class T>
T get(T& shared) {
  return std::atomic_ref<T>(shared).load(std::memory_order_acquire);
}
template <class T>
void set(T& shared, int value) {
  std::atomic_ref<T>(shared).store(static_cast<T>(value), std::memory_order_release);
}

inline auto openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

inline std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}
inline std::string padded(const std::string& text, std::size_t width) {
  return text + zeros(width - text.size());
}
inline std::string word(std::int64_t value) {  // 4 bytes, little-endian
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

inline std::atomic<int> signalsSeen{0};

// Handled without SA_RESTART, as a profiler's or a timer's signal may be.
inline void countSignals() {
  struct sigaction action {};
  action.sa_handler = [](int) { ++signalsSeen; };
  sigaction(SIGUSR1, &action, nullptr);
}
inline void interruptOften(std::thread& thread) {
  countSignals();
  for (int i = 0; i < 20; ++i) {
    pthread_kill(thread.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

class Descriptor {
 public:
  Descriptor(int fd, int longestWait) : fd_(fd) { set(SO_RCVTIMEO, timeval{longestWait, 0}); }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() { ::close(fd_); }

 protected:
  template <class T>
  void set(int option, const T& value) {
    ::setsockopt(fd_, SOL_SOCKET, option, &value, sizeof value);
  }
  int fd_;
};

// One accepted connection. It waits 8 s at most, less than a worker's own time-outs.
class Peer : Descriptor {
 public:
  explicit Peer(int fd) : Descriptor(fd, 8) {}
  std::string receive(std::size_t size) {
    std::string bytes = zeros(size);
    const ssize_t count = ::recv(fd_, bytes.data(), size, MSG_WAITALL);
    return bytes.substr(0, count < 0 ? 0 : static_cast<std::size_t>(count));
  }
  void send(const std::string& bytes) { ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  void finish() { ::shutdown(fd_, SHUT_WR); }  // closes our direction in order
  void reset() {
    set(SO_LINGER, linger{1, 0});
    ::close(std::exchange(fd_, -1));
  }
  bool seesClose() {  // that the other side closed; discards what it sent
    char discarded[256];
    errno = 0;
    while (::recv(fd_, discarded, sizeof discarded, 0) > 0) {
    }
    return errno != EAGAIN;
  }
};

class TestServer : Descriptor {
 public:
  explicit TestServer(const char* address = "127.0.0.1", bool listening = true)
      : Descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), 30) {
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = inet_addr(address);
    socklen_t size = sizeof own;
    auto* generic = reinterpret_cast<sockaddr*>(&own);
    if (::bind(fd_, generic, size) != 0 || ::getsockname(fd_, generic, &size) != 0) {
      throw std::runtime_error("no loopback port");
    }
    port = ntohs(own.sin_port);
    if (listening) listen();
  }
  void listen(int backlog = 8) { ::listen(fd_, backlog); }
  Peer accept() {
    const int fd = ::accept(fd_, nullptr, nullptr);
    if (fd < 0) throw std::runtime_error("nobody connected");
    return Peer(fd);
  }
  Peer acceptRequest(std::size_t size) {
    Peer peer = accept();
    request = peer.receive(size);
    return peer;
  }
  bool isAskedToConnect() const {  // that a connection waits to be let in
    char end[16];
    snprintf(end, sizeof end, ":%04X 02 ", static_cast<unsigned>(port));
    std::ifstream table("/proc/self/net/tcp");
    return std::string(std::istreambuf_iterator<char>(table), {}).find(end) != std::string::npos;
  }

  std::int32_t port;
  std::string request;  // the last one
};

// A video worker on a thread of its own, cancelled and joined at the latest by the destructor.
class VideoRun {
 public:
  // 0xFE is as good as 0: only bit 0 of a flag counts.
  VideoRun(decltype(&ThreadVideoSourceForFleet) worker, std::int32_t port,
           std::uint8_t cancelled = 0xFE)
      : isCancel(cancelled), thread_([this, worker, port] {
          result_ = worker("127.0.0.1", port, 81, 2, "acc", "pwd", &isCancel, "stamp", "car",
                           &canGetFrame, frame.data(), &frameLen);
        }) {}
  ~VideoRun() { stop(); }
  std::int32_t stop() {
    set(isCancel, 1);
    return join();
  }
  std::int32_t cancel() {
    CancelVideoSource(&isCancel);
    return join();
  }
  std::int32_t join() {
    if (thread_.joinable()) thread_.join();
    return result_;
  }
  std::thread& thread() { return thread_; }
  std::string take() {  // the next frame, "" when none comes
    if (!eventually([this] { return get(canGetFrame) == 1; })) return "";
    std::string taken(frame.begin(), frame.begin() + get(frameLen));
    set(canGetFrame, 0);
    return taken;
  }

  std::uint8_t isCancel;
  std::uint8_t canGetFrame = 1;
  std::int32_t frameLen = 0;
  std::vector<std::uint8_t> frame = std::vector<std::uint8_t>(QUORVID_FRAME_CAPACITY);

 private:
  std::int32_t result_ = -99;
  std::thread thread_;
};

// The reply to a list request, up to the records.
inline std::string listHeader(std::int32_t itemCount, const std::string& tag = "3GAPV104",
                              std::int32_t cmd = 0x8001, std::int32_t replyLen = 8) {
  return tag + word(7) + word(cmd) + word(replyLen) + std::string(100, 'h') + word(itemCount);
}

// A record of 280 bytes, filled from seed, with extra bytes behind it.
inline std::string deviceRecord(std::int32_t itemLen, std::uint8_t seed, std::size_t extra = 0) {
  std::string bytes = word(itemLen);
  while (bytes.size() < 280) bytes += static_cast<char>(seed + bytes.size());
  return bytes + std::string(extra, 'x');
}

// Whether a record of the wire lies in an item that was all 0xFF before.
inline bool holdsRecord(const DevInfoItem& item, const std::string& wire) {
  std::string expected(sizeof item, '\xFF');
  const auto place = [&](std::size_t at, std::size_t from, std::size_t size) {
    expected.replace(at, size, wire, from, size);
  };
  place(offsetof(DevInfoItem, itemLen), 0, 4);
  place(offsetof(DevInfoItem, blk64), 4, 128);
  place(offsetof(DevInfoItem, numA), 132, 4);
  place(offsetof(DevInfoItem, numB), 136, 4);
  place(offsetof(DevInfoItem, byteA), 140, 140);
  return expected == std::string(reinterpret_cast<const char*>(&item), sizeof item);
}

}  // namespace quorvid::test
