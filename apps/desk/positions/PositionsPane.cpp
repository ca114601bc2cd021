#include "apps/desk/positions/PositionsPane.h"

namespace quorvid::desk {

PositionsPane::PositionsPane(Desk& desk) : desk_(desk) {}

}  // namespace quorvid::desk
