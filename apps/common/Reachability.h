// Reachability: tries a server once, to tell why a stream did not come.
#pragma once

#include <cstdint>
#include <string>

#include "apps/common/Arguments.h"

namespace quorvid::app {

struct Reachability {
  enum class State : std::uint8_t { Unresolved, Refused, Silent, Connected };
  State state = State::Silent;
  std::string address;   // dotted, once the name was resolved
  std::string sentence;  // what was found, for a person
};

// Only resolves the name: `address` is empty when that failed.
Reachability resolveServer(const Endpoint& server, double timeout);

// Resolves the name and opens a connection of its own, which it closes at once. Takes at most
// `timeout` seconds; any thread.
Reachability tryServer(const Endpoint& server, double timeout);

}  // namespace quorvid::app
