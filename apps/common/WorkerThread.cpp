#include "apps/common/WorkerThread.h"

#include <exception>
#include <thread>
#include <utility>

#include "base/SignalsKeptAway.h"

namespace quorvid::app {

std::string startWorkerThread(std::function<void()> body) {
  const SignalsKeptAway quiet;
  try {
    std::thread(std::move(body)).detach();
    return {};
  } catch (const std::exception& error) {  // only making the thread can throw here
    return std::string("can't start a thread: ") + error.what();
  }
}

}  // namespace quorvid::app
