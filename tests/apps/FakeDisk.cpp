#include "apps/FakeDisk.h"

namespace quorvid {

fsblkcnt_t freeBlocks = 1'000'000;

}  // namespace quorvid

// Stands before the C library's, for other libraries, too. Not inline: a sanitizer's own stand-in
// is as weak as an inline function, and comes first.
extern "C" [[gnu::visibility("default")]] int statvfs(const char*, struct statvfs* disk) {
  *disk = {};
  disk->f_frsize = 4096;
  disk->f_blocks = 10'000'000;
  disk->f_bavail = quorvid::freeBlocks;
  return 0;
}
