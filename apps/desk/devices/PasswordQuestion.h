// PasswordQuestion: asks for a server's password. Main thread.
#pragma once

#include <functional>
#include <string>

#include "apps/desk/model/Server.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

struct GivenPassword {
  std::string password;
  bool isToBeKept = false;  // in the password store
};

// Calls `given` unless the user leaves. trouble: why the password store has none; may be empty.
void askForPassword(GtkWindow* parent, const Server& server, const std::string& trouble,
                    bool mayBeKept, std::function<void(const GivenPassword&)> given);

}  // namespace quorvid::desk
