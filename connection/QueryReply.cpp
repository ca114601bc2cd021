#include "connection/QueryReply.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "connection/WireRecord.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

constexpr std::int32_t kReplyOfSuccess = 0x8001;

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

bool isReplyTag(const std::uint8_t* window) {
  return windowHolds(window, "3GAPV103") || windowHolds(window, "3GAPV104") ||
         windowHolds(window, "3GAPV105");
}

}  // namespace

bool receiveWhole(std::int32_t fd, void* field, std::int32_t size) {
  return readn(fd, field, size) == size;
}

bool receiveAtOnce(std::int32_t fd, void* field, std::int32_t size) {
  return ::read(fd, field, static_cast<std::size_t>(size)) == size;
}

TagSearch searchReplyTag(std::int32_t fd, std::uint8_t* window) {
  std::uint8_t byte = 0;
  if (!receiveAtOnce(fd, &byte, 1)) return TagSearch::Failed;
  shiftIntoWindow(window, byte);
  return isReplyTag(window) ? TagSearch::Found : TagSearch::NotYet;
}

bool findReplyTag(std::int32_t fd, std::uint8_t* window) {
  TagSearch search = TagSearch::NotYet;
  while (search == TagSearch::NotYet) search = searchReplyTag(fd, window);
  return search == TagSearch::Found;
}

bool readReplyStart(std::int32_t fd, std::int32_t& replyLen) {
  std::int32_t skipped = 0;
  std::int32_t replyCmd = 0;
  if (!receiveWhole(fd, &skipped, 4)) return false;
  if (!receiveWhole(fd, &replyCmd, 4) || replyCmd != kReplyOfSuccess) return false;
  return receiveWhole(fd, &replyLen, 4) && replyLen >= 8;
}

bool readListHeader(std::int32_t fd, std::int32_t& itemCount) {
  std::array<std::uint8_t, 100> skipped;
  std::int32_t replyLen = 0;
  if (!readReplyStart(fd, replyLen)) return false;
  if (!receiveWhole(fd, skipped.data(), 100) || !receiveWhole(fd, &itemCount, 4)) return false;
  itemCount = std::min(itemCount, kMostDevices);
  return itemCount >= 1;
}

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
