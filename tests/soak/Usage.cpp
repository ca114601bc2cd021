#include "soak/Usage.h"

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

std::size_t entriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

}  // namespace

Usage usageNow() {
  std::size_t whole = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> whole >> resident;
  const struct mallinfo2 heap = mallinfo2();  // of all arenas
  return {resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), heap.uordblks + heap.hblkhd,
          heap.fordblks, entriesOf("/proc/self/task"), entriesOf("/proc/self/fd") - 1};
}
