#include "sim/net/SendLog.h"

#include <fmt/format.h>

#include <chrono>

#include "sim/Error.h"

namespace quorvid::sim {
namespace {

long long now() {
  return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

}  // namespace

SendLog::SendLog(const std::string& file) {
  if (file.empty()) return;
  file_.open(file);
  if (!file_) throw SimError(fmt::format("--send-log: {} can't be written", file));
}

void SendLog::accepted(const std::string& client) {
  if (file_.is_open()) file_ << fmt::format("{} accepted {}\n", now(), client) << std::flush;
}

void SendLog::picture(const std::string& client, std::size_t number) {
  if (!file_.is_open()) return;
  file_ << fmt::format("{} picture {} {}\n", now(), client, number) << std::flush;
}

}  // namespace quorvid::sim
