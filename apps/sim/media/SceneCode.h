#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quorvid::sim {

// What the block code in a drawn picture says.
struct SceneCode {
  std::uint16_t counter = 0;  // number of the picture in its loop, from 0
  std::uint32_t timeMs = 0;   // the picture's time in its loop, in milliseconds

  friend bool operator==(const SceneCode&, const SceneCode&) = default;
};

/* The block code: 16 x 4 cells, black for 0 and white for 1, most significant bit first, row after
   row.

       row 0   counter, 16 bits
       row 1   time, upper 16 bits
       row 2   time, lower 16 bits
       row 3   CRC-16 of the six bytes above (polynomial 1021, start value FFFF)

   The picture is thought of as 40 x 30 cells, whatever its size; the code covers cells 23-38 across
   and 25.5-29.5 down, its top left cell first. So it survives scaling, to another shape as well; at
   640x480 a cell has 16x16 pixels. Black bars must be cut off before reading. */
constexpr int kCodeColumns = 16;
constexpr int kCodeRows = 4;
constexpr double kGridColumns = 40;
constexpr double kGridRows = 30;
constexpr double kCodeLeft = 23;
constexpr double kCodeTop = 25.5;

using CodeCells = std::array<bool, kCodeColumns * kCodeRows>;

CodeCells codeCells(const SceneCode& code);

// One byte a pixel: a luma plane, or one channel of an interleaved picture.
struct PixelView {
  const std::uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  std::ptrdiff_t stride = 0;  // bytes from one row to the next
  int step = 1;               // bytes from one pixel to the next: 4 for a channel of RGBA
};

// Reads the block code from a picture of any size.
// @return nothing when there is none, or it is damaged
std::optional<SceneCode> readSceneCode(const PixelView& picture);

}  // namespace quorvid::sim
