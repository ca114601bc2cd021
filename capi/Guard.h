// Guard: keeps exceptions inside the C interface, and reads and writes structs of any age.
//
//   +0 size  +4 ...   size: what the caller's compiler knew of the struct
#pragma once

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>

#include "quorvid/base/Log.h"
#include "quorvid/quorvid.h"

namespace quorvid::capi {

// The call's result; QUORVID_NO_RESOURCES when it throws.
template <class Call>
std::int32_t guarded(const Call& call) noexcept {
  try {
    return call();
  } catch (const std::exception& error) {
    logMessage("quorvid: a call failed: %s", error.what());
  } catch (...) {
    logMessage("quorvid: a call failed");
  }
  return QUORVID_NO_RESOURCES;
}

// The same for calls that make something; null when they throw.
template <class Call>
auto guardedPointer(const Call& call) noexcept -> decltype(call()) {
  decltype(call()) made = nullptr;
  guarded([&] { return made = call(), QUORVID_OK; });
  return made;
}

template <class Struct>
bool hasSize(const Struct* given) {
  constexpr std::uint32_t kSmallest = 8;
  return given != nullptr && given->size >= kSmallest;
}

// `defaults` where the caller's struct ends earlier. Nothing without a size.
template <class Struct>
std::optional<Struct> readStruct(const Struct* given, Struct defaults) {
  if (!hasSize(given)) return std::nullopt;
  std::memcpy(&defaults, given, std::min<std::size_t>(given->size, sizeof defaults));
  return defaults;
}

template <class Struct>
std::int32_t writeStruct(Struct full, Struct* out) {
  if (!hasSize(out)) return QUORVID_BAD_ARGUMENT;
  full.size = out->size;
  std::memcpy(out, &full, std::min<std::size_t>(full.size, sizeof full));
  return QUORVID_OK;
}

}  // namespace quorvid::capi
