// Passwords: in the user's password store, where there is one, and in memory until the program
// ends; never in a file of ours. Main thread; nobody waits for the store.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "apps/desk/toolkit/Task.h"

namespace quorvid::desk {

class Passwords {
 public:
  enum class Store {
    Known,     // the password is there
    Empty,     // no password is kept for this server
    NotThere,  // no password store runs
    Failed,    // it doesn't work, or was not unlocked
  };
  struct Found {
    Store store = Store::Empty;
    std::string password;
    std::string sentence;  // why it failed
  };

  void find(const std::string& server, const std::function<void(const Found&)>& done);
  // title: what the user's password store shows. done has the sentence why it isn't stored.
  void keep(const std::string& server, const std::string& title, const std::string& password,
            std::function<void(const std::string& trouble)> done);
  // Until the program ends.
  void keepInMemory(const std::string& server, const std::string& password);
  void forget(const std::string& server);

 private:
  std::map<std::string, std::string> memory_;
  Life life_;
};

}  // namespace quorvid::desk
