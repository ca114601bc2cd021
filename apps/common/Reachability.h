// Reachability: tries a server once, to tell a person why a stream did not come, as far as that can
// be told from outside.
#pragma once

#include <string>

#include "apps/common/Target.h"

namespace quorvid::app {

struct Reachability {
  bool connected = false;
  std::string address;   // dotted, once the name was resolved
  std::string sentence;  // what was found, for a person
};

// Only resolves the name: `address` is empty when that failed. At most `timeout` seconds, or half a
// second of them where the command has been asked to end; any thread.
Reachability resolveServer(const Endpoint& server, double timeout);

// Resolves the name and opens a connection of its own, which it closes at once. Takes at most
// `timeout` seconds for each of the two.
Reachability tryServer(const Endpoint& server, double timeout);

// Why a query has no answer yet: one sentence, from a connection of its own. Within the `left`
// seconds that the query has, half a second at least.
std::string whyNoAnswerYet(const Endpoint& server, double left);

}  // namespace quorvid::app
