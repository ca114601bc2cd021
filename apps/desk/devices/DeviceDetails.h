// DeviceDetails: a window with the fields of a record, to be read and copied. Main thread.
#pragma once

#include "apps/desk/model/Server.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

// The window lives until the user closes it.
void showDetails(GtkWindow* parent, const Device& device);

}  // namespace quorvid::desk
