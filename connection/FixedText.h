// FixedText: texts in fields of fixed width, NUL-terminated and never truncated.
//
// Half an account or device name would ask for somebody else's stream, so a text that does not fit
// ends the process (abort) after one line on standard error.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvid {

// Copies text into a zeroed field of width bytes; a null text leaves it zero. name is for the line.
void copyFixedText(char* field, std::size_t width, const char* text, const char* name);

template <std::size_t Width>
void copyText(char (&field)[Width], const char* text, const char* name) {
  copyFixedText(field, Width, text, name);
}

// Writes a channel as two characters, "%02d" (-9..99), without a NUL.
void formatChannel(char (&digits)[2], std::int32_t channel);

}  // namespace quorvid
