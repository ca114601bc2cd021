// DeviceRecord: reading one DevInfoItem of a list reply.
//
//  0         4       68       100      132    136    140     141     142     143    152      280
//  | itemLen | blk64 | blkA32 | blkB32 | numA | numB | byteA | byteB | byteC | blk9 | blk128 | more
//
// itemLen counts the whole record. From 284 on, itemLen - 280 more bytes follow, which are skipped.
#pragma once

#include <array>
#include <cstdint>

#include "connection/ReplyHeader.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {

constexpr std::int32_t kDeviceRecordSize = 280;

// Where skipped bytes of a record go; also the most that a record may have of them.
using DeviceScratch = std::array<std::uint8_t, kReplyHeaderSize + 8 * kDeviceRecordSize>;

// Reads the 280 bytes field by field straight into item, up to the first field that does not arrive
// whole; false in that case.
bool readDeviceRecord(std::int32_t fd, DevInfoItem& item);

// Skips the bytes that follow a whole record; false when there are too many or they do not arrive.
bool skipExtraBytes(std::int32_t fd, const DevInfoItem& item, DeviceScratch& scratch);

}  // namespace quorvid
