#include "sim/wire/Bytes.h"

#include <algorithm>

namespace quorvid::sim {

void appendInt32(Bytes& out, std::int64_t value) {
  appendZeros(out, 4);
  putInt32(out, out.size() - 4, value);
}

void putInt32(Bytes& out, std::size_t at, std::int64_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  for (std::size_t i = 0; i < 4; ++i) out.at(at + i) = static_cast<std::uint8_t>(bits >> (8 * i));
}

std::int32_t readInt32(ByteView bytes, std::size_t at) {
  const ByteView four = bytes.subspan(at, 4);
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < 4; ++i) bits |= static_cast<std::uint32_t>(four[i]) << (8 * i);
  return static_cast<std::int32_t>(bits);
}

void appendText(Bytes& out, std::string_view text, std::size_t width) {
  const std::size_t length = std::min(text.size(), width);
  out.insert(out.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
  appendZeros(out, width - length);
}

void appendZeros(Bytes& out, std::size_t count) {
  out.resize(out.size() + count, 0);
}

std::optional<std::string> readText(ByteView field) {
  const auto end = std::find(field.begin(), field.end(), 0);
  if (end == field.end() || !std::all_of(end, field.end(), [](std::uint8_t b) { return b == 0; })) {
    return std::nullopt;
  }
  std::string text(field.begin(), end);
  const bool printable = std::all_of(text.begin(), text.end(),
                                     [](char c) { return c < 0 || (c >= 0x20 && c != 0x7f); });
  if (!printable) return std::nullopt;
  return text;
}

bool allZero(ByteView bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; });
}

bool startsWith(ByteView bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::equal(text.begin(), text.end(), bytes.begin());
}

}  // namespace quorvid::sim
