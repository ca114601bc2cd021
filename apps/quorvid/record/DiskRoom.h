// DiskRoom: what a recording may take of a disk: it leaves a twentieth of it to others, at most 256
// MiB.
#pragma once

#include <cstdint>
#include <string>

namespace quorvid::app {

inline constexpr const char* kDiskFull =
    "the disk is nearly full (a twentieth of it, at most 256 MiB, is left to others)";

// Bytes that may still be written to the file's disk, `most` at most; that where the disk does not
// tell. The file, or else its folder, must exist.
std::int64_t roomOnDisk(const std::string& fileName, std::int64_t most);

}  // namespace quorvid::app
