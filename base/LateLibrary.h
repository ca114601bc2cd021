// LateLibrary: a shared library that is loaded where something of it is first called, not with the
// program. What never decodes, draws or writes a file starts without the hundred libraries behind
// those, and what does can do other things meanwhile. Any thread; it is never unloaded.
//
//   inline constinit LateLibrary cairoLibrary("libcairo.so.2");
//   QUORVID_LATE(cairoLibrary, cairo_create);
//
// In the declaring namespace and those inside it a call of cairo_create() then goes through the
// object of that name, which hides the header's function.
#pragma once

#include <dlfcn.h>

#include <atomic>
#include <stdexcept>
#include <string>

namespace quorvid {

class LateLibrary {
 public:
  explicit constexpr LateLibrary(const char* name) noexcept : name_(name) {}
  LateLibrary(const LateLibrary&) = delete;
  LateLibrary& operator=(const LateLibrary&) = delete;

  // Loads it now. Why that can't be done, for a person; empty: it is there.
  std::string load() {
    if (handle_.load(std::memory_order_acquire) != nullptr) return {};
    // Its own functions are looked up when they are called, as for a library that the program
    // names: most never are.
    void* const opened = dlopen(name_, RTLD_LAZY | RTLD_LOCAL);
    if (opened == nullptr) return problem();
    void* none = nullptr;  // twice opened is opened once: the handles are the same
    handle_.compare_exchange_strong(none, opened, std::memory_order_acq_rel);
    return {};
  }

  // Throws when the library, or the function in it, isn't there.
  void* find(const char* function) {
    if (const std::string why = load(); !why.empty()) throw std::runtime_error(why);
    void* const found = dlsym(handle_.load(std::memory_order_acquire), function);
    if (found == nullptr) throw std::runtime_error(problem());
    return found;
  }

 private:
  std::string problem() const {
    const char* const text = dlerror();
    return text != nullptr ? text : std::string(name_) + " can't be loaded";
  }

  const char* const name_;
  std::atomic<void*> handle_ = nullptr;
};

template <class Function>
class LateFunction;

template <class Result, class... Arguments>
class LateFunction<Result(Arguments...)> {
 public:
  constexpr LateFunction(LateLibrary& library, const char* name) noexcept
      : library_(library), name_(name) {}
  LateFunction(const LateFunction&) = delete;
  LateFunction& operator=(const LateFunction&) = delete;

  // Throws when it isn't there, which LateLibrary::load() tells beforehand.
  Result operator()(Arguments... arguments) {
    void* function = address_.load(std::memory_order_acquire);
    if (function == nullptr) {
      function = library_.find(name_);
      address_.store(function, std::memory_order_release);
    }
    return reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...);
  }

 private:
  LateLibrary& library_;
  const char* const name_;
  std::atomic<void*> address_ = nullptr;
};

}  // namespace quorvid

// Of a function whose type has attributes, which g++ warns of where a template takes it.
#define QUORVID_LATE_AS(library, function, ...) \
  inline constinit ::quorvid::LateFunction<__VA_ARGS__> function(library, #function)
#define QUORVID_LATE(library, function) QUORVID_LATE_AS(library, function, decltype(::function))
