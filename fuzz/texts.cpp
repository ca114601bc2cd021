// Feeds any bytes to what the tools print of a server's: device records as a table and as JSON, and
// a text as a terminal gets it.
//
// Input: bit 0 of the first byte: with the raw bytes; its other bits and the second byte: rows and
// columns; then device records as they lie in memory. All of it is the text, too.
#include <utf8.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "apps/common/Json.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/query/DeviceTable.h"
#include "fuzz/Records.h"

namespace {

using namespace quorvid::app;
using quorvid::fuzz::require;

bool isVisible(const std::string& text) {
  const auto steers = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  return utf8::is_valid(text) && std::none_of(text.begin(), text.end(), steers);
}

void printText(std::string_view text, std::size_t rows, std::size_t columns) {
  const std::string visible = visibleText(text);
  require(isVisible(visible) && visibleText(visible) == visible);
  require(columnsOf(visibleText(text, Unseen::Dotted)) <= text.size());
  const std::string cut = cutTo(visible + "\n" + std::string(text), rows, columns);
  require(static_cast<std::size_t>(std::count(cut.begin(), cut.end(), '\n')) <= rows);
  std::istringstream lines(cut);
  for (std::string line; std::getline(lines, line);) {
    require(columnsOf(line) <= columns || line.starts_with("... and "));
  }
  const std::string again = redrawn(visible);
  require(again.starts_with("\033[H\033[2J") && again.find('\033', 7) == std::string::npos);
  // A device's name comes into reports as it is.
  for (const bool inOneLine : {false, true}) {
    require(Json::parse(textOf({{"device", std::string(text)}}, inOneLine)).contains("device"));
  }
}

void printDevices(const std::vector<DevInfoItem>& devices, bool raw) {
  const Json json = deviceJson(devices, raw);
  require(json.size() == devices.size() && Json::parse(textOf(json, true)) == json);
  std::istringstream lines(deviceTable(devices, raw));
  std::size_t count = 0, indented = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    require(isVisible(line));
    if (line.starts_with("    ")) ++indented;
  }
  require(count - indented == devices.size() + 1 && (indented > 0) == (raw && !devices.empty()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::vector<char> text(data, data + size);
  printText({text.data(), size}, data[0] / 2, data[1]);
  std::vector<DevInfoItem> devices((size - 2 + sizeof(DevInfoItem) - 1) / sizeof(DevInfoItem));
  if (!devices.empty()) std::memcpy(static_cast<void*>(devices.data()), data + 2, size - 2);
  printDevices(devices, (data[0] & 1) != 0);
  return 0;
}
