#include "apps/desk/devices/RecordText.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

std::string bytesOf(const std::uint8_t* block, std::size_t size) {
  const char* const text = reinterpret_cast<const char*>(block);
  return {text, strnlen(text, size)};
}

// Those that turn the direction of the text around are not printable either.
bool isShown(gunichar c) {
  return g_unichar_isprint(c) != 0;
}

bool isPrintable(const std::string& text) {
  if (text.empty() || g_utf8_validate(text.c_str(), -1, nullptr) == 0) return false;
  bool hasShape = false;
  for (const char* at = text.c_str(); *at != 0; at = g_utf8_next_char(at)) {
    const gunichar c = g_utf8_get_char(at);
    if (!isShown(c)) return false;
    hasShape = hasShape || g_unichar_isspace(c) == 0;
  }
  return hasShape;
}

void addBlock(std::string& text, const char* name, const std::uint8_t* block, std::size_t size) {
  constexpr std::size_t kInLine = 16;
  text += fmt::format("{}: {}\n", name, shownText(block, size));
  for (std::size_t from = 0; from < size; from += kInLine) {
    text += fmt::format("  +{:<3} ", from);
    for (std::size_t i = from; i < std::min(size, from + kInLine); ++i) {
      text += fmt::format("{:02x}", block[i]);
    }
    text += '\n';
  }
}

}  // namespace

std::string shownText(const std::uint8_t* block, std::size_t size) {
  const std::string bytes = bytesOf(block, size);
  const std::string valid =
      taken(g_utf8_make_valid(bytes.data(), static_cast<gssize>(bytes.size())));
  std::string shown;
  for (const char* at = valid.c_str(); *at != 0; at = g_utf8_next_char(at)) {
    if (isShown(g_utf8_get_char(at))) {
      shown.append(at, static_cast<const char*>(g_utf8_next_char(at)));
    } else {
      shown += "�";
    }
  }
  return shown;
}

std::int32_t wireValue(long number) {
  return static_cast<std::int32_t>(number);
}

Device deviceOf(const DevInfoItem& record) {
  Device device;
  device.record = record;
  device.id = bytesOf(record.blk64, sizeof record.blk64);
  const std::string name = bytesOf(record.blkA32, sizeof record.blkA32);
  device.name = isPrintable(name) ? name : shownText(record.blk64);
  if (device.name.empty()) device.name = tr("Without a Name");
  return device;
}

std::vector<Device> devicesOf(const std::vector<DevInfoItem>& records,
                              const std::vector<std::string>& typed) {
  std::multimap<std::pair<std::string, std::string>, Device> ordered;
  for (const DevInfoItem& record : records) {
    Device device = deviceOf(record);
    std::pair key(sortKey(device.name), device.id);
    ordered.emplace(std::move(key), std::move(device));
  }
  std::vector<Device> devices;
  for (auto& [key, device] : ordered) devices.push_back(std::move(device));
  for (const std::string& id : typed) {
    const auto isIt = [&](const Device& device) { return device.id == id; };
    if (id.empty() || std::any_of(devices.begin(), devices.end(), isIt)) continue;
    Device device;
    device.id = device.name = id;
    device.isTyped = true;
    devices.push_back(std::move(device));
  }
  return devices;
}

std::string rawText(const DevInfoItem& record) {
  std::string text = fmt::format("itemLen: {}\n", wireValue(record.itemLen));
  addBlock(text, "blk64", record.blk64, sizeof record.blk64);
  addBlock(text, "blkA32", record.blkA32, sizeof record.blkA32);
  addBlock(text, "blkB32", record.blkB32, sizeof record.blkB32);
  text += fmt::format("numA: {}\nnumB: {}\n", wireValue(record.numA), wireValue(record.numB));
  text +=
      fmt::format("byteA: {}\nbyteB: {}\nbyteC: {}\n", record.byteA, record.byteB, record.byteC);
  addBlock(text, "blk9", record.blk9, sizeof record.blk9);
  addBlock(text, "blk128", record.blk128, sizeof record.blk128);
  return text;
}

}  // namespace quorvid::desk
