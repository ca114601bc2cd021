// FileNames: what recordings and snapshots are called, and which files of a folder are such. Plain
// logic, any thread.
#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "apps/desk/model/Server.h"

namespace quorvid::desk {

// Of the folder of recordings, where it has to be made; less where the user's mask says so.
inline constexpr int kMostFolderMode = 0755;

// "BUS-7-ch1" for its first camera: whatever the device is called, a name in one folder, of at most
// 80 bytes of UTF-8 that shows.
std::string fileStem(const Camera& camera);

// When a file of that name began, "BUS-7-ch1-20260131T235959Z.mp4"; nothing for names that this
// program doesn't give.
std::optional<std::time_t> timeInName(const std::string& name);

}  // namespace quorvid::desk
