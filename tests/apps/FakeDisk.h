// FakeDisk: a disk of 40 GB in place of the system's, for the whole program that is built with it.
#pragma once

#include <sys/statvfs.h>

namespace quorvid {

extern fsblkcnt_t freeBlocks;  // of 4096 bytes

}  // namespace quorvid
