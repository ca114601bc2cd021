// Snapshot: a picture into a PNG file of its own. Any thread; it waits for the disk.
#pragma once

#include <string>

#include "quorvid/live/LiveStatus.h"

namespace quorvid::desk {

struct SnapshotOutcome {
  std::string name;     // of the file in the folder
  std::string trouble;  // why there is none
};

// Under a name that was free, "STEM-20260131T235959Z.png"; the file is there whole or not at all.
SnapshotOutcome writeSnapshot(const std::string& folder, const std::string& stem,
                              const LivePicture& picture);

}  // namespace quorvid::desk
