// ThreadGetListForCar: one request, one reply, the records into the caller's table.
#include "connection/DeviceRecord.h"
#include "connection/QueryRequest.h"
#include "connection/ReplyHeader.h"
#include "connection/ServerConnection.h"
#include "connection/SharedValue.h"
#include "connection/Socket.h"
#include "connection/TagWindow.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

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

}  // namespace
}  // namespace quorvid

std::int32_t ThreadGetListForCar(DevInfoItem* items, std::int32_t* count, const char* host,
                                 std::int32_t port, std::int32_t /*port2*/, const char* acc,
                                 const char* pwd, const char* text3, std::int32_t* done) {
  using namespace quorvid;
  Socket socket(ConnectToServer(host, port));
  if (!socket.isOpen()) return -1;
  if (SendRequestGetListForCar(socket.descriptor(), acc, pwd, text3) == -1) {
    socket.forget();
    return -1;
  }
  if (!readReply(socket.descriptor(), items, count)) return -1;
  publish(done, 1);
  return 0;
}
