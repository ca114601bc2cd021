// PieceName: what the files of a recording are called that begins a new one every so often.
#pragma once

#include <ctime>
#include <string>

namespace quorvid::app {

// "tour-20260131T235959Z.mp4" for "tour.mp4" and the time (UTC, so that names sort and none comes
// twice), with -2, -3... where there is such a file.
std::string pieceName(const std::string& fileName, std::time_t start);

// Makes the file: nobody is to lose one that came while the recording waited for its first frame.
// Throws Failure where there is one.
void requireNew(const std::string& fileName);

}  // namespace quorvid::app
