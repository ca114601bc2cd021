// QueryReply: the reply to a query, a header found by its tag and then device records.
//
// The layouts are drawn in VehicleConnection.h. Every field is acted on as soon as it is read; one
// that is wrong or does not arrive whole fails. A relay's reply has no itemCount: the last 104
// bytes of its header are all skipped.
#pragma once

#include <array>
#include <cstdint>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {

constexpr std::int32_t kReplyHeaderSize = 124;
constexpr std::int32_t kDeviceRecordSize = 280;
constexpr std::int32_t kMostDevices = 200;  // that a caller's table holds

// Where skipped bytes of a record go; also the most that a record may have of them.
using DeviceScratch = std::array<std::uint8_t, kReplyHeaderSize + 8 * kDeviceRecordSize>;

// Reads size bytes; false when they do not all arrive.
bool receiveWhole(std::int32_t fd, void* field, std::int32_t size);
// Reads with a single read; false for anything but size bytes, an interrupted read included.
bool receiveAtOnce(std::int32_t fd, void* field, std::int32_t size);

enum class TagSearch { Found, NotYet, Failed };

// Reads one byte into the window and says whether a reply's tag now stands in it.
TagSearch searchReplyTag(std::int32_t fd, std::uint8_t* window);
// Goes on searching until a tag stands in the window; false when the stream fails or ends first.
bool findReplyTag(std::int32_t fd, std::uint8_t* window);

// Reads the header behind the tag up to replyLen; false unless the reply is one of success with a
// replyLen of 8 or more.
bool readReplyStart(std::int32_t fd, std::int32_t& replyLen);
// Reads the header behind the tag whole; itemCount is 1..200, greater counts are cut.
bool readListHeader(std::int32_t fd, std::int32_t& itemCount);

// Reads the 280 bytes field by field straight into item, up to the first field that does not arrive
// whole; false in that case.
bool readDeviceRecord(std::int32_t fd, DevInfoItem& item);

// Skips the bytes that follow a whole record; false when there are too many or they do not arrive.
bool skipExtraBytes(std::int32_t fd, const DevInfoItem& item, DeviceScratch& scratch);

}  // namespace quorvid
