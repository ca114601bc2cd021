// What is looked up while the program runs: GL and EGL by libepoxy, libavcodec by our own code.
// Both get a stand-in for each function that may fail.
#include <dlfcn.h>

#include <cstring>
#include <initializer_list>

#include "faults/refuse/Refuse.h"

namespace refuse {

void* systemSymbol(void* handle, const char* name) {
  using Find = void* (*)(void*, const char*);
  static const Find find = [] {
    for (const char* version : {"GLIBC_2.34", "GLIBC_2.17", "GLIBC_2.2.5"}) {
      void* const found = dlvsym(RTLD_NEXT, "dlsym", version);
      if (found != nullptr) return reinterpret_cast<Find>(found);
    }
    return Find{};
  }();
  return find(handle, name);
}

void* standIn(const char* name, void* found) {
  for (const std::span<StandIn> some : {ofGraphics(), ofCodec()}) {
    for (const StandIn& one : some) {
      if (std::strcmp(one.name, name) != 0) continue;
      if (found != one.function) one.real = found;
      return one.function;
    }
  }
  return found;
}

}  // namespace refuse

REFUSE_SHOWN void* dlsym(void* handle, const char* name) {
  void* const found = refuse::systemSymbol(handle, name);
  if (found == nullptr || refuse::ownPlace(REFUSE_CALLER) == nullptr) return found;
  return refuse::standIn(name, found);
}

REFUSE_SHOWN void* dlopen(const char* name, int flags) {
  static const auto real = refuse::next<void* (*)(const char*, int)>("dlopen");
  if (refuse::isRefused(refuse::Kind::Libraries, "dlopen", REFUSE_CALLER)) return nullptr;
  void* const opened = real(name, flags);
  refuse::findLibraries();
  return opened;
}
