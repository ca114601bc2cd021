// Run case by case: two of them have to fail.
#include <gtest/gtest.h>

#include "quorvid/base/Log.h"
#include "support/ExpectLog.h"

namespace quorvid::test {
namespace {

TEST(LogGuard, Announced) {
  const ExpectLog expected("announced");
  logMessage("was announced: %d", 1);
  logMessage("type:%d, size:%d", 5, 100);
}

TEST(LogGuard, Unannounced) {
  logMessage("trouble");
}

TEST(LogGuard, Missing) {
  const ExpectLog expected("never logged");
}

}  // namespace
}  // namespace quorvid::test
