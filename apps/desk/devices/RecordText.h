// RecordText: a device's record as texts that can be shown: whatever bytes a server sends, they are
// bounded, valid UTF-8 and without control characters. Plain logic.
#pragma once

#include <string>
#include <vector>

#include "apps/desk/model/Server.h"

namespace quorvid::desk {

// The block up to its first zero byte.
std::string shownText(const std::uint8_t* block, std::size_t size);
template <std::size_t Size>
std::string shownText(const std::uint8_t (&block)[Size]) {
  return shownText(block, Size);
}
// The value of the wire, which lies in the low half of a long.
std::int32_t wireValue(long number);

// Its identifier is the bytes of blk64 as they came, since they are what a stream is asked for by;
// its name blkA32 where that is printable text.
Device deviceOf(const DevInfoItem& record);
// The records as devices, by name, and behind them those typed that no record names.
std::vector<Device> devicesOf(const std::vector<DevInfoItem>& records,
                              const std::vector<std::string>& typed);

// Each field by its name: numbers, texts, and the bytes of the blocks as hexadecimal digits.
std::string rawText(const DevInfoItem& record);

}  // namespace quorvid::desk
