#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quorvid/base/Log.h"
#include "support/ExpectLog.h"

namespace quorvid {
// A program without the base room has no log to guard.
__attribute__((weak)) void setLogSink(LogSink sink, LogLevel least);
}  // namespace quorvid

namespace quorvid::test {
namespace {

// What the decoder writes for every unit.
constexpr std::array<std::string_view, 3> kOrdinary{"==========> ", "type:", "=========> decode"};

struct Lines {
  std::mutex mutex;
  std::vector<std::string> unexpected;
};
Lines& lines() {
  static Lines all;
  return all;
}

void keep(std::string_view line) {
  const auto begins = [line](std::string_view start) { return line.starts_with(start); };
  if (std::any_of(kOrdinary.begin(), kOrdinary.end(), begins)) return;
  const std::lock_guard lock(lines().mutex);
  lines().unexpected.emplace_back(line);
}

std::vector<std::string> takeLines() {
  const std::lock_guard lock(lines().mutex);
  return std::exchange(lines().unexpected, {});
}

bool hasLog() {
  return static_cast<void (*)(LogSink, LogLevel)>(setLogSink) != nullptr;
}

class LogGuard : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& /*test*/) override {
    if (!hasLog()) return;
    takeLines();
    setLogSink(keep);
  }
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    for (const std::string& line : takeLines()) ADD_FAILURE() << "unannounced log line: " << line;
    if (hasLog()) setLogSink(nullptr);
  }
};

[[maybe_unused]] const bool kIsListening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(std::make_unique<LogGuard>().release());
  return true;
}();

}  // namespace

ExpectLog::ExpectLog(std::string part, LogCount count) : part_(std::move(part)), count_(count) {}

ExpectLog::~ExpectLog() {
  const std::lock_guard lock(lines().mutex);
  const auto matches = [this](const std::string& line) {
    return line.find(part_) != std::string::npos;
  };
  const auto count = std::erase_if(lines().unexpected, matches);
  if (count_ == LogCount::Any) return;
  EXPECT_GT(count, 0U) << "no log line with: " << part_;
}

}  // namespace quorvid::test
