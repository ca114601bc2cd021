// DiskSpace: how much a file may still grow. Any thread.
#pragma once

#include <cstdint>
#include <string>

namespace quorvid::app {

// Bytes that may still be written to the file's disk until only the part is left that a recording
// leaves to others: a twentieth of the disk, at most 256 MiB. The file, or else its folder, must
// exist; where the disk does not tell, a very large number.
std::int64_t roomOnDisk(const std::string& fileName);

}  // namespace quorvid::app
