// ThreadGetListForCar asks once for the records of an account's devices, ThreadGetCarGPS again and
// again, on a new connection each time. Neither has more than one connection open.
#include "connection/BlockingIO.h"
#include "connection/QueryReply.h"
#include "connection/QueryRequest.h"
#include "connection/ServerConnection.h"
#include "connection/SharedValue.h"
#include "connection/Socket.h"
#include "connection/WireRecord.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

// Connects and asks; false when either fails.
bool askForList(Socket& socket, const char* host, std::int32_t port, const char* acc,
                const char* pwd, const char* text3) {
  const std::int32_t connected = ConnectToServer(host, port);
  if (connected == -1) return false;
  if (SendRequestGetListForCar(connected, acc, pwd, text3) == -1) return false;
  socket.adopt(connected);
  return true;
}

bool readRecords(std::int32_t fd, std::int32_t itemCount, DevInfoItem* items, std::int32_t* count) {
  DeviceScratch scratch;
  for (std::int32_t index = 0; index < itemCount; ++index) {
    if (!readDeviceRecord(fd, items[index])) return false;
    if (!skipExtraBytes(fd, items[index], scratch)) return false;
    publish(count, *count + 1);
  }
  return true;
}

bool readReply(std::int32_t fd, DevInfoItem* items, std::int32_t* count) {
  std::uint8_t window[kTagSize] = {};
  std::int32_t itemCount = 0;
  return findReplyTag(fd, window) && readListHeader(fd, itemCount) &&
         readRecords(fd, itemCount, items, count);
}

// The arguments of one call, borrowed until it returns.
struct GpsCall {
  DevInfoItem* items;
  std::int32_t* count;
  const char* host;
  std::int32_t port;
  const char* acc;
  const char* pwd;
  const char* text3;
  std::int32_t* done;
  std::uint8_t* run;
};

// The only writer of carCount.
class GpsPoller {
 public:
  explicit GpsPoller(const GpsCall& call) : call_(call), socket_(call.run) {}
  std::int32_t run();

 private:
  enum class State : std::int32_t { FindReply = 201, ReadRecords = 202 };

  bool connect();
  State findReply();
  State readRecords();

  const GpsCall call_;
  Socket socket_;
  State state_ = State::FindReply;
  std::int32_t itemCount_ = 0;
  // Its first 8 bytes are the tag window, which outlives a connection.
  DeviceScratch scratch_{};
};

std::int32_t GpsPoller::run() {
  publish(&carCount, 0);
  while (isSet(call_.run)) {
    if (!socket_.isOpen() && !connect()) return -1;
    if (state_ == State::FindReply) state_ = findReply();
    if (state_ == State::ReadRecords) state_ = readRecords();
  }
  publish(call_.done, 1);
  return 0;
}

bool GpsPoller::connect() {
  publish(&carCount, 0);
  return askForList(socket_, call_.host, call_.port, call_.acc, call_.pwd, call_.text3);
}

// One byte a turn; a reply that fails is asked for again at once, on a new connection.
GpsPoller::State GpsPoller::findReply() {
  publish(call_.done, 0);
  const TagSearch search = searchReplyTag(socket_.descriptor(), scratch_.data());
  if (search == TagSearch::NotYet) return State::FindReply;
  if (search == TagSearch::Found && readListHeader(socket_.descriptor(), itemCount_)) {
    return State::ReadRecords;
  }
  socket_.close();
  return State::FindReply;
}

// A short record ends the poll with the records before it. One whose extra bytes fail is whole, so
// it counts, but nothing can be read behind it.
GpsPoller::State GpsPoller::readRecords() {
  bool intact = true;
  for (std::int32_t index = 0; intact && index < itemCount_; ++index) {
    DevInfoItem& item = call_.items[index];
    if (!readDeviceRecord(socket_.descriptor(), item)) break;
    intact = skipExtraBytes(socket_.descriptor(), item, scratch_);
    publish(&carCount, carCount + 1);
  }
  publish(call_.done, 1);
  publish(call_.count, carCount);
  socket_.close();
  pauseFor(kPollPause);
  return State::FindReply;
}

}  // namespace
}  // namespace quorvid

std::int32_t ThreadGetListForCar(DevInfoItem* items, std::int32_t* count, const char* host,
                                 std::int32_t port, std::int32_t /*port2*/, const char* acc,
                                 const char* pwd, const char* text3, std::int32_t* done) {
  quorvid::Socket socket;
  if (!quorvid::askForList(socket, host, port, acc, pwd, text3)) return -1;
  if (!quorvid::readReply(socket.descriptor(), items, count)) return -1;
  quorvid::publish(done, 1);
  return 0;
}

std::int32_t ThreadGetCarGPS(DevInfoItem* items, std::int32_t* count, const char* host,
                             std::int32_t port, std::int32_t /*port2*/, const char* acc,
                             const char* pwd, const char* text3, std::int32_t* done,
                             std::uint8_t* run) {
  return quorvid::GpsPoller({items, count, host, port, acc, pwd, text3, done, run}).run();
}
