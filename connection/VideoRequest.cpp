#include "connection/VideoRequest.h"

#include <unistd.h>

#include <cstring>
#include <string>
#include <tuple>

#include "connection/BlockingIO.h"
#include "connection/ServerConnection.h"
#include "connection/StreamObserver.h"
#include "connection/WireRecord.h"

namespace quorvid {
namespace {

// Names the stream by device and channel alone; what follows the mark is reserved and zero.
struct FleetRecord {
  char start[3] = {'0', '0', '1'};
  char carId[32] = {};     // +3
  char channel[2] = {};    // +35
  char mark = 'L';         // +37
  char reserved[43] = {};  // +38
};
static_assert(sizeof(FleetRecord) == kFleetRequestSize);

struct CarRecord {
  char tag[8] = {'3', 'G', 'T', 'X', 'V', '1', '0', '0'};
  std::int32_t kind = 2;           // +8
  std::int32_t fieldBytes = 164;   // +12, what follows up to +180
  char acc[32] = {};               // +16
  char pwd[32] = {};               // +48
  char timestamp[32] = {};         // +80
  char carId[64] = {};             // +112
  std::uint8_t constantTwo = 2;    // +176
  std::uint8_t constantOne = 1;    // +177
  std::uint8_t channelNumber = 0;  // +178, counted from 1
  std::uint8_t constantZero = 0;   // +179; zeros up to +500
};
static_assert(sizeof(CarRecord) == 16 + 164);

using Builder = decltype(&InitRequestStringForFleet);

template <std::int32_t Size>
std::int32_t sendVideoRequest(Builder build, std::int32_t socket, std::int32_t channel,
                              const char* acc, const char* pwd, const char* timestamp,
                              const char* carId) {
  applyRequestProfile(socket);
  if (acc == nullptr || pwd == nullptr) acc = pwd = "";
  std::uint8_t record[Size];
  build(record, Size, channel, acc, pwd, carId, timestamp);
  const ssize_t sent = writeOnce(socket, record, Size);
  if (sent < 0) {
    ::close(socket);
    return -1;
  }
  return static_cast<std::int32_t>(sent);
}

// The name is for people. Fields hold a NUL behind the text.
std::string refusalOfText(const char* name, const char* text, std::size_t width) {
  if (text == nullptr || strnlen(text, width) < width) return "";
  return std::string("the ") + name + " has more than " + std::to_string(width - 1) + " characters";
}

std::string refusalOfTarget(const VideoCall& call, std::int32_t lastChannel) {
  if (call.host == nullptr || *call.host == '\0') return "no host is given";
  if (call.mediaPort < 1 || call.mediaPort > 65535) return "the port is not from 1 to 65535";
  if (call.channel >= 0 && call.channel <= lastChannel) return "";
  return "the channel is not from 0 to " + std::to_string(lastChannel);
}

}  // namespace

std::string refusalOfFleet(const VideoCall& call) {
  std::string refusal = refusalOfTarget(call, 99);  // two digits
  if (!refusal.empty()) return refusal;
  return refusalOfText("device name", call.carId, sizeof FleetRecord::carId);
}

std::string refusalOfCar(const VideoCall& call) {
  std::string refusal = refusalOfTarget(call, 254);  // one more has to fit one byte
  for (const auto& [name, text, width] :
       {std::tuple("account", call.acc, sizeof CarRecord::acc),
        std::tuple("password", call.pwd, sizeof CarRecord::pwd),
        std::tuple("token", call.timestamp, sizeof CarRecord::timestamp),
        std::tuple("device name", call.carId, sizeof CarRecord::carId)}) {
    if (refusal.empty()) refusal = refusalOfText(name, text, width);
  }
  return refusal;
}

extern "C" {

void InitRequestStringForFleet(std::uint8_t* out, std::int32_t len, std::int32_t channel,
                               const char* /*acc*/, const char* /*pwd*/, const char* carId,
                               const char* /*timestamp*/) {
  FleetRecord record;
  copyText(record.carId, carId, "carId");
  formatChannel(record.channel, channel);
  putRecord(out, len, record);
}

void InitRequestStringForCar(std::uint8_t* out, std::int32_t len, std::int32_t channel,
                             const char* acc, const char* pwd, const char* carId,
                             const char* timestamp) {
  CarRecord record;
  copyText(record.acc, acc, "acc");
  copyText(record.pwd, pwd, "pwd");
  copyText(record.timestamp, timestamp, "timestamp");
  copyText(record.carId, carId, "carId");
  record.channelNumber = static_cast<std::uint8_t>(following(channel));
  putRecord(out, len, record);
}

std::int32_t SendRequestForFleet(std::int32_t socket, std::int32_t channel, const char* acc,
                                 const char* pwd, const char* timestamp, const char* carId) {
  return sendVideoRequest<kFleetRequestSize>(InitRequestStringForFleet, socket, channel, acc, pwd,
                                             timestamp, carId);
}

std::int32_t SendRequestForCar(std::int32_t socket, std::int32_t channel, const char* acc,
                               const char* pwd, const char* timestamp, const char* carId) {
  return sendVideoRequest<kCarRequestSize>(InitRequestStringForCar, socket, channel, acc, pwd,
                                           timestamp, carId);
}

}  // extern "C"

}  // namespace quorvid
