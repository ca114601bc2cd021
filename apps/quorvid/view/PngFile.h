// Writes a window's picture as a PNG file. Any thread.
#pragma once

#include <string>

#include "quorvid/view/Window.h"

namespace quorvid::app {

// False, with a sentence in `error`, when the file can't be written whole; what there is of it is
// removed then.
bool writePng(const WindowPicture& picture, const std::string& fileName, std::string& error);

// "quorvid-20240131-235959.png" in the current folder, with -2, -3... when it exists already.
std::string freeSnapshotName();

}  // namespace quorvid::app
