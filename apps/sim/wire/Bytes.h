#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvid::sim {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// No frame on the wire is larger: it is the size of a client's receive buffer. The simulator knows
// the wire by itself, so that a mistake in the library shows against it.
constexpr std::size_t kMaxFrameBytes = 131072;

// Integers on the wire: 4 bytes, least significant first.
void appendInt32(Bytes& out, std::int64_t value);
void putInt32(Bytes& out, std::size_t at, std::int64_t value);
std::int32_t readInt32(ByteView bytes, std::size_t at);

// A text of at most `width` bytes, then zeros up to `width`. A longer text is cut.
void appendText(Bytes& out, std::string_view text, std::size_t width);
void appendZeros(Bytes& out, std::size_t count);

// The text of a fixed-width field: printable characters, one NUL, and zeros up to the field's end.
// Nothing when the field is not of this form.
std::optional<std::string> readText(ByteView field);

bool allZero(ByteView bytes);
bool startsWith(ByteView bytes, std::string_view text);

}  // namespace quorvid::sim
