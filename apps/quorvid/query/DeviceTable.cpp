#include "apps/quorvid/query/DeviceTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <nlohmann/json.hpp>

#include "apps/common/Terminal.h"

namespace quorvid::app {

namespace {

struct Block {
  const char* name;
  const std::uint8_t* bytes;
  std::size_t size;
};

std::array<Block, 5> blocksOf(const DevInfoItem& device) {
  return {{{"blk64", device.blk64, sizeof device.blk64},
           {"blkA32", device.blkA32, sizeof device.blkA32},
           {"blkB32", device.blkB32, sizeof device.blkB32},
           {"blk9", device.blk9, sizeof device.blk9},
           {"blk128", device.blk128, sizeof device.blk128}}};
}

// The wire value lies in the low half of a long.
std::int32_t wireValue(long number) {
  return static_cast<std::int32_t>(number);
}

std::string hex(const Block& block) {
  return fmt::format("{:02x}", fmt::join(block.bytes, block.bytes + block.size, ""));
}

using Row = std::vector<std::string>;

Row headings() {
  return {"#", "blk64", "blkA32", "blkB32", "numA", "numB", "byteA/B/C", "blk9", "blk128"};
}

Row rowOf(const DevInfoItem& device, std::size_t index) {
  const std::array<Block, 5> blocks = blocksOf(device);
  const auto text = [&blocks](std::size_t i) {
    return printableText(blocks[i].bytes, blocks[i].size);
  };
  return {std::to_string(index),
          text(0),
          text(1),
          text(2),
          std::to_string(wireValue(device.numA)),
          std::to_string(wireValue(device.numB)),
          fmt::format("{}/{}/{}", device.byteA, device.byteB, device.byteC),
          text(3),
          text(4)};
}

std::string lineOf(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    line += row[i];
    if (i + 1 < row.size()) line.append(widths[i] - columnsOf(row[i]) + 2, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

std::string rawLines(const DevInfoItem& device) {
  std::string text = fmt::format("    itemLen {}\n", wireValue(device.itemLen));
  for (const Block& block : blocksOf(device)) {
    const std::string digits = hex(block);
    for (std::size_t from = 0; from < digits.size(); from += 64) {
      text += fmt::format("    {:<6} +{:<3} {}\n", block.name, from / 2, digits.substr(from, 64));
    }
  }
  return text;
}

}  // namespace

std::string printableText(const std::uint8_t* block, std::size_t size) {
  const char* const text = reinterpret_cast<const char*>(block);
  return visibleText({text, strnlen(text, size)}, Unseen::Dotted);
}

std::string deviceTable(const std::vector<DevInfoItem>& devices, bool raw) {
  std::vector<Row> rows{headings()};
  for (std::size_t i = 0; i < devices.size(); ++i) {
    rows.push_back(rowOf(devices[i], i));
  }
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], columnsOf(row[i]));
    }
  }
  std::string text = lineOf(rows.front(), widths);
  for (std::size_t i = 0; i < devices.size(); ++i) {
    text += lineOf(rows[i + 1], widths);
    text += raw ? rawLines(devices[i]) : std::string();
  }
  return text;
}

nlohmann::ordered_json deviceJson(const std::vector<DevInfoItem>& devices, bool raw) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const DevInfoItem& device = devices[i];
    nlohmann::ordered_json item;
    item["index"] = i;
    item["itemLen"] = wireValue(device.itemLen);
    for (const Block& block : blocksOf(device)) {
      item[block.name] = printableText(block.bytes, block.size);
      if (raw) item[std::string(block.name) + "_hex"] = hex(block);
    }
    item["numA"] = wireValue(device.numA);
    item["numB"] = wireValue(device.numB);
    item["byteA"] = device.byteA;
    item["byteB"] = device.byteB;
    item["byteC"] = device.byteC;
    list.push_back(std::move(item));
  }
  return list;
}

}  // namespace quorvid::app
