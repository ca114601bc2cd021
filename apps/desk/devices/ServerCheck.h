// ServerCheck: whether what was typed for a server fits what its requests can carry. Texts longer
// than their fields would end the program, so remembered ones are looked at, too. Plain logic.
#pragma once

#include <string>

#include "apps/desk/model/Server.h"

namespace quorvid::desk {

enum class ServerField { None, Host, ListPort, VideoPort, Account, Password };

// What stands in the dialog's entries.
struct ServerEntry {
  std::string name;
  std::string host;
  std::string listPort;  // may be empty: there is no device list
  std::string videoPort;
  LivePath path = LivePath::Fleet;
  std::string account;
  std::string password;
  int cameras = 4;
};

struct ServerTrouble {
  ServerField field = ServerField::None;
  std::string sentence;  // empty: all is well
};

ServerTrouble troubleWith(const ServerEntry& entry);
// Of an entry without trouble; its id stays empty.
Server serverOf(const ServerEntry& entry);
ServerEntry entryOf(const Server& server);

// Bytes that a field of the path's requests holds.
std::size_t longestAccount(LivePath path);
std::size_t longestDevice(LivePath path);
inline constexpr std::size_t kLongestPassword = 31;

// Why the device's streams can't be asked for; empty when they can.
std::string troubleWithDevice(LivePath path, const std::string& id);

}  // namespace quorvid::desk
