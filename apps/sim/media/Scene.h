#pragma once

#include <cairo.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numbers>
#include <optional>
#include <string>

namespace quorvid::sim {

struct CairoDeleter {
  void operator()(cairo_surface_t* p) const { cairo_surface_destroy(p); }
  void operator()(cairo_t* p) const { cairo_destroy(p); }
  void operator()(cairo_pattern_t* p) const { cairo_pattern_destroy(p); }
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, CairoDeleter>;
using CairoPtr = std::unique_ptr<cairo_t, CairoDeleter>;
using PatternPtr = std::unique_ptr<cairo_pattern_t, CairoDeleter>;

struct SceneLabels {
  std::string device;
  int channel = 0;
};

// When a picture is, in its loop.
struct SceneMoment {
  std::uint16_t counter = 0;
  double seconds = 0;
  double loopSeconds = 4;
};

// A drive on a country road, seen by a dash camera, with what a tester wants to read off it:
// device and channel, clock, picture number, colour bars and the block code.
//
// Drawn in units of 1/480 of the picture's height, so that every size shows the same scene.
constexpr double kSceneHeight = 480;
constexpr double kHorizon = 186;

// Sky, hills and everything else that does not move. (SceneBackground.cpp)
void drawBackground(cairo_t* cairo, double width, int channel);
// Lane marks, roadside and the car in front. (SceneRoad.cpp)
void drawTraffic(cairo_t* cairo, double width, const SceneMoment& moment);
// Labels, clock, colour bars and block code. (SceneStrip.cpp)
void drawStrip(cairo_t* cairo, double width, const SceneLabels& labels, const SceneMoment& moment);

// The block code: 16 x 4 cells, black for 0 and white for 1, most significant bit first, row after
// row.
//
//     row 0   number of the picture in its loop, from 0: 16 bits
//     row 1   the picture's time in its loop, in milliseconds: upper 16 bits
//     row 2   time, lower 16 bits
//     row 3   CRC-16 of the six bytes above (polynomial 1021, start value FFFF)
//
// The picture is thought of as 40 x 30 cells, whatever its size; the code covers cells 23-38 across
// and 25.5-29.5 down, its top left cell first. So it survives scaling, to another shape as well; at
// 640x480 a cell has 16x16 pixels. Black bars must be cut off before reading.
constexpr int kCodeColumns = 16;
constexpr int kCodeRows = 4;
constexpr double kGridColumns = 40;
constexpr double kGridRows = 30;
constexpr double kCodeLeft = 23;
constexpr double kCodeTop = 25.5;

using CodeCells = std::array<bool, kCodeColumns * kCodeRows>;

CodeCells codeCells(std::uint16_t counter, std::uint32_t timeMs);

// The pixel in the middle of a cell, in a picture of that size.
struct CodePixel {
  int x, y;
};
CodePixel codePixel(std::size_t cell, int width, int height);
// The counter; nothing where the checksum doesn't hold.
std::optional<std::uint16_t> counterIn(const CodeCells& cells);

struct Paint {
  double red = 0;
  double green = 0;
  double blue = 0;
};

// `share` of `b`, the rest of `a`.
inline Paint mix(const Paint& a, const Paint& b, double share) {
  return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share,
          a.blue + (b.blue - a.blue) * share};
}

inline void setPaint(cairo_t* cairo, const Paint& paint) {
  cairo_set_source_rgb(cairo, paint.red, paint.green, paint.blue);
}

inline void fillBox(cairo_t* cairo, double x, double y, double width, double height) {
  cairo_rectangle(cairo, x, y, width, height);
  cairo_fill(cairo);
}

inline void fillDisc(cairo_t* cairo, double x, double y, double radius) {
  cairo_arc(cairo, x, y, radius, 0, 2 * std::numbers::pi);
  cairo_fill(cairo);
}

inline void fillRounded(cairo_t* cairo, double x, double y, double width, double height, double r) {
  constexpr double kQuarter = std::numbers::pi / 2;
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, x + width - r, y + r, r, -kQuarter, 0);
  cairo_arc(cairo, x + width - r, y + height - r, r, 0, kQuarter);
  cairo_arc(cairo, x + r, y + height - r, r, kQuarter, 2 * kQuarter);
  cairo_arc(cairo, x + r, y + r, r, 2 * kQuarter, 3 * kQuarter);
  cairo_close_path(cairo);
  cairo_fill(cairo);
}

}  // namespace quorvid::sim
