// A fleet server on a free port of the loopback interface; each client gets a thread that runs the
// given script.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace quorvid::test {

class FleetClient {
 public:
  explicit FleetClient(int descriptor) : descriptor_(descriptor) {}
  // The 81 bytes of the client's request; shorter when the client left.
  std::string readRequest();
  // All three return false when the client is gone.
  bool sendAnswer();
  bool sendVideo(std::string_view frame);
  bool send(std::string_view bytes);
  // Until the client closes or the server ends.
  void waitForClose();

 private:
  int descriptor_;
};

class FleetServer {
 public:
  using Script = std::function<void(FleetClient& client)>;
  explicit FleetServer(Script script);
  // Closes every connection and waits for the scripts.
  ~FleetServer();
  int port() const { return port_; }
  int clientsSoFar() const { return clients_; }
  int clientsNow() const { return open_; }

 private:
  void acceptAll();
  void serve(int descriptor);

  Script script_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<int> clients_{0};
  std::atomic<int> open_{0};
  std::mutex mutex_;
  bool ending_ = false;
  std::vector<int> descriptors_;
  std::condition_variable scriptEnded_;
  std::thread acceptor_;
};

}  // namespace quorvid::test
