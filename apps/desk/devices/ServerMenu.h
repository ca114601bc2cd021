// ServerMenu: the entries of the server chooser's menu. Main thread.
#pragma once

#include <vector>

#include "apps/desk/model/Server.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

// The simulator's, among the targets of the action servers.choose: the others are ids.
inline constexpr const char* kSimulatorTarget = "simulator";

void fillServerMenu(GMenu* menu, const std::vector<Server>& servers);

}  // namespace quorvid::desk
