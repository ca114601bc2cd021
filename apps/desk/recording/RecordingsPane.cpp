#include "apps/desk/recording/RecordingsPane.h"

namespace quorvid::desk {

RecordingsPane::RecordingsPane(Desk& desk, Recordings& recordings) : desk_(desk) {
  (void)recordings;
}

}  // namespace quorvid::desk
