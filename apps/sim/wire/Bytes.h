#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace quorvid::sim {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// No frame on the wire is larger: it is the size of a client's receive buffer.
constexpr std::size_t kMaxFrameBytes = 131072;

// Integers on the wire: 4 bytes, least significant first.
inline void putInt32(Bytes& out, std::size_t at, std::int64_t value) {
  for (std::size_t i = 0; i < 4; ++i) out.at(at + i) = static_cast<std::uint8_t>(value >> (8 * i));
}

inline void appendZeros(Bytes& out, std::size_t count) {
  out.resize(out.size() + count, 0);
}

inline void appendInt32(Bytes& out, std::int64_t value) {
  appendZeros(out, 4);
  putInt32(out, out.size() - 4, value);
}

inline void appendBytes(Bytes& out, ByteView bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

// A text of at most `width` bytes, then zeros up to `width`. A longer text is cut.
inline void appendText(Bytes& out, std::string_view text, std::size_t width) {
  text = text.substr(0, width);
  out.insert(out.end(), text.begin(), text.end());
  appendZeros(out, width - text.size());
}

}  // namespace quorvid::sim
