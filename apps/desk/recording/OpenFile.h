// OpenFile: files in the programs that the system has for them. Main thread; nobody waits.
#pragma once

#include <functional>
#include <string>

#include "apps/desk/toolkit/Task.h"

namespace quorvid::desk {

// failed: told why, in the life of whoever asked.
using OpenFailed = std::function<void(const std::string& why)>;

// A file or a folder.
void openFile(const std::string& path, const Life& life, OpenFailed failed);
// The file marked in its folder; where no file manager can do that, the folder.
void showInFolder(const std::string& path, const Life& life, OpenFailed failed);

}  // namespace quorvid::desk
