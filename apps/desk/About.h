// About: the window that says what the program is, whose and under which terms. Main thread.
#pragma once

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

void showAbout(GtkWindow* above);

}  // namespace quorvid::desk
