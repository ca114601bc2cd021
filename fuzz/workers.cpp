// Feeds any bytes to the five workers and queries of the network room, each through a socket of its
// own.
//
// Input (Records.h): head: which call, whether it has an observer, whether lines are printed, and
// how often the consumer looks before it takes a frame; the records: Server.h. The call ends when
// nothing more will come.
#include <string>
#include <utility>

#include "connection/StreamObserver.h"
#include "fuzz/Server.h"
#include "quorvid/connection/VehicleConnection.h"

namespace {

using namespace quorvid;
using fuzz::require;
using fuzz::server;

constexpr std::size_t kMostDevices = 200;
constexpr double kLongestStep = 0.05;  // seconds; what is longer isn't a look at the slot

struct Client {
  std::uint8_t stop = 0, run = 1, frameIsThere = 0;
  int patience = 0, looks = 0;
  fuzz::Bytes frame = fuzz::Bytes(QUORVID_FRAME_CAPACITY);
  std::int32_t frameLen = 0;

  void takeFrame() {
    if (std::exchange(frameIsThere, 0) == 0) return;
    require(frameLen > 0 && frameLen <= QUORVID_FRAME_CAPACITY);
  }
};
Client client;

// Holds the workers to what StreamObserver.h says of their calls.
class Observer final : public StreamObserver {
 public:
  void told(StreamEvent event, std::int32_t detail) override {
    require(!isLost_ || event == StreamEvent::Pausing);
    isLost_ = event >= StreamEvent::Refused && event <= StreamEvent::WrongLength;
    isConnected_ = event == StreamEvent::Connected || (isConnected_ && !isLost_);
    const std::string sentence = sentenceOf(event, detail, "peer", "host", "device");
    require(!isLost_ || !sentence.empty());
  }
  void frameArrived(const std::uint8_t* bytes, std::size_t size) override {
    require(isConnected_ && size > 0 && size <= QUORVID_FRAME_CAPACITY);
    const fuzz::Bytes copy(bytes, bytes + size);
  }

 private:
  bool isLost_ = false, isConnected_ = false;
};

void stream(unsigned call, bool isObserved) {
  const VideoCall slot{"127.0.0.1",
                       1,
                       0,
                       0,
                       "",
                       "",
                       &client.stop,
                       "",
                       "",
                       &client.frameIsThere,
                       client.frame.data(),
                       &client.frameLen};
  Observer observer;
  constexpr decltype(&runFleetVideo) kWorkers[] = {runFleetVideo, runCarVideo, runRelayVideo};
  kWorkers[call](slot, isObserved ? &observer : nullptr);
  client.takeFrame();
}

void query(bool again) {
  std::vector<DevInfoItem> items(kMostDevices);
  std::int32_t count = 0, done = 0;
  if (again) {
    ThreadGetCarGPS(items.data(), &count, "127.0.0.1", 1, 0, "", "", "", &done, &client.run);
    count = carCount;
  } else {
    const std::int32_t result =
        ThreadGetListForCar(items.data(), &count, "127.0.0.1", 1, 0, "", "", "", &done);
    require((result == 0) == (done == 1));
  }
  require(count >= 0 && count <= static_cast<std::int32_t>(kMostDevices));
}

void stop() {
  CancelVideoSource(&client.stop);
  StopCarGPS(&client.run);
}

void pause(double seconds) {
  if (seconds < kLongestStep) {
    if (client.patience < 7 && ++client.looks > client.patience) client.takeFrame();
    return;
  }
  client.looks = 0;
  // Between two connections; or a peer closed, and a worker without an observer waits for more.
  if (seconds < 1 || server.isOver()) stop();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz::mend = fuzz::mendWire;
  server.stop = stop;
  server.paused = pause;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  server.serve(std::move(input.records));
  client.stop = client.frameIsThere = 0;
  client.run = 1;
  client.patience = input.head >> 5;
  client.looks = 0;
  if ((input.head & 8) != 0) {
    SilenceConnectionPrinter();
  } else {
    SetConnectionPrinter([](const char* line, void*) { require(*line != '\0'); }, nullptr);
  }
  const unsigned call = (input.head & 7) % 5;
  call < 3 ? stream(call, (input.head & 16) != 0) : query(call == 3);
  server.finish();
  return 0;
}
