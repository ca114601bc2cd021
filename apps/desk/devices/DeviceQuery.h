// DeviceQuery: asks a server once for its device list, and finds out why where there is none.
// Blocks its thread, up to a minute; several may run at once.
#pragma once

#include <string>
#include <vector>

#include "apps/desk/model/Server.h"

namespace quorvid::desk {

struct QueryTarget {
  std::string host;
  int port = 0;
  std::string account;
  std::string password;

  friend bool operator==(const QueryTarget&, const QueryTarget&) = default;
};

enum class QueryOutcome {
  Complete,
  Incomplete,    // the list broke off; its first records are good
  Impossible,    // a text that no request can carry
  NameNotFound,  // or no name server answers
  Refused,       // nobody listens at that port
  Unreachable,   // no way there, or no answer to the attempt to connect
  NoAnswer,      // connected, but nothing came for 10 s
  WrongAnswer,   // something else than a list; a list of no devices counts as one
};

struct QueryAnswer {
  QueryOutcome outcome = QueryOutcome::Complete;
  std::vector<DevInfoItem> records;
};

QueryAnswer askForDevices(const QueryTarget& target);

// For the user: the headline, and the sentence under it. Empty for Complete.
std::string headlineOf(QueryOutcome outcome);
std::string sentenceOf(QueryOutcome outcome, const QueryTarget& target);

}  // namespace quorvid::desk
