#include "apps/quorvid/record/DiskRoom.h"

#include <algorithm>
#include <filesystem>

namespace quorvid::app {

std::int64_t roomOnDisk(const std::string& fileName, std::int64_t most) {
  constexpr std::uintmax_t kPartLeftFree = 20;
  constexpr std::uintmax_t kMostLeftFree = 256 << 20;
  std::error_code error;
  std::filesystem::space_info disk = std::filesystem::space(fileName, error);
  if (error) {
    disk = std::filesystem::space(std::filesystem::absolute(fileName).parent_path(), error);
  }
  if (error || disk.capacity == 0) return most;
  const std::uintmax_t left = std::min(disk.capacity / kPartLeftFree, kMostLeftFree);
  const std::uintmax_t room = disk.available - std::min(left, disk.available);
  return static_cast<std::int64_t>(std::min(room, static_cast<std::uintmax_t>(most)));
}

}  // namespace quorvid::app
