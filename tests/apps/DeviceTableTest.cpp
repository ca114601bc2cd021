#include "apps/quorvid/DeviceTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

namespace quorvid::app {
namespace {

std::string shown(const std::string& bytes) {
  return printableText(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

TEST(DeviceTable, ShowsTextButNothingThatSteersATerminal) {
  EXPECT_EQ(shown(std::string("Truck\0gone", 10)), "Truck");
  EXPECT_EQ(shown("K\xC3\xB6ln \xE4\xBA\xAC"), "K\xC3\xB6ln \xE4\xBA\xAC");
  EXPECT_EQ(shown("\033[2Jx\x7F\n"), ".[2Jx..");
  EXPECT_EQ(shown("\xC2\x9B"
                  "31m"),
            "..31m")
      << "an escape of one character";
  EXPECT_EQ(shown("a\xE2\x80\xAE"
                  "b"),
            "a...b")
      << "writing from right to left";
  EXPECT_EQ(shown("\xC0\xAF\xED\xA0\x80\xF5\xE4\xBA"), "........") << "no valid UTF-8";
}

TEST(DeviceTable, GivesSignedNumbersAndColumnsThatStandUnderEachOther) {
  std::vector<DevInfoItem> devices(2);
  std::memset(devices.data(), 0, sizeof(DevInfoItem) * devices.size());
  std::memcpy(devices[0].blk64, "K\xC3\xB6ln", 6);
  std::memcpy(devices[1].blk64, "Essen", 5);
  // A wire value fills the low half of a long.
  const std::int32_t minusFive = -5;
  std::memcpy(&devices[0].numA, &minusFive, sizeof minusFive);
  const std::string table = deviceTable(devices, false);
  EXPECT_NE(table.find("0  K\xC3\xB6ln                   -5    0     0/0/0\n"), std::string::npos)
      << table;
  EXPECT_NE(table.find("1  Essen                  0     0     0/0/0\n"), std::string::npos)
      << table;
  const auto json = deviceJson(devices, true);
  EXPECT_EQ(json[0]["numA"], -5);
  EXPECT_EQ(json[1]["blk64_hex"].get<std::string>().substr(0, 12), "457373656e00");
}

}  // namespace
}  // namespace quorvid::app
