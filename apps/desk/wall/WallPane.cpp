#include "apps/desk/wall/WallPane.h"

namespace quorvid::desk {

WallPane::WallPane(Desk& desk, Recordings& recordings) : desk_(desk), recordings_(recordings) {
  desk_.serverChanged.add([] {});
  recordings_.changed.add([] {});
}

}  // namespace quorvid::desk
