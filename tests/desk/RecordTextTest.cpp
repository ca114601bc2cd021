#include "apps/desk/devices/RecordText.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <cstring>

namespace quorvid::desk {
namespace {

DevInfoItem recordOf(const std::string& id, const std::string& name) {
  DevInfoItem record{};
  memcpy(record.blk64, id.data(), std::min(id.size(), sizeof record.blk64));
  memcpy(record.blkA32, name.data(), std::min(name.size(), sizeof record.blkA32));
  return record;
}

TEST(RecordText, HostileBytesAreShownBoundedAndHarmless) {
  EXPECT_EQ(shownText(recordOf("a\n\x1B\xFF<b>", "").blk64), "a���<b>");
  EXPECT_EQ(shownText(recordOf("x\u202Ey", "").blk64), "x�y") << "text turned around";
  const DevInfoItem full = recordOf(std::string(64, 'x'), std::string(32, '\xC3'));
  EXPECT_EQ(deviceOf(full).id, std::string(64, 'x'));
  EXPECT_EQ(deviceOf(full).name, deviceOf(full).id) << "no valid text, so no name";
  EXPECT_EQ(deviceOf(recordOf("id", "  ")).name, "id");
  DevInfoItem noise{};
  memset(static_cast<void*>(&noise), 0x9B, sizeof noise);
  EXPECT_TRUE(g_utf8_validate(rawText(noise).c_str(), -1, nullptr));
}

TEST(RecordText, DevicesGoByNameAndThoseTypedOnce) {
  const auto devices = devicesOf({recordOf("2", "b 10"), recordOf("1", "c"), recordOf("3", "b 9")},
                                 {"2", "new", ""});
  std::string ids;
  for (const Device& device : devices) ids += device.id + (device.isTyped ? "! " : " ");
  EXPECT_EQ(ids, "3 2 1 new! ");
}

}  // namespace
}  // namespace quorvid::desk
