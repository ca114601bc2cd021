// Feeds any sequence of frames to a live session, through its workers, its queue and its decoder:
// what is handed out is the very picture of its frame, or none.
//
// Input (Records.h): head: which path, pictures or frames, and which of the Streams; a record: what
// the server does next, its bytes are the arguments. With bit 7 of the head the QueueModel is
// driven instead.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include "fuzz/QueueModel.h"
#include "fuzz/Server.h"
#include "fuzz/Streams.h"
#include "live/LiveSession.h"
#include "quorvid/base/Log.h"

namespace {

using namespace quorvid;
using fuzz::Bytes;
using fuzz::require;

constexpr std::chrono::microseconds kLook(50);

enum Step : std::uint8_t {
  kFrames,   // first and last one of the stream
  kFrame,    // which
  kWithout,  // which, and the unit of it that is left out
  kCut,      // which, and how many of its last 256ths
  kForeign,  // any bytes as a frame
  kLost,     // the connection: closed or reset
  kBytes,    // any bytes in the place of a packet
  kSteps
};

// What the server sends, and what each frame of it should come to.
class Script {
 public:
  Script(const fuzz::Stream& stream, bool isCar)
      : stream_(stream), isCar_(isCar), isHonest_(stream.name.starts_with("live")) {
    begin();
  }

  void add(const fuzz::Record& record) {
    const Bytes& bytes = record.bytes;
    const auto argument = [&bytes](std::size_t i) { return i < bytes.size() ? bytes[i] : 0U; };
    const std::size_t which = argument(0) % stream_.frames.size();
    switch (record.kind % kSteps) {
      case kFrames:
        for (std::size_t i = which; i <= argument(1) && i < stream_.frames.size(); ++i) send(i);
        break;
      case kFrame:
        send(which);
        break;
      case kWithout:
        sendWithout(which, argument(1));
        break;
      case kCut: {
        const Bytes& frame = stream_.frames[which];
        send({frame.begin(), frame.end() - frame.size() * argument(1) / 256}, std::nullopt);
        isHonest_ = false;  // what is left may be a slice of something else
        break;
      }
      case kLost:
        records_.push_back({argument(0) % 2 == 0 ? fuzz::kClosed : fuzz::kReset, {}});
        begin();
        break;
      default:
        isHonest_ = false;
        record.kind % kSteps == kBytes ? records_.push_back({0, bytes}) : send(bytes, {});
    }
  }

  std::vector<fuzz::Record> take() { return std::move(records_); }
  // Frames and parts of frames alone, of a stream that tells which are missing: every picture is
  // known.
  bool isHonest() const { return isHonest_; }
  // number: counted from 1, as the session counts what it receives.
  bool isPictureOf(std::uint64_t number, CVPixelBufferRef picture) const {
    return pictures_.at(number - 1) == fuzz::hashOf(picture);
  }
  bool isFrame(std::uint64_t number, const Frame& frame) const {
    return Bytes(frame.bytes.begin() + 1, frame.bytes.end()) == frames_.at(number - 1);
  }

 private:
  void begin() {
    if (!isCar_) records_.push_back({0, Bytes(18)});
    number_ = 0;
  }
  void send(std::size_t which) { send(stream_.frames[which], stream_.pictures[which]); }

  void sendWithout(std::size_t which, std::size_t unit) {
    Bytes frame = stream_.frames[which];
    const auto units = h264::unitsOf(frame);
    const auto& gone = units[unit % units.size()];
    const bool isSlice =
        gone.type == h264::UnitType::Slice || gone.type == h264::UnitType::KeySlice;
    frame.erase(frame.begin() + static_cast<std::ptrdiff_t>(gone.startCode),
                frame.begin() + static_cast<std::ptrdiff_t>(gone.end));
    send(frame, isSlice ? std::nullopt : stream_.pictures[which]);
  }

  void send(const Bytes& frame, std::optional<std::size_t> picture) {
    const auto byteOf = [](std::size_t value, int i) {
      return static_cast<std::uint8_t>(value >> 8 * i);
    };
    Bytes packet(isCar_ ? 36 : 19);
    const std::size_t lengthAt = isCar_ ? 16 : 1;
    packet[0] = 'V';
    if (isCar_) std::copy_n("3GTSV100", 8, packet.begin());
    ++number_;
    for (int i = 0; i < 4; ++i) packet[lengthAt + i] = byteOf(frame.size(), i);
    for (int i = 0; isCar_ && i < 4; ++i) packet[8 + i] = byteOf(number_, i);
    packet.insert(packet.end(), frame.begin(), frame.end());
    records_.push_back({0, std::move(packet)});
    if (frame.empty()) return;
    frames_.push_back(frame);
    pictures_.push_back(picture);
  }

  const fuzz::Stream& stream_;
  const bool isCar_;
  bool isHonest_;
  std::size_t number_ = 0;  // of the frame that was sent last, on its connection
  std::vector<fuzz::Record> records_;
  std::vector<Bytes> frames_;
  std::vector<std::optional<std::size_t>> pictures_;
};

std::atomic<std::uint64_t> asked;  // how often the decoding thread was done with all it had
std::atomic<bool> isOver;          // the receiving thread has nothing more

// Takes everything that the session hands out, until both threads are done with the script.
void watch(LiveSession& session, const Script& script) {
  for (std::uint64_t last = 0;;) {
    const bool mayBeDone = isOver;  // before the report, which then counts everything
    const SessionReport report = session.report();
    const bool isDone = mayBeDone && asked > report.received - report.lost;
    if (auto picture = session.takePicture()) {
      session.complete(*picture);
      require(picture->number > last);
      last = picture->number;
      if (script.isHonest()) {
        require(picture->buffer == nullptr || script.isPictureOf(last, picture->buffer.get()));
        require(picture->frame == nullptr || script.isFrame(last, *picture->frame));
      }
    } else if (isDone) {
      require(report.decoded + report.held + report.lost <= report.received);
      return;
    } else {
      std::this_thread::sleep_for(kLook);
    }
  }
}

}  // namespace

// The linker puts this in the place of FrameQueue::take() where another file calls it.
std::optional<Frame> realTake(FrameQueue* queue) asm("__real__ZN7quorvid10FrameQueue4takeEv");
std::optional<Frame> countedTake(FrameQueue* queue) asm("__wrap__ZN7quorvid10FrameQueue4takeEv");
std::optional<Frame> countedTake(FrameQueue* queue) {
  ++asked;
  return realTake(queue);
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  setLogSink([](std::string_view) {});
  fuzz::server.paused = [](double) { isOver = fuzz::server.isOver(); };
  return fuzz::streams().empty() ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  if ((input.head & 0x80) != 0) {
    fuzz::QueueModel queue((input.head & 1) != 0);
    for (const auto& record : input.records) queue.take(record);
    return 0;
  }
  const bool isCar = (input.head & 1) != 0;
  Script script(fuzz::streams()[(input.head >> 2) % fuzz::streams().size()], isCar);
  for (const auto& record : input.records) script.add(record);
  fuzz::server.serve(script.take());
  asked = 0;
  isOver = false;
  LiveTarget target;
  target.host = "127.0.0.1";
  target.port = 1;
  target.device = "device";
  target.path = isCar ? LivePath::Car : LivePath::Fleet;
  const Delivery delivery{PictureForm::AsDecoded, true, (input.head & 2) != 0};
  const auto session = LiveSession::start(target, 1e6, std::make_shared<Wake>(), false, delivery);
  watch(*session, script);
  session->end();
  while (session.use_count() > 1) std::this_thread::sleep_for(kLook);
  fuzz::server.finish();
  return 0;
}
