#include "connection/QueryRequest.h"

#include <unistd.h>

#include <cstddef>

#include "connection/ServerConnection.h"
#include "connection/WireRecord.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

// The relay's block as the servers know it: its size word counts longs of the client's width, while
// on the wire every integer has 4 bytes.
struct RelayBlock {
  long size;
  long one;
  char carId[64];
  long channelNumber;
  long zeros[2];
};
constexpr std::int32_t kRelayBlockSize = sizeof(RelayBlock);
static_assert(kRelayBlockSize == (sizeof(long) == 8 ? 104 : 84));

struct QueryRecord {
  char tag[8] = {'3', 'G', 'A', 'P', 'V', '1', '0', '4'};
  std::int32_t constantOne = 1;  // +8
  std::int32_t command = 0;      // +12
  std::int32_t size = 0;         // +16
  char acc[32] = {};             // +20
  char pwd[32] = {};             // +52
  char text3[32] = {};           // +84, the timestamp of a relay lookup
  std::int32_t wantsRelay = 0;   // +116
  // The relay block, all zero in a list request.
  std::int32_t relaySize = 0;      // +120
  std::int32_t relayOne = 0;       // +124
  char carId[64] = {};             // +128
  std::int32_t channelNumber = 0;  // +192, counted from 1
  std::int32_t zeros[2] = {};      // +196; zeros up to +500
};
static_assert(offsetof(QueryRecord, wantsRelay) == 116 && sizeof(QueryRecord) == 204);

QueryRecord queryRecord(std::int32_t command, std::int32_t size, const char* acc, const char* pwd) {
  QueryRecord record;
  record.command = command;
  record.size = size;
  copyText(record.acc, acc, "acc");
  copyText(record.pwd, pwd, "pwd");
  return record;
}

std::int32_t sendQuery(std::int32_t socket, const std::uint8_t* request) {
  const std::int32_t sent = writen(socket, request, kQueryRequestSize);
  if (sent < 0) ::close(socket);
  return sent;
}

}  // namespace

extern "C" {

void InitRequestStringGetListForCar(std::uint8_t* out, std::int32_t len, const char* acc,
                                    const char* pwd, const char* text3) {
  QueryRecord record = queryRecord(130, 284, acc, pwd);
  copyText(record.text3, text3, "text3");
  putRecord(out, len, record);
}

void InitRequestStringGetRelayForCar(std::uint8_t* out, std::int32_t len, std::int32_t channel,
                                     const char* acc, const char* pwd, const char* carId,
                                     const char* timestamp) {
  QueryRecord record = queryRecord(134, kRelayBlockSize, acc, pwd);
  copyText(record.text3, timestamp, "timestamp");
  record.wantsRelay = 1;
  record.relaySize = kRelayBlockSize;
  record.relayOne = 1;
  if (timestamp != nullptr) copyText(record.carId, carId, "carId");
  record.channelNumber = following(channel);
  putRecord(out, len, record);
}

std::int32_t SendRequestGetListForCar(std::int32_t socket, const char* acc, const char* pwd,
                                      const char* text3) {
  applyRequestProfile(socket);
  std::uint8_t request[kQueryRequestSize];
  InitRequestStringGetListForCar(request, kQueryRequestSize, acc, pwd, text3);
  return sendQuery(socket, request);
}

std::int32_t SendRequestGetRelayForCar(std::int32_t socket, std::int32_t channel, const char* acc,
                                       const char* pwd, const char* timestamp, const char* carId) {
  applyRequestProfile(socket);
  std::uint8_t request[kQueryRequestSize];
  InitRequestStringGetRelayForCar(request, kQueryRequestSize, channel, acc, pwd, carId, timestamp);
  return sendQuery(socket, request);
}

}  // extern "C"

}  // namespace quorvid
