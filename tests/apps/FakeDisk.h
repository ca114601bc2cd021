// FakeDisk: a disk of 40 GB in place of the system's, for the whole program that includes it.
#pragma once

#include <sys/statvfs.h>

inline fsblkcnt_t freeBlocks = 1'000'000;  // of 4096 bytes

// Stands before the C library's, for other libraries, too.
extern "C" [[gnu::used, gnu::visibility("default")]] inline int statvfs(const char*,
                                                                        struct statvfs* disk) {
  *disk = {};
  disk->f_frsize = 4096;
  disk->f_blocks = 10'000'000;
  disk->f_bavail = freeBlocks;
  return 0;
}
