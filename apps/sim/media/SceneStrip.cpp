#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "sim/media/Scene.h"

namespace quorvid::sim {
namespace {

constexpr const char* kFont = "DejaVu Sans Mono";

struct Pen {
  double size;
  bool bold = false;
  Paint paint{1, 1, 1};
};

void select(cairo_t* cairo, const Pen& pen) {
  cairo_select_font_face(cairo, kFont, CAIRO_FONT_SLANT_NORMAL,
                         pen.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo, pen.size);
}

void write(cairo_t* cairo, double x, double y, const std::string& text, const Pen& pen) {
  select(cairo, pen);
  setPaint(cairo, pen.paint);
  cairo_move_to(cairo, x, y);
  cairo_show_text(cairo, text.c_str());
  // Text leaves a point behind, from which the next path would go on.
  cairo_new_path(cairo);
}

double textWidth(cairo_t* cairo, const std::string& text, const Pen& pen) {
  select(cairo, pen);
  cairo_text_extents_t extents;
  cairo_text_extents(cairo, text.c_str(), &extents);
  return extents.x_advance;
}

void plate(cairo_t* cairo, double x, double y, double width, double height) {
  cairo_set_source_rgba(cairo, 0, 0, 0, .45);
  fillRounded(cairo, x, y, width, height, 5);
}

std::string clockText(double seconds) {
  const long ms = std::lround(seconds * 1000);
  return fmt::format("{:02}:{:02}.{:03}", ms / 60000, ms / 1000 % 60, ms % 1000);
}

// Device and channel at the top left, the clock and a red dot that blinks at the top right.
void drawLabels(cairo_t* cairo, double width, const SceneLabels& labels,
                const SceneMoment& moment) {
  const Pen pen{.size = 18, .bold = true};
  const std::string clock = clockText(moment.seconds);
  const double wide = textWidth(cairo, clock, pen) + 42;
  plate(cairo, width - 12 - wide, 10, wide, 28);
  write(cairo, width - wide + 20, 30, clock, pen);

  // A long name is written smaller, so that it leaves the clock free.
  const std::string name = fmt::format("{}  CH {}", labels.device, labels.channel);
  const double room = width - wide - 60;
  const Pen fitting{.size = pen.size * std::min(1.0, room / textWidth(cairo, name, pen)),
                    .bold = true};
  plate(cairo, 12, 10, textWidth(cairo, name, fitting) + 20, 28);
  write(cairo, 22, 30, name, fitting);
  if (std::fmod(moment.seconds, 1) < .5) {
    setPaint(cairo, {.95, .15, .12});
    fillDisc(cairo, width - wide + 3, 24, 6);
  }
}

// The eight colour bars at 75 %.
void drawBars(cairo_t* cairo, double cellWidth, double cellHeight) {
  constexpr double kFull = .75;
  constexpr std::array<Paint, 8> kBars{{{kFull, kFull, kFull},
                                        {kFull, kFull, 0},
                                        {0, kFull, kFull},
                                        {0, kFull, 0},
                                        {kFull, 0, kFull},
                                        {kFull, 0, 0},
                                        {0, 0, kFull},
                                        {0, 0, 0}}};
  for (std::size_t i = 0; i < kBars.size(); ++i) {
    setPaint(cairo, kBars[i]);
    fillBox(cairo, (1 + 1.5 * static_cast<double>(i)) * cellWidth, kCodeTop * cellHeight,
            1.5 * cellWidth, kCodeRows * cellHeight);
  }
}

void drawCode(cairo_t* cairo, double cellWidth, double cellHeight, const CodeCells& cells) {
  cairo_set_antialias(cairo, CAIRO_ANTIALIAS_NONE);
  setPaint(cairo, {0, 0, 0});
  fillBox(cairo, kCodeLeft * cellWidth, kCodeTop * cellHeight, kCodeColumns * cellWidth,
          kCodeRows * cellHeight);
  setPaint(cairo, {1, 1, 1});
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (!cells[i]) continue;
    const std::size_t column = i % kCodeColumns;
    const std::size_t row = i / kCodeColumns;
    fillBox(cairo, (kCodeLeft + column) * cellWidth, (kCodeTop + row) * cellHeight, cellWidth,
            cellHeight);
  }
  cairo_set_antialias(cairo, CAIRO_ANTIALIAS_DEFAULT);
}

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

void drawCounter(cairo_t* cairo, double cellWidth, const SceneMoment& moment) {
  const std::string text = fmt::format("{:05}", moment.counter);
  const double left = 14 * cellWidth;
  const double room = 8 * cellWidth;
  // Narrow pictures have less room between bars and code.
  const double size = room / textWidth(cairo, text, {.size = 100, .bold = true}) * 100;
  const Pen digits{.size = std::min(size, 44.0), .bold = true};
  const double used = textWidth(cairo, text, digits);
  write(cairo, left + (room - used) / 2, 450, text, digits);
  const Pen small{.size = digits.size * .36, .paint = {.72, .75, .78}};
  const double label = textWidth(cairo, "PICTURE", small);
  write(cairo, left + (room - label) / 2, 470, "PICTURE", small);
}

}  // namespace

CodeCells codeCells(std::uint16_t counter, std::uint32_t timeMs) {
  const std::uint64_t data = static_cast<std::uint64_t>(counter) << 32 | timeMs;
  const std::uint64_t bits = data << 16 | crc16(data);
  CodeCells cells{};
  for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = (bits >> (63 - i) & 1) != 0;
  return cells;
}

CodePixel codePixel(std::size_t cell, int width, int height) {
  const std::size_t line = cell / kCodeColumns;
  const double column = kCodeLeft + static_cast<double>(cell % kCodeColumns) + .5;
  const double row = kCodeTop + static_cast<double>(line) + .5;
  return {static_cast<int>(column * width / kGridColumns),
          static_cast<int>(row * height / kGridRows)};
}

std::optional<std::uint16_t> counterIn(const CodeCells& cells) {
  std::uint64_t bits = 0;
  for (const bool cell : cells) bits = bits << 1 | (cell ? 1 : 0);
  const auto counter = static_cast<std::uint16_t>(bits >> 48);
  const bool holds = codeCells(counter, static_cast<std::uint32_t>(bits >> 16)) == cells;
  return holds ? std::optional(counter) : std::nullopt;
}

void drawStrip(cairo_t* cairo, double width, const SceneLabels& labels, const SceneMoment& moment) {
  const double cellWidth = width / kGridColumns;
  const double cellHeight = kSceneHeight / kGridRows;
  setPaint(cairo, {.09, .10, .12});
  fillBox(cairo, 0, (kCodeTop - .5) * cellHeight, width, kSceneHeight);
  drawBars(cairo, cellWidth, cellHeight);
  drawCounter(cairo, cellWidth, moment);
  drawCode(
      cairo, cellWidth, cellHeight,
      codeCells(moment.counter, static_cast<std::uint32_t>(std::lround(moment.seconds * 1000))));
  drawLabels(cairo, width, labels, moment);
}

}  // namespace quorvid::sim
