#include "connection/DeviceRecord.h"

#include <cstring>

#include "connection/WireRecord.h"

namespace quorvid {
namespace {

// A long takes the 4 bytes of the wire in its low half.
bool receiveLong(std::int32_t fd, long& field) {
  return receiveWhole(fd, &field, 4);
}

template <std::size_t Size>
bool receiveBlock(std::int32_t fd, std::uint8_t (&block)[Size]) {
  return receiveWhole(fd, block, Size);
}

// itemLen as it came, without what the high half of a long may hold from before.
std::int32_t wireLength(const DevInfoItem& item) {
  std::int32_t length = 0;
  memcpy(&length, &item.itemLen, sizeof length);
  return length;
}

}  // namespace

static_assert(sizeof(long) == 8 || sizeof(DevInfoItem) == kDeviceRecordSize);

bool readDeviceRecord(std::int32_t fd, DevInfoItem& item) {
  return receiveLong(fd, item.itemLen) && receiveBlock(fd, item.blk64) &&
         receiveBlock(fd, item.blkA32) && receiveBlock(fd, item.blkB32) &&
         receiveLong(fd, item.numA) && receiveLong(fd, item.numB) &&
         receiveWhole(fd, &item.byteA, 1) && receiveWhole(fd, &item.byteB, 1) &&
         receiveWhole(fd, &item.byteC, 1) && receiveBlock(fd, item.blk9) &&
         receiveBlock(fd, item.blk128);
}

bool skipExtraBytes(std::int32_t fd, const DevInfoItem& item, DeviceScratch& scratch) {
  const std::int32_t length = wireLength(item);
  if (length < kDeviceRecordSize + 4) return true;
  const std::int32_t extra = length - kDeviceRecordSize;
  return extra <= static_cast<std::int32_t>(scratch.size()) &&
         receiveWhole(fd, scratch.data(), extra);
}

}  // namespace quorvid
