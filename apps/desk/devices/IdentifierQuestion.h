// IdentifierQuestion: asks for a device that no list names. Main thread.
#pragma once

#include <functional>
#include <string>

#include "apps/desk/model/Server.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

// Calls `added` with an identifier that the path can carry, unless the user leaves.
void askForIdentifier(GtkWindow* parent, LivePath path,
                      std::function<void(const std::string& id)> added);

}  // namespace quorvid::desk
