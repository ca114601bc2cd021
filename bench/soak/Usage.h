#pragma once

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

// What the process holds at this moment.
struct Usage {
  std::size_t resident = 0;     // bytes of memory that lie in RAM
  std::size_t heapUsed = 0;     // bytes that are allocated
  std::size_t heapFree = 0;     // bytes that the allocator keeps for later
  std::size_t threads = 0;      // with the main thread
  std::size_t descriptors = 0;  // without the one that counting takes
};

inline Usage usageNow() {
  const auto entriesOf = [](const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
  };
  std::size_t whole = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> whole >> resident;
  const struct mallinfo2 heap = mallinfo2();  // of all arenas
  return {resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), heap.uordblks + heap.hblkhd,
          heap.fordblks, entriesOf("/proc/self/task"), entriesOf("/proc/self/fd") - 1};
}
