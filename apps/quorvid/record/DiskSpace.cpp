#include "apps/quorvid/record/DiskSpace.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <limits>

namespace quorvid::app {

namespace {

constexpr double kMostLeftFree = 256 << 20;
constexpr double kPartLeftFree = 0.05;

}  // namespace

std::int64_t roomOnDisk(const std::string& fileName) {
  const std::size_t slash = fileName.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : fileName.substr(0, slash + 1);
  struct statvfs disk {};
  if ((statvfs(fileName.c_str(), &disk) != 0 && statvfs(folder.c_str(), &disk) != 0) ||
      disk.f_blocks == 0) {
    return std::numeric_limits<std::int64_t>::max();
  }
  const auto bytes = [&disk](auto blocks) {
    return static_cast<double>(blocks) * static_cast<double>(disk.f_frsize);
  };
  const double left = std::min(kPartLeftFree * bytes(disk.f_blocks), kMostLeftFree);
  // Doubles hold any size of a disk well enough, and never overflow.
  return static_cast<std::int64_t>(std::clamp(bytes(disk.f_bavail) - left, 0.0, 9e18));
}

}  // namespace quorvid::app
