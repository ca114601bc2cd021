#include "apps/quorvid/query/DeviceTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "apps/common/Terminal.h"

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
  EXPECT_EQ(shown("a\xD8\x9C\xE2\x80\x8B\xEF\xBB\xBF\xF3\xA0\x81\x81\xC2\xAD"), "a..............")
      << "characters that draw nothing";
  EXPECT_EQ(shown("\xC0\xAF\xED\xA0\x80\xF5\xE4\xBA"), "........") << "no valid UTF-8";
}

TEST(VisibleText, SpellsOutWhatATerminalWouldActOnOrHide) {
  EXPECT_EQ(visibleText("K\xC3\xB6ln \\ \xF0\x9F\x9A\x9A"), "K\xC3\xB6ln \\ \xF0\x9F\x9A\x9A");
  EXPECT_EQ(visibleText("\033[2J\n\x7F\xC2\x9B"), "\\x1b[2J\\x0a\\x7f\\x9b");
  EXPECT_EQ(visibleText("\xE2\x80\xAE\xD8\x9C\xC2\xAD\xF3\xA0\x81\x81"),
            "\\u202e\\u061c\\u00ad\\U000e0041");
  EXPECT_EQ(visibleText("\xE0\x80\xAF\xFF\xC3"), "\\xe0\\x80\\xaf\\xff\\xc3") << "no UTF-8";
  EXPECT_EQ(visibleText("\xF4\x8F\xBF\xBD\xF4\x90\x80\x80\xED\xA0\x80\xE4\xBA!"),
            "\xF4\x8F\xBF\xBD\\xf4\\x90\\x80\\x80\\xed\\xa0\\x80\\xe4\\xba!")
      << "beyond the last character, a surrogate, cut short";
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

TEST(Columns, HoldWithWideAndCombiningCharacters) {
  EXPECT_EQ(columnsOf("\xE4\xBA\xAC\xF0\x9F\x9A\x9A"
                      "a\xCC\x88"),
            5U);
  std::vector<DevInfoItem> devices(2);
  std::memset(devices.data(), 0, sizeof(DevInfoItem) * devices.size());
  std::memcpy(devices[0].blk64, "\xE4\xBA\xAC\xE4\xBA\xAC", 6);
  std::memcpy(devices[1].blk64, "a\xCC\x88z", 4);
  std::memcpy(devices[0].blkA32, "X", 1);
  std::memcpy(devices[1].blkA32, "X", 1);
  const std::string table = deviceTable(devices, false);
  EXPECT_NE(table.find("\xE4\xBA\xAC\xE4\xBA\xAC   X"), std::string::npos) << table;
  EXPECT_NE(table.find("a\xCC\x88z     X"), std::string::npos) << table;
  EXPECT_EQ(cutTo("\xE4\xBA\xAC\xE4\xBA\xAC\n", 9, 3), "\xE4\xBA\xAC\n") << "no half of one";
}

}  // namespace
}  // namespace quorvid::app
