#include "base/LateLibrary.h"

#include <gtest/gtest.h>

namespace {

TEST(LateLibrary, SaysWhatIsNotThere) {
  quorvid::LateLibrary none("libquorvid-is-not-there.so.1"), mathematics("libm.so.6");
  EXPECT_NE(none.load().find("libquorvid-is-not-there.so.1"), std::string::npos) << none.load();
  quorvid::LateFunction<double(double)> lost(none, "cbrt"), strange(mathematics, "cbrtt");
  EXPECT_THROW(lost(8), std::runtime_error);
  EXPECT_THROW(strange(8), std::runtime_error);
  EXPECT_EQ(mathematics.load(), "");
  quorvid::LateFunction<double(double)> found(mathematics, "cbrt");
  EXPECT_EQ(found(8), 2);
}

}  // namespace
