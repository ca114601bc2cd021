// About: the windows that say what the program is, whose and under which terms, and which keys it
// has. Main thread.
#pragma once

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

void showAbout(GtkWindow* above);
void showKeys(GtkWindow* above);

}  // namespace quorvid::desk
