// Task: work on a thread of its own whose result comes back to the main thread.
#pragma once

#include <glib.h>

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvid::desk {

// Calls `function` on the main thread, from any thread.
inline void onMainThread(std::function<void()> function) {
  // GLib's own locks order the two threads as well, but no sanitizer sees those.
  struct HandOver {
    std::function<void()> function;
    std::atomic<bool> isReady{false};
  };
  auto owned = std::make_unique<HandOver>();
  owned->function = std::move(function);
  owned->isReady.store(true, std::memory_order_release);
  const auto call = [](gpointer data) -> gboolean {
    const auto* const handed = static_cast<HandOver*>(data);
    if (handed->isReady.load(std::memory_order_acquire)) handed->function();
    return G_SOURCE_REMOVE;
  };
  const auto drop = [](gpointer data) {
    const std::unique_ptr<HandOver> dropped(static_cast<HandOver*>(data));
  };
  g_idle_add_full(G_PRIORITY_DEFAULT, call, owned.release(), drop);
}

// Whose results they are: what comes after it has gone, or after reset(), is dropped. Main thread.
class Life {
 public:
  void reset() { token_ = std::make_shared<int>(); }
  std::weak_ptr<int> token() const { return token_; }

 private:
  std::shared_ptr<int> token_ = std::make_shared<int>();
};

// Runs `work` on a thread of its own and gives what it returns to `done` on the main thread. Nobody
// waits for it: `work` holds by value, or shares, all that it uses. False when there is no thread.
template <class Work, class Done>
bool runTask(const Life& life, Work work, Done done) {
  try {
    std::thread([token = life.token(), work = std::move(work), done = std::move(done)]() mutable {
      auto result = std::make_shared<decltype(work())>(work());
      onMainThread([token, result, done = std::move(done)] {
        if (!token.expired()) done(std::move(*result));
      });
    }).detach();
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

}  // namespace quorvid::desk
