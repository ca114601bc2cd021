#include "sim/media/SceneCode.h"

#include <algorithm>

namespace quorvid::sim {
namespace {

std::uint16_t crc16(std::uint64_t sixBytes) {
  std::uint32_t crc = 0xffff;
  for (int bit = 47; bit >= 0; --bit) {
    const bool in = (sixBytes >> bit & 1) != 0;
    const bool out = (crc & 0x8000) != 0;
    crc = crc << 1 & 0xffff;
    if (in != out) crc ^= 0x1021;
  }
  return static_cast<std::uint16_t>(crc);
}

// Mean of the middle half of a cell, where scaling and compression blur least.
int cellValue(const PixelView& picture, double column, double row) {
  const double cellWidth = picture.width / kGridColumns;
  const double cellHeight = picture.height / kGridRows;
  const int left = static_cast<int>((column + 0.25) * cellWidth);
  const int right = static_cast<int>((column + 0.75) * cellWidth);
  const int top = static_cast<int>((row + 0.25) * cellHeight);
  const int bottom = static_cast<int>((row + 0.75) * cellHeight);
  int sum = 0;
  int count = 0;
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x, ++count) {
      sum += picture.pixels[y * picture.stride + static_cast<std::ptrdiff_t>(x) * picture.step];
    }
  }
  return sum / std::max(count, 1);
}

}  // namespace

CodeCells codeCells(const SceneCode& code) {
  const std::uint64_t data = static_cast<std::uint64_t>(code.counter) << 32 | code.timeMs;
  const std::uint64_t bits = data << 16 | crc16(data);
  CodeCells cells{};
  for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = (bits >> (63 - i) & 1) != 0;
  return cells;
}

std::optional<SceneCode> readSceneCode(const PixelView& picture) {
  if (picture.pixels == nullptr || picture.width < kGridColumns || picture.height < kGridRows) {
    return std::nullopt;
  }
  std::uint64_t bits = 0;
  for (int row = 0; row < kCodeRows; ++row) {
    for (int column = 0; column < kCodeColumns; ++column) {
      const int value = cellValue(picture, kCodeLeft + column, kCodeTop + row);
      bits = bits << 1 | (value > 126 ? 1u : 0u);
    }
  }
  const std::uint64_t data = bits >> 16;
  if (crc16(data) != (bits & 0xffff)) return std::nullopt;
  return SceneCode{static_cast<std::uint16_t>(data >> 32), static_cast<std::uint32_t>(data)};
}

}  // namespace quorvid::sim
