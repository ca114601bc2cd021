#include "apps/desk/devices/DevicesPane.h"

namespace quorvid::desk {

DevicesPane::DevicesPane(Desk& desk) : desk_(desk) {}

void DevicesPane::refresh() {}

void DevicesPane::search() {}

}  // namespace quorvid::desk
