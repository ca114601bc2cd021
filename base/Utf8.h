// Utf8: one character at the front of a text. Plain logic; the bytes may be anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorvid {

struct Utf8Character {
  std::uint32_t code = 0;
  std::size_t size = 0;  // bytes; 0: no character begins here
};

// Only the shortest form of a character counts, and no surrogate, nor anything above U+10FFFF.
inline Utf8Character utf8CharacterAt(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  if (text.empty() || (byte(0) >= 0x80 && byte(0) < 0xC2) || byte(0) > 0xF4) return {};
  if (byte(0) < 0x80) return {byte(0), 1};
  const std::size_t size = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (size > text.size()) return {};
  std::uint32_t code = byte(0) & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {};
    code = code << 6 | (byte(i) & 0x3FU);
  }
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kLeast[size] || code > 0x10FFFF || surrogate) return {};
  return {code, size};
}

}  // namespace quorvid
