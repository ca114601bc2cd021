// Memory: what fails, and what of ours and of libavcodec's was not given back.
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>

#include "faults/refuse/Refuse.h"

// The C library's own, under the names that nothing hides.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace refuse {

long countOf(std::size_t kind);

namespace {

struct Block {
  void* start;
  const void* place;  // that made it; of libavcodec's: null
  std::size_t size;
};

constexpr std::size_t kPlaces = 1U << 16;  // open addressing; a block that has gone leaves a mark
void* const kGone = reinterpret_cast<void*>(1);
Block blocks[kPlaces];
std::atomic_flag busy;
std::atomic<bool> hasBlocks = false;

struct Lock {
  Lock() {
    while (busy.test_and_set(std::memory_order_acquire)) {
    }
  }
  ~Lock() { busy.clear(std::memory_order_release); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

std::size_t slotOf(const void* start) {
  return (reinterpret_cast<std::uintptr_t>(start) >> 4) * 0x9E3779B97F4A7C15ULL >> 48;
}

void* keep(void* start, std::size_t size, const void* caller) {
  if (start == nullptr) return start;
  const void* const place = ownPlace(caller);
  if (place == nullptr && !isCodec(caller)) return start;
  hasBlocks = true;
  const Lock lock;
  for (std::size_t i = slotOf(start), n = 0; n < kPlaces; i = (i + 1) % kPlaces, ++n) {
    if (blocks[i].start != nullptr && blocks[i].start != kGone) continue;
    blocks[i] = {start, place, size};
    break;
  }
  return start;
}

void drop(const void* start) {
  if (start == nullptr || !hasBlocks) return;
  const Lock lock;
  for (std::size_t i = slotOf(start); blocks[i].start != nullptr; i = (i + 1) % kPlaces) {
    if (blocks[i].start != start) continue;
    blocks[i].start = blocks[(i + 1) % kPlaces].start == nullptr ? nullptr : kGone;
    return;
  }
}

void* make(std::size_t size, std::size_t alignment, const char* name, const void* caller) {
  if (isRefused(Kind::Memory, name, caller)) {
    errno = ENOMEM;
    return nullptr;
  }
  return keep(alignment != 0 ? __libc_memalign(alignment, size) : __libc_malloc(size), size,
              caller);
}

void* makeOrThrow(std::size_t size, std::size_t alignment, const void* caller) {
  void* const made = make(size, alignment, "operator new", caller);
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

}  // namespace

void reportBlocks() {
  const Lock lock;
  long codec = 0;
  for (const Block& block : blocks) {
    if (block.start == nullptr || block.start == kGone) continue;
    if (block.place == nullptr) {
      ++codec;
    } else {
      std::fputs("left ", stdout);
      printPlace(stdout, block.place);
      std::printf(" %zu\n", block.size);
    }
  }
  std::printf("left codec %ld\nleft egl %ld\n", codec, objectsLeft());
}

}  // namespace refuse

using refuse::Kind;

void refuseReport() {
  for (std::size_t i = 0; i < refuse::kKinds; ++i) {
    std::printf("count %s %ld\n", refuse::kNames[i], refuse::countOf(i));
  }
  refuse::reportBlocks();
}

REFUSE_SHOWN void* malloc(std::size_t size) {
  return refuse::make(size, 0, "malloc", REFUSE_CALLER);
}

REFUSE_SHOWN void* calloc(std::size_t count, std::size_t size) {
  if (refuse::isRefused(Kind::Memory, "calloc", REFUSE_CALLER)) return nullptr;
  return refuse::keep(__libc_calloc(count, size), count * size, REFUSE_CALLER);
}

REFUSE_SHOWN void* realloc(void* block, std::size_t size) {
  if (refuse::isRefused(Kind::Memory, "realloc", REFUSE_CALLER)) return nullptr;
  refuse::drop(block);
  return refuse::keep(__libc_realloc(block, size), size, REFUSE_CALLER);
}

REFUSE_SHOWN void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return refuse::make(size, alignment, "aligned_alloc", REFUSE_CALLER);
}

REFUSE_SHOWN int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = refuse::make(size, alignment, "posix_memalign", REFUSE_CALLER);
  return *block != nullptr ? 0 : ENOMEM;
}

REFUSE_SHOWN void free(void* block) {
  refuse::drop(block);
  __libc_free(block);
}

REFUSE_SHOWN void* mmap(void* at, std::size_t size, int access, int flags, int file, off_t offset) {
  static const auto real = refuse::next<decltype(&::mmap)>("mmap");
  if (!refuse::isRefused(Kind::Mapping, "mmap", REFUSE_CALLER)) {
    return real(at, size, access, flags, file, offset);
  }
  errno = ENOMEM;
  return MAP_FAILED;
}

// NOLINTNEXTLINE(bugprone-macro-parentheses): the beginning of a function
#define REFUSE_NEW __attribute__((visibility("default"))) void* operator new

REFUSE_NEW(std::size_t size) {
  return refuse::makeOrThrow(size, 0, REFUSE_CALLER);
}
REFUSE_NEW[](std::size_t size) {
  return refuse::makeOrThrow(size, 0, REFUSE_CALLER);
}
REFUSE_NEW(std::size_t size, std::align_val_t alignment) {
  return refuse::makeOrThrow(size, static_cast<std::size_t>(alignment), REFUSE_CALLER);
}
REFUSE_NEW(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return refuse::make(size, 0, "operator new", REFUSE_CALLER);
}
REFUSE_NEW[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return refuse::make(size, 0, "operator new", REFUSE_CALLER);
}

// NOLINTNEXTLINE(bugprone-macro-parentheses): likewise
#define REFUSE_DELETE __attribute__((visibility("default"))) void operator delete

REFUSE_DELETE(void* block) noexcept {
  ::free(block);
}
REFUSE_DELETE[](void* block) noexcept {
  ::free(block);
}
REFUSE_DELETE(void* block, std::size_t /*size*/) noexcept {
  ::free(block);
}
REFUSE_DELETE[](void* block, std::size_t /*size*/) noexcept {
  ::free(block);
}
REFUSE_DELETE(void* block, std::align_val_t /*alignment*/) noexcept {
  ::free(block);
}
REFUSE_DELETE(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  ::free(block);
}
