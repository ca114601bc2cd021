// What the parts of libfault_refuse.so share. It is preloaded into a program, counts the calls that
// the library's own code makes of the system, of GL and of libavcodec, and lets one of them fail.
//
// REFUSE_KIND (environment): the name of a kind; REFUSE_AT: which call of that kind, from 1.
#pragma once

#include <cstddef>
#include <cstdio>
#include <span>

namespace refuse {

enum class Kind { Memory, Mapping, System, Threads, Libraries, Egl, Gl, Codec };
inline constexpr const char* kNames[] = {"memory",    "mapping", "system", "threads",
                                         "libraries", "egl",     "gl",     "codec"};
inline constexpr std::size_t kKinds = sizeof kNames / sizeof kNames[0];

// True when this call is to fail. caller: where it returns to; a call of other code is not counted,
// nor is one while nothing is armed.
bool isRefused(Kind kind, const char* name, const void* caller);

// Where our own code stands on the way to `caller`; null: nowhere. What the standard library does
// for us is ours.
const void* ownPlace(const void* caller);
// Whether libavcodec and its sisters called.
bool isCodec(const void* caller);
// As LIBRARY+OFFSET.
void printPlace(std::FILE* to, const void* place);
// Looks where the libraries are. After each load.
void findLibraries();

// The system's dlsym(), which this library hides.
void* systemSymbol(void* handle, const char* name);
template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(systemSymbol(reinterpret_cast<void*>(-1), name));
}

// What is called in the place of a function that is looked up.
struct StandIn {
  const char* name;
  void* function;
  void*& real;
};
std::span<StandIn> ofGraphics();
std::span<StandIn> ofCodec();
// The function to be called in the place of `found`, which has that name.
void* standIn(const char* name, void* found);
// What was made and not given back, of EGL.
long objectsLeft();

}  // namespace refuse

#define REFUSE_CALLER __builtin_extract_return_addr(__builtin_return_address(0))
#define REFUSE_SHOWN extern "C" __attribute__((visibility("default")))

// For the program: find them with dlsym().
REFUSE_SHOWN void refuseArm(int armed);
// The name of the call that failed; null: none did yet.
REFUSE_SHOWN const char* refuseDone();
// Lines "count KIND n", and "left PLACE n" for blocks of memory that were not given back.
REFUSE_SHOWN void refuseReport();
