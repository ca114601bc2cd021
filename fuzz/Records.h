// Records: how the input of every fuzzer but texts is laid out, and a mutator that keeps it so:
//
//   head (1 byte), then again and again: kind (1 byte) | length (2 bytes, least significant first)
//   | bytes
//
// What head and kind stand for is each fuzzer's own. A length beyond the end means: up to the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvid::fuzz {

using Bytes = std::vector<std::uint8_t>;

struct Record {
  std::uint8_t kind = 0;
  Bytes bytes;  // in memory of exactly their size, so that a read beyond them shows
};

struct Input {
  Input(const std::uint8_t* data, std::size_t size);
  // As many records as there is room for; the bytes written.
  std::size_t writeTo(std::uint8_t* data, std::size_t room) const;

  std::uint8_t head = 0;
  std::vector<Record> records;
};

// Ends the run when a promise is broken.
inline void require(bool holds) {
  if (!holds) __builtin_trap();
}

// Puts right what the bytes of a record that was changed say of themselves; most of the time it is
// asked to. Null: they say nothing.
inline void (*mend)(Bytes& bytes) = nullptr;

}  // namespace quorvid::fuzz
