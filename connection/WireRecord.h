// WireRecord: records that lie in memory as they lie on the wire.
//
// Integers are read and written straight from and into host integers, so the host must be
// little-endian as the wire is.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace quorvid {

static_assert(std::endian::native == std::endian::little);

// Zeroes the len bytes at out and puts the record at their start.
template <class Record>
void putRecord(std::uint8_t* out, std::int32_t len, const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  if (len <= 0) return;
  const auto room = static_cast<std::size_t>(len);
  memset(out, 0, room);
  memcpy(out, &record, std::min(room, sizeof record));
}

// The next number; the greatest is followed by the least.
inline std::int32_t following(std::int32_t number) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) + 1U);
}

}  // namespace quorvid
