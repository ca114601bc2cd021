#pragma once

#include <cstddef>

// What the process holds at this moment.
struct Usage {
  std::size_t resident = 0;     // bytes of memory that lie in RAM
  std::size_t heapUsed = 0;     // bytes that are allocated
  std::size_t heapFree = 0;     // bytes that the allocator keeps for later
  std::size_t threads = 0;      // with the main thread
  std::size_t descriptors = 0;  // without the one that counting takes
};

Usage usageNow();
