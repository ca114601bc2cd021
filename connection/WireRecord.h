// WireRecord: records, fields and tags as they lie on the wire.
//
// Integers are read and written straight from and into host integers, so the host must be
// little-endian as the wire is. Texts have fields of fixed width, are NUL-terminated and never
// truncated: half an account or device name would ask for somebody else's stream, so one that does
// not fit ends the process (abort) after one line on standard error.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
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

// Copies text into a zeroed field of width bytes; a null text leaves it zero. name is for the line.
void copyFixedText(char* field, std::size_t width, const char* text, const char* name);

template <std::size_t Width>
void copyText(char (&field)[Width], const char* text, const char* name) {
  copyFixedText(field, Width, text, name);
}

// Writes a channel as two characters, "%02d" (-9..99), without a NUL.
void formatChannel(char (&digits)[2], std::int32_t channel);

// The next number; the greatest is followed by the least.
std::int32_t following(std::int32_t number);

// A tag is looked for in the last eight bytes of a stream, read byte by byte, so that it is found
// behind any garbage, also inside it.
constexpr std::int32_t kTagSize = 8;

// Moves the kTagSize bytes at window down by one and puts byte at the end.
void shiftIntoWindow(std::uint8_t* window, std::uint8_t byte);
// tag has kTagSize characters.
bool windowHolds(const std::uint8_t* window, const char* tag);

}  // namespace quorvid
