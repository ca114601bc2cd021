// Which call is ours, and whether it is the one to fail.
#include "faults/refuse/Refuse.h"

#include <dlfcn.h>
#include <link.h>
#include <unwind.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace refuse {
namespace {

enum class Owner { Others, Ours, Standard, Epoxy, Codec };

struct Range {
  std::uintptr_t begin, end;
  Owner owner;
};

constexpr std::size_t kMostRanges = 64;
Range ranges[kMostRanges];
std::atomic<std::size_t> rangeCount = 0;

std::atomic<bool> isArmed = false;
std::atomic<long> counts[kKinds];
std::atomic<const char*> done = nullptr;
int chosenKind = -1;
long chosenCall = 0;
bool tracesCalls = false;

Owner ownerOf(const char* path) {
  const char* const slash = std::strrchr(path, '/');
  const char* const name = slash != nullptr ? slash + 1 : path;
  const auto begins = [name](const char* start) {
    return std::strncmp(name, start, std::strlen(start)) == 0;
  };
  if (begins("libquorvid")) return Owner::Ours;
  if (begins("libstdc++")) return Owner::Standard;
  if (begins("libepoxy")) return Owner::Epoxy;
  if (begins("libavcodec") || begins("libavutil") || begins("libswscale")) return Owner::Codec;
  return Owner::Others;
}

int addRanges(dl_phdr_info* info, std::size_t /*size*/, void* to) {
  auto& count = *static_cast<std::size_t*>(to);
  const Owner owner = ownerOf(info->dlpi_name);
  if (owner == Owner::Others) return 0;
  for (int i = 0; i < info->dlpi_phnum && count < kMostRanges; ++i) {
    const ElfW(Phdr)& part = info->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
    const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
    ranges[count++] = {begin, begin + part.p_memsz, owner};
  }
  return 0;
}

Owner ownerOf(const void* place) {
  const auto at = reinterpret_cast<std::uintptr_t>(place);
  const std::size_t count = rangeCount.load(std::memory_order_acquire);
  for (std::size_t i = 0; i < count; ++i) {
    if (at >= ranges[i].begin && at < ranges[i].end) return ranges[i].owner;
  }
  return Owner::Others;
}

struct Walk {
  const void* found = nullptr;
  bool isBehind = false;  // the standard library was reached
};

// The first place behind this library's own and the standard library's.
_Unwind_Reason_Code look(_Unwind_Context* context, void* to) {
  auto& walk = *static_cast<Walk*>(to);
  const auto* const place = reinterpret_cast<const void*>(_Unwind_GetIP(context));
  const Owner owner = ownerOf(place);
  if (owner == Owner::Standard) walk.isBehind = true;
  if (!walk.isBehind || owner == Owner::Standard) return _URC_NO_REASON;
  walk.found = owner == Owner::Ours ? place : nullptr;
  return _URC_END_OF_STACK;
}

_Unwind_Reason_Code print(_Unwind_Context* context, void* /*unused*/) {
  std::fputs("at ", stderr);
  printPlace(stderr, reinterpret_cast<const void*>(_Unwind_GetIP(context)));
  std::fputs("\n", stderr);
  return _URC_NO_REASON;
}

[[gnu::constructor]] void start() {
  findLibraries();
  const char* const kind = std::getenv("REFUSE_KIND");
  const char* const call = std::getenv("REFUSE_AT");
  tracesCalls = std::getenv("REFUSE_TRACE") != nullptr;
  for (std::size_t i = 0; kind != nullptr && call != nullptr && i < kKinds; ++i) {
    if (std::strcmp(kind, kNames[i]) != 0) continue;
    chosenKind = static_cast<int>(i);
    chosenCall = std::atol(call);  // NOLINT(cert-err34-c)
  }
}

}  // namespace

void findLibraries() {
  std::size_t count = 0;
  dl_iterate_phdr(addRanges, &count);
  rangeCount.store(count, std::memory_order_release);
}

void printPlace(std::FILE* to, const void* place) {
  Dl_info info{};
  if (dladdr(place, &info) == 0 || info.dli_fname == nullptr) return;
  std::fprintf(to, "%s+%#tx", info.dli_fname,
               static_cast<const char*>(place) - static_cast<const char*>(info.dli_fbase));
}

const void* ownPlace(const void* caller) {
  const Owner owner = ownerOf(caller);
  if (owner == Owner::Ours || owner == Owner::Epoxy) return caller;
  if (owner != Owner::Standard) return nullptr;
  thread_local bool isWalking = false;
  if (isWalking) return nullptr;
  isWalking = true;
  Walk walk;
  _Unwind_Backtrace(look, &walk);
  isWalking = false;
  return walk.found;
}

bool isCodec(const void* caller) {
  return ownerOf(caller) == Owner::Codec;
}

// What libepoxy asks for itself is not counted: it ends the process when that fails.
bool isRefused(Kind kind, const char* name, const void* caller) {
  if (!isArmed.load(std::memory_order_relaxed) || ownPlace(caller) == nullptr ||
      ownerOf(caller) == Owner::Epoxy) {
    return false;
  }
  const auto index = static_cast<std::size_t>(kind);
  const long number = ++counts[index];
  if (static_cast<int>(index) != chosenKind || number != chosenCall) return false;
  done = name;
  std::fprintf(stderr, "refusing %s\n", name);
  if (tracesCalls) _Unwind_Backtrace(print, nullptr);
  return true;
}

long countOf(std::size_t kind) {
  return counts[kind];
}

}  // namespace refuse

void refuseArm(int armed) {
  refuse::isArmed = armed != 0;
}

const char* refuseDone() {
  return refuse::done;
}
