// Writes a picture as a PNG file, and names such files. Any thread.
#pragma once

#include <string>

#include "apps/common/Target.h"
#include "quorvid/view/Window.h"

namespace quorvid::app {

// False, with a sentence in `error`, when the file can't be written whole; what there is of it is
// removed then.
bool writePng(const WindowPicture& picture, const std::string& fileName, std::string& error);

// "quorvid-20240131-235959.png" in the current folder, with -2, -3... when it exists already.
// `what` goes before that number.
std::string freeSnapshotName(const std::string& what = "");

// "TRUCK-7-ch0": as part of a file's name. No two streams share one: bytes of a device that are
// neither letters, digits, - nor _ become "%2F".
std::string fileNameOf(const StreamTarget& target);

}  // namespace quorvid::app
