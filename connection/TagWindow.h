// TagWindow: the last eight bytes of a stream, in which the tag of a frame or a reply is looked
// for.
//
// A search reads byte by byte, so a tag is found behind any garbage, also inside it.
#pragma once

#include <cstdint>

namespace quorvid {

constexpr std::int32_t kTagSize = 8;

// Moves the kTagSize bytes at window down by one and puts byte at the end.
void shiftIntoWindow(std::uint8_t* window, std::uint8_t byte);

// tag has kTagSize characters.
bool windowHolds(const std::uint8_t* window, const char* tag);

}  // namespace quorvid
