#include "quorvid/base/Text.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "base/Exception.h"
#include "base/LogQuiet.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

TEST(Text, MissingAndEmptyAreDifferent) {
  const Text missing(nullptr);
  const Text empty("");
  EXPECT_EQ(missing.c_str(), nullptr);
  EXPECT_EQ(missing.description(), "(null)");
  EXPECT_STREQ(empty.c_str(), "");
  EXPECT_FALSE(missing == empty);
  EXPECT_TRUE(missing == Text(static_cast<const char*>(nullptr)));
}

TEST(Text, SubstringThrowsThePlatformsExceptionBeyondTheEnd) {
  const Text text("1234567");
  EXPECT_TRUE(text.substringFromIndex(2) == Text("34567"));
  EXPECT_TRUE(text.substringFromIndex(7) == Text(""));
  EXPECT_THROW(text.substringFromIndex(text.length() - 8), Exception);  // wraps round
}

TEST(Log, SinkGetsWholeMessagesOneAtATime) {
  std::vector<std::string> messages;
  setLogSink([&](std::string_view message) { messages.emplace_back(message); });
  const std::string longText(5000, 'x');
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < 200; ++k) {
        logMessage("%s %d", longText.c_str(), 7);
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  setLogSink(nullptr);
  logMessage("to standard error again");
  ASSERT_EQ(messages.size(), 800U);
  EXPECT_EQ(messages.back(), longText + " 7");
}

TEST(Log, OfEachKindAQuietThreadSaysOne) {
  int lines = 0;
  setLogSink([&](std::string_view) { ++lines; }, LogLevel::Detail);
  std::thread([] {
    const LogQuiet quiet;
    for (int i = 0; i < 100; ++i) {
      logMessage("bad unit %d", i);
      logMessage("bad set %d", i);
      logDetail("unit %d", i);
    }
  }).join();
  setLogSink(nullptr);
  EXPECT_EQ(lines, 2);
}

}  // namespace
}  // namespace quorvid
