// ReplyHeader: the 124 bytes that begin the reply to a query, found by their tag.
//
//  0     8         12         16         20              120         124
//  | tag | skipped | replyCmd | replyLen | skipped       | itemCount |
//
// Every field is acted on as soon as it is read; one that is wrong or does not arrive whole fails.
// A relay's reply has no itemCount: its last 104 bytes are all skipped.
#pragma once

#include <cstdint>

namespace quorvid {

constexpr std::int32_t kReplyHeaderSize = 124;
constexpr std::int32_t kMostDevices = 200;  // that a caller's table holds

// Reads size bytes; false when they do not all arrive.
bool receiveWhole(std::int32_t fd, void* field, std::int32_t size);
// Reads with a single read; false for anything but size bytes, an interrupted read included.
bool receiveAtOnce(std::int32_t fd, void* field, std::int32_t size);

enum class TagSearch { kFound, kNotYet, kFailed };

// Reads one byte into the window and says whether a reply's tag now stands in it.
TagSearch searchReplyTag(std::int32_t fd, std::uint8_t* window);
// Goes on searching until a tag stands in the window; false when the stream fails or ends first.
bool findReplyTag(std::int32_t fd, std::uint8_t* window);

// Reads the header behind the tag up to replyLen; false unless the reply is one of success with a
// replyLen of 8 or more.
bool readReplyStart(std::int32_t fd, std::int32_t& replyLen);
// Reads the header behind the tag whole; itemCount is 1..200, greater counts are cut.
bool readListHeader(std::int32_t fd, std::int32_t& itemCount);

}  // namespace quorvid
